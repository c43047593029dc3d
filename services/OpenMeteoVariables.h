#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "services/PlaceWeather.h"

namespace marlune::services {

/// Units that a request to Open-Meteo chooses.
struct OpenMeteoUnits {
  std::string length;     ///< "metric" or "imperial"
  std::string windSpeed;  ///< "kmh", "ms", "mph" or "kn"

  /// False when one of the two is no such word.
  bool known() const;
};

/// One of the hourly variables of Open-Meteo.
struct OpenMeteoVariable {
  enum class Unit { length, speed, degrees, seconds, celsius };

  std::string_view name;
  Unit unit;
  double (*value)(const PlaceWeather& weather, std::int64_t time);  ///< in metres, m/s, degrees, s, Celsius

  /// Null when the API, "marine" or "forecast", has no such variable.
  static const OpenMeteoVariable* find(std::string_view api, std::string_view name);

  /// "ft"
  std::string_view unitText(const OpenMeteoUnits& units) const;

  /// "7.940", with as many decimals as the service gives.
  std::string text(const PlaceWeather& weather, std::int64_t time, const OpenMeteoUnits& units) const;
};

}  // namespace marlune::services
