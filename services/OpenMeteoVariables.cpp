#include "services/OpenMeteoVariables.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <fmt/format.h>

namespace marlune::services {
namespace {

using Unit = OpenMeteoVariable::Unit;
using Weather = PlaceWeather;

struct SpeedUnit {
  std::string_view word;
  std::string_view text;
  double inOneMetreASecond;
};

constexpr SpeedUnit kSpeedUnits[] = {
    {"kmh", "km/h", 3.6}, {"ms", "m/s", 1}, {"mph", "mp/h", 2.2369363}, {"kn", "kn", 1.9438445}};

const SpeedUnit* speedUnit(std::string_view word) {
  const auto* found = std::find_if(std::begin(kSpeedUnits), std::end(kSpeedUnits),
                                   [&](const SpeedUnit& unit) { return unit.word == word; });
  return found == std::end(kSpeedUnits) ? nullptr : found;
}

// Swell and wind waves together, as the root of the sum of squares; what is higher gives the direction.
Weather::Waves allWaves(const Weather& weather, std::int64_t time) {
  Weather::Waves swell = weather.swell(time);
  const Weather::Waves wind = weather.windWaves(time);
  const double height = std::hypot(swell.height, wind.height);
  if (wind.height > swell.height) swell = wind;
  swell.height = height;
  return swell;
}

constexpr OpenMeteoVariable kMarine[] = {
    {"wave_height", Unit::length, [](const Weather& w, std::int64_t t) { return allWaves(w, t).height; }},
    {"wave_direction", Unit::degrees,
     [](const Weather& w, std::int64_t t) { return allWaves(w, t).direction; }},
    {"wave_period", Unit::seconds, [](const Weather& w, std::int64_t t) { return allWaves(w, t).period; }},
    {"wind_wave_height", Unit::length,
     [](const Weather& w, std::int64_t t) { return w.windWaves(t).height; }},
    {"wind_wave_direction", Unit::degrees,
     [](const Weather& w, std::int64_t t) { return w.windWaves(t).direction; }},
    {"wind_wave_period", Unit::seconds,
     [](const Weather& w, std::int64_t t) { return w.windWaves(t).period; }},
    {"swell_wave_height", Unit::length, [](const Weather& w, std::int64_t t) { return w.swell(t).height; }},
    {"swell_wave_direction", Unit::degrees,
     [](const Weather& w, std::int64_t t) { return w.swell(t).direction; }},
    {"swell_wave_period", Unit::seconds, [](const Weather& w, std::int64_t t) { return w.swell(t).period; }},
    {"sea_surface_temperature", Unit::celsius,
     [](const Weather& w, std::int64_t t) { return w.waterTemperature(t); }},
    {"ocean_current_velocity", Unit::speed,
     [](const Weather& w, std::int64_t t) { return w.current(t).speed; }},
    {"ocean_current_direction", Unit::degrees,
     [](const Weather& w, std::int64_t t) { return w.current(t).direction; }},
};

constexpr OpenMeteoVariable kForecast[] = {
    {"wind_speed_10m", Unit::speed, [](const Weather& w, std::int64_t t) { return w.wind(t).speed; }},
    {"wind_direction_10m", Unit::degrees,
     [](const Weather& w, std::int64_t t) { return w.wind(t).direction; }},
    {"wind_gusts_10m", Unit::speed, [](const Weather& w, std::int64_t t) { return w.gust(t); }},
    {"temperature_2m", Unit::celsius, [](const Weather& w, std::int64_t t) { return w.airTemperature(t); }},
};

}  // namespace

bool OpenMeteoUnits::known() const {
  return (length == "metric" || length == "imperial") && speedUnit(windSpeed) != nullptr;
}

const OpenMeteoVariable* OpenMeteoVariable::find(std::string_view api, std::string_view name) {
  const auto in = [&](const auto& variables) -> const OpenMeteoVariable* {
    const auto* found = std::find_if(std::begin(variables), std::end(variables),
                                     [&](const OpenMeteoVariable& one) { return one.name == name; });
    return found == std::end(variables) ? nullptr : found;
  };
  return api == "marine" ? in(kMarine) : in(kForecast);
}

std::string_view OpenMeteoVariable::unitText(const OpenMeteoUnits& units) const {
  switch (unit) {
    case Unit::length:
      return units.length == "imperial" ? "ft" : "m";
    case Unit::speed:
      return speedUnit(units.windSpeed)->text;
    case Unit::seconds:
      return "s";
    case Unit::celsius:
      return "°C";
    case Unit::degrees:
      break;
  }
  return "°";
}

std::string OpenMeteoVariable::text(const PlaceWeather& weather, std::int64_t time,
                                    const OpenMeteoUnits& units) const {
  constexpr double feet = 3.2808399;  // in a metre
  const double one = value(weather, time);
  switch (unit) {
    case Unit::length:
      return units.length == "imperial" ? fmt::format("{:.3f}", one * feet) : fmt::format("{:.2f}", one);
    case Unit::speed:
      return fmt::format("{:.1f}", one * speedUnit(units.windSpeed)->inOneMetreASecond);
    case Unit::seconds:
      return fmt::format("{:.2f}", one);
    case Unit::celsius:
      return fmt::format("{:.1f}", one);
    case Unit::degrees:
      break;
  }
  return fmt::format("{}", std::lround(one) % 360);
}

}  // namespace marlune::services
