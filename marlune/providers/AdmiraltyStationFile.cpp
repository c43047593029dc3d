#include "marlune/providers/AdmiraltyStationFile.h"

#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "marlune/formats/JsonReader.h"
#include "marlune/formats/Text.h"

namespace marlune::admiralty_station_file {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

/// Degrees pass through 32 bits, so that a port lies where earlier versions have it.
std::optional<double> degreesOf(element value) {
  auto degrees = json::number(value);
  if (const auto text = json::text(value)) degrees = lenientDouble(*text);
  if (!degrees) return std::nullopt;
  const double rounded = static_cast<float>(*degrees);
  return std::isfinite(rounded) ? std::optional(rounded) : std::nullopt;
}

std::optional<Coordinate> coordinateOf(object feature) {
  simdjson::dom::array pair;
  element longitude;
  element latitude;
  if (feature["geometry"]["coordinates"].get(pair) != simdjson::SUCCESS || pair.size() != 2 ||
      pair.at(0).get(longitude) != simdjson::SUCCESS || pair.at(1).get(latitude) != simdjson::SUCCESS) {
    return std::nullopt;
  }
  const auto east = degreesOf(longitude);
  const auto north = degreesOf(latitude);
  if (!east || !north) return std::nullopt;
  return Coordinate{*north, *east};
}

std::shared_ptr<TideStation> stationOf(element item) {
  object feature;
  object properties;
  if (item.get(feature) != simdjson::SUCCESS || json::textOf(feature, "type") != "Feature" ||
      feature["properties"].get(properties) != simdjson::SUCCESS) {
    return nullptr;
  }
  const auto coordinate = coordinateOf(feature);
  if (!coordinate) return nullptr;
  auto station = std::make_shared<TideStation>();
  station->stationId = station->stationExtId = json::textOf(properties, "Id");
  station->stationName = json::textOf(properties, "Name");
  station->stateId = station->country = json::textOf(properties, "Country");
  station->timezoneName = timeZoneOf(station->country ? std::string_view(*station->country) : "");
  station->coordinate = *coordinate;
  return station;
}

}  // namespace

std::string_view timeZoneOf(std::string_view country) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 2> elsewhere{
      {{"Ireland", "Europe/Dublin"}, {"Isle of Man", "Europe/Isle_of_Man"}}};
  for (const auto& [name, zone] : elsewhere) {
    if (name == country) return zone;
  }
  return "Europe/London";
}

Reading read(std::string_view json) {
  JsonReader reader;
  const auto root = reader.read(json);
  if (!root) return {{}, std::string(reader.error())};
  Reading reading;
  simdjson::dom::array features;
  if ((*root)["features"].get(features) != simdjson::SUCCESS) return reading;
  for (const element item : features) {
    if (auto station = stationOf(item)) reading.stations.push_back(std::move(station));
  }
  return reading;
}

}  // namespace marlune::admiralty_station_file
