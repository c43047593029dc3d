#include "marlune/providers/AustralianStationFile.h"

#include "marlune/formats/JsonReader.h"
#include "marlune/formats/Text.h"

namespace marlune::australian_station_file {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

// A number, or a text that begins with one.
double degreesOf(object properties, std::string_view key) {
  element value;
  if (properties[key].get(value) != simdjson::SUCCESS) return 0.0;
  if (const auto number = json::number(value)) return *number;
  return lenientDouble(json::text(value).value_or(""));
}

std::shared_ptr<TideStation> stationOf(element feature) {
  std::string_view type;
  if (feature["type"].get(type) != simdjson::SUCCESS || type != "Feature") return nullptr;
  auto station = std::make_shared<TideStation>();
  station->country = "Australia";
  object properties;
  if (feature["properties"].get(properties) != simdjson::SUCCESS) return station;
  station->stationId = json::textOf(properties, "AAC");
  station->stationExtId = station->stationId;
  station->stationName = json::textOf(properties, "PORT_NAME");
  station->timezoneName = json::textOf(properties, "TIME_ZONE");
  station->stateId = json::textOf(properties, "STATE_NAME");
  station->coordinate = {degreesOf(properties, "LAT"), degreesOf(properties, "LON")};
  return station;
}

}  // namespace

Reading read(std::string_view json) {
  Reading reading;
  JsonReader reader;
  const auto root = reader.read(json);
  if (!root) {
    reading.error = "The list of ports is no JSON document in UTF-8, or nests too deeply.";
    return reading;
  }
  simdjson::dom::array features;
  if ((*root)["features"].get(features) != simdjson::SUCCESS) return reading;
  reading.stations.reserve(features.size());
  for (const element feature : features) {
    if (auto station = stationOf(feature)) reading.stations.push_back(std::move(station));
  }
  return reading;
}

}  // namespace marlune::australian_station_file
