#include "services/PlaceWeather.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace marlune::services {
namespace {

constexpr double kCircle = 2 * std::numbers::pi;
constexpr double kRadians = std::numbers::pi / 180;

// Each quantity wanders by a kind of its own.
enum Kind { water = 1, air, eastWind, northWind, gustiness, cloud, swellHeight, swellFrom, current };

double direction(double degrees) {
  const double turned = std::fmod(degrees, 360);
  return turned < 0 ? turned + 360 : turned;
}

double directionOf(double east, double north) {
  return direction(std::atan2(east, north) / kRadians);
}

struct Box {
  double south, north, west, east;
};

// Rough boxes that no sea and no coast lies in.
constexpr Box kInland[] = {
    {34, 42, -116, -84},   {42, 58, -118, -96}, {31, 36, -112, -84}, {-22, -8, -62, -42},
    {-35, -24, -66, -60},  {12, 28, -8, 30},    {-24, 2, 18, 30},    {47, 53, 14, 26},
    {49, 64, 45, 130},     {30, 48, 64, 112},   {20, 26, 76, 82},    {-29, -21, 122, 144},
    {-87, -80, -180, 180},
};

}  // namespace

bool isInland(double latitude, double longitude) {
  return std::any_of(std::begin(kInland), std::end(kInland), [&](const Box& box) {
    return latitude > box.south && latitude < box.north && longitude > box.west && longitude < box.east;
  });
}

PlaceWeather::PlaceWeather(double latitude, double longitude) : _latitude(latitude), _longitude(longitude) {}

// From -1 to 1: three waves whose periods have no common multiple, the longest of that many hours. Whole
// turns around the earth, so that nothing breaks at the date line.
double PlaceWeather::wander(std::int64_t time, double hours, int kind) const {
  const double turns = static_cast<double>(time) / 3600 / hours;
  const double place = (7 * _longitude + 11 * _latitude) * kRadians;
  const double other = (13 * _longitude - 17 * _latitude) * kRadians;
  return 0.5 * std::sin(kCircle * turns + place + 1.7 * kind) +
         0.3 * std::sin(kCircle * turns * 2.2360679 + other + 2.9 * kind) +
         0.2 * std::sin(kCircle * turns * 4.1231056 - place + 4.3 * kind);
}

// 1 in late summer, -1 half a year later; little at the equator.
double PlaceWeather::season(std::int64_t time) const {
  constexpr double year = 365.2425 * 86400;
  constexpr double lateAugust = 235 * 86400.0;
  return std::cos(kCircle * (static_cast<double>(time) - lateAugust) / year) * std::tanh(_latitude / 20);
}

// 1 in the early afternoon of the place, -1 at night.
double PlaceWeather::sunshine(std::int64_t time) const {
  const double localHours = static_cast<double>(time) / 3600 + _longitude / 15;
  return std::cos(kCircle * (localHours - 14) / 24);
}

double PlaceWeather::waterTemperature(std::int64_t time) const {
  const double mean = 32 * std::pow(std::cos(_latitude * kRadians), 2) - 2;
  return std::max(mean + 4 * season(time) + 0.3 * sunshine(time) + 0.7 * wander(time, 300, Kind::water),
                  -1.8);
}

double PlaceWeather::airTemperature(std::int64_t time) const {
  const double mean = 34 * std::pow(std::cos(_latitude * kRadians), 2) - 4;
  return mean + 8 * season(time) + 3 * sunshine(time) + 4 * wander(time, 170, Kind::air);
}

double PlaceWeather::humidity(std::int64_t time) const {
  return std::clamp(72 - 12 * sunshine(time) + 15 * wander(time, 130, Kind::air), 5.0, 100.0);
}

double PlaceWeather::cloudCover(std::int64_t time) const {
  return std::clamp(50 + 70 * wander(time, 90, Kind::cloud), 0.0, 100.0);
}

PlaceWeather::Flow PlaceWeather::wind(std::int64_t time) const {
  const double east = 2.5 + 6 * wander(time, 110, Kind::eastWind);
  const double north = 6 * wander(time, 130, Kind::northWind) + 0.8 * sunshine(time);
  return {std::hypot(east, north), directionOf(-east, -north)};
}

double PlaceWeather::gust(std::int64_t time) const {
  return wind(time).speed * (1.3 + 0.1 * wander(time, 40, Kind::gustiness)) + 0.4;
}

PlaceWeather::Waves PlaceWeather::swell(std::int64_t time) const {
  const double height = 1.5 + 1.2 * wander(time, 200, Kind::swellHeight);
  return {height, direction(270 + 40 * wander(time, 240, Kind::swellFrom)),
          8 + 2 * height + wander(time, 150, Kind::swellFrom)};
}

PlaceWeather::Waves PlaceWeather::windWaves(std::int64_t time) const {
  const Flow blowing = wind(time);
  return {0.1 + 0.015 * blowing.speed * blowing.speed, blowing.direction, 2 + 0.4 * blowing.speed};
}

// A tidal stream of the moon's twice daily period upon a drift.
PlaceWeather::Flow PlaceWeather::current(std::int64_t time) const {
  const double phase = kCircle * static_cast<double>(time) / (12.4206012 * 3600) + 5 * _longitude * kRadians;
  const double east = 0.3 * std::cos(phase) + 0.15 * wander(time, 190, Kind::current);
  const double north = 0.15 * std::sin(phase) + 0.1 * wander(time, 160, Kind::eastWind);
  return {std::hypot(east, north), directionOf(east, north)};
}

}  // namespace marlune::services
