#include "services/CoopsObservations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "services/JsonText.h"
#include "services/PlaceWeather.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kSixMinutes = 360;
constexpr double kKnots = 1.9438445;  // in a metre per second

std::string minuteText(std::int64_t time) {
  constexpr std::size_t length = 16;
  return instantText(time, " ").substr(0, length);
}

// About one row in ninety.
bool isGap(const std::string& station, std::int64_t time) {
  const auto number = static_cast<std::int64_t>(station.empty() ? 0 : station.back());
  return (time / kSixMinutes * 7 + number) % 89 == 0;
}

std::string_view pointOf(double degrees) {
  constexpr std::array<std::string_view, 16> points = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE",
                                                       "S", "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW"};
  return points[static_cast<std::size_t>(std::lround(degrees / 22.5)) % points.size()];
}

std::string temperatureRow(double celsius, bool gap, const CoopsQuery& query, std::int64_t time) {
  if (gap) return fmt::format(R"({{"t":"{}", "v":"", "f":"1,1,1"}})", minuteText(time));
  const double value = query.metric ? celsius : celsius * 9 / 5 + 32;
  return fmt::format(R"({{"t":"{}", "v":"{:.1f}", "f":"0,0,0"}})", minuteText(time), value);
}

std::string windRow(const PlaceWeather& weather, bool gap, const CoopsQuery& query, std::int64_t time) {
  if (gap)
    return fmt::format(R"({{"t":"{}", "s":"", "d":"", "dr":"", "g":"", "f":"1,1"}})", minuteText(time));
  const double unit = query.metric ? 1 : kKnots;
  const auto wind = weather.wind(time);
  const double degrees = std::fmod(std::round(wind.direction), 360);
  return fmt::format(R"({{"t":"{}", "s":"{}", "d":"{:.1f}", "dr":"{}", "g":"{}", "f":"0,0"}})",
                     minuteText(time), shortNumber(wind.speed * unit, 2), degrees, pointOf(degrees),
                     shortNumber(weather.gust(time) * unit, 2));
}

StationList listOf(CoopsObservations::Product product) {
  switch (product) {
    case CoopsObservations::Product::waterTemperature:
      return StationList::waterTemperature;
    case CoopsObservations::Product::airTemperature:
      return StationList::airTemperature;
    case CoopsObservations::Product::wind:
      break;
  }
  return StationList::wind;
}

}  // namespace

CoopsObservations::CoopsObservations(std::shared_ptr<const HarmonicDatabase> database,
                                     std::shared_ptr<const ListedStations> lists,
                                     std::function<std::int64_t()> now)
    : _database(std::move(database)), _lists(std::move(lists)), _now(std::move(now)) {}

std::optional<CoopsObservations::Product> CoopsObservations::productOf(std::string_view name) {
  if (name == "water_temperature") return Product::waterTemperature;
  if (name == "air_temperature") return Product::airTemperature;
  if (name == "wind") return Product::wind;
  return std::nullopt;
}

std::optional<ListedStation> CoopsObservations::find(Product product, const std::string& number) const {
  if (const ListedStation* listed = _lists->find(listOf(product), number)) return *listed;
  const HarmonicStation* station = _database->tideStation(number);
  if (station == nullptr) return std::nullopt;
  return ListedStation{number, station->name.substr(0, station->name.rfind(", ")), station->latitude,
                       station->longitude, 0};
}

ServiceAnswer CoopsObservations::answer(Product product, const CoopsQuery& query) const {
  constexpr int badRequest = 400;
  const bool hourly = query.interval == "h";
  if (!hourly && !query.interval.empty() && query.interval != "6")
    return coopsError("The interval must be h or 6.", badRequest);
  constexpr std::int64_t day = 86400;
  const std::int64_t longest = (hourly ? 366 : 31) * day;
  if (query.last - query.begin > longest)
    return coopsError(fmt::format("Range limit exceeded: at most {} days in one request.", longest / day),
                      badRequest);
  const auto place = find(product, query.station);
  const std::int64_t step = hourly ? kHour : kSixMinutes;
  const std::int64_t last = std::min(query.last, _now());
  if (!place || query.firstOn(step) > last) return coopsNoData();

  const PlaceWeather weather(place->latitude, place->longitude);
  std::string rows;
  for (std::int64_t time = query.firstOn(step); time <= last; time += step) {
    if (!rows.empty()) rows += ',';
    const bool gap = isGap(query.station, time);
    if (product == Product::wind) {
      rows += windRow(weather, gap, query, time);
    } else {
      const bool water = product == Product::waterTemperature;
      rows += temperatureRow(water ? weather.waterTemperature(time) : weather.airTemperature(time), gap,
                             query, time);
    }
  }
  return coopsAnswer(
      fmt::format(R"({}{{"metadata":{{"id":"{}","name":"{}","lat":"{:.4f}","lon":"{:.4f}"}}, "data": [{}]}})",
                  product == Product::waterTemperature ? "\n" : "", place->id, escapedJson(place->name),
                  place->latitude, place->longitude, rows));
}

}  // namespace marlune::services
