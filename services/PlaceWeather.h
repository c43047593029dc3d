#pragma once

#include <cstdint>

namespace marlune::services {

/// An invented weather and sea: smooth in place and time, with the day's and the year's course, and the same
/// whenever it is asked for. It is like no weather that ever was. NOT FOR NAVIGATION.
///
/// Instants are seconds since 1970; directions degrees from 0 to below 360. Immutable.
///
///     const PlaceWeather weather(36.6, -121.9);
///     weather.wind(time).speed;
class PlaceWeather {
 public:
  struct Flow {
    double speed = 0;      ///< metres per second
    double direction = 0;  ///< wind: where it comes from; current: where it goes
  };
  struct Waves {
    double height = 0;     ///< metres
    double direction = 0;  ///< where they come from
    double period = 0;     ///< seconds
  };

  PlaceWeather(double latitude, double longitude);

  double waterTemperature(std::int64_t time) const;  ///< degrees Celsius
  double airTemperature(std::int64_t time) const;    ///< degrees Celsius
  double humidity(std::int64_t time) const;          ///< percent
  double cloudCover(std::int64_t time) const;        ///< percent
  Flow wind(std::int64_t time) const;
  double gust(std::int64_t time) const;  ///< metres per second, above the wind's speed
  Waves swell(std::int64_t time) const;
  Waves windWaves(std::int64_t time) const;
  Flow current(std::int64_t time) const;

 private:
  double wander(std::int64_t time, double hours, int kind) const;
  double season(std::int64_t time) const;
  double sunshine(std::int64_t time) const;

  double _latitude;
  double _longitude;
};

/// True well inside the continents; false at sea and near every coast.
bool isInland(double latitude, double longitude);

}  // namespace marlune::services
