#include "marlune/ocean/ukho/UKHOStreamStation.h"

#include <utility>

#include "marlune/formats/JsonReader.h"

namespace marlune {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

std::optional<StreamStationsGeoJSON::Feature> featureOf(element value) {
  object geometry;
  object properties;
  array coordinates;
  if (value["geometry"].get(geometry) != simdjson::SUCCESS ||
      value["properties"].get(properties) != simdjson::SUCCESS ||
      geometry["coordinates"].get(coordinates) != simdjson::SUCCESS) {
    return std::nullopt;
  }
  StreamStationsGeoJSON::Feature feature;
  for (const element coordinate : coordinates) {
    const auto number = json::number(coordinate);
    if (!number) return std::nullopt;
    feature.geometry.coordinates.push_back(*number);
  }
  auto id = json::textOf(properties, "Id");
  auto name = json::textOf(properties, "Name");
  if (!id || !name) return std::nullopt;
  feature.properties = {std::move(*id), std::move(*name)};
  return feature;
}

}  // namespace

StreamStationsGeoJSON::Reading StreamStationsGeoJSON::read(std::string_view json) {
  Reading reading;
  JsonReader reader;
  const auto root = reader.read(json);
  if (!root) {
    reading.error = "no JSON document: " + std::string(reader.error());
    return reading;
  }
  array list;
  if ((*root)["features"].get(list) != simdjson::SUCCESS) {
    reading.error = "no object with a list of features";
    return reading;
  }
  auto& features = reading.document.features;
  features.reserve(list.size());
  for (const element value : list) {
    auto feature = featureOf(value);
    if (!feature) {
      reading.error = "feature " + std::to_string(features.size() + 1) +
                      " lacks one of coordinates, Id and Name, or has it in another type";
      features.clear();
      return reading;
    }
    features.push_back(std::move(*feature));
  }
  return reading;
}

UKHOStreamStation::List UKHOStreamStation::listOf(const StreamStationsGeoJSON& document) {
  List stations;
  stations.reserve(document.features.size());
  for (const auto& [geometry, properties] : document.features) {
    if (geometry.coordinates.size() < 2) continue;
    const double lng = geometry.coordinates[0];
    const double lat = geometry.coordinates[1];
    stations.push_back(std::make_shared<const UKHOStreamStation>(
        UKHOStreamStation{properties.Id, properties.Name, lat, lng, spacePoint(lat, lng)}));
  }
  return stations;
}

}  // namespace marlune
