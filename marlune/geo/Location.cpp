#include "marlune/geo/Location.h"

#include <utility>

#include "marlune/formats/JsonReader.h"

namespace marlune {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

std::optional<double> numberOf(object members, std::string_view key) {
  element value;
  if (members[key].get(value) != simdjson::SUCCESS) return std::nullopt;
  return json::number(value);
}

bool readCoordinate(object members, Location& location) {
  object coord;
  if (members["coord"].get(coord) != simdjson::SUCCESS) return false;
  for (const auto& [key, value] : coord) {
    const auto number = json::number(value);
    if (!number) return false;
    location.coord.insert_or_assign(std::string(key), *number);
  }
  return true;
}

std::shared_ptr<Location> locationOf(element value) {
  object members;
  if (value.get(members) != simdjson::SUCCESS) return nullptr;
  auto location = std::make_shared<Location>();
  const auto lat = numberOf(members, "lat");
  const auto lng = numberOf(members, "lng");
  auto name = json::textOf(members, "name");
  auto id = json::textOf(members, "id");
  if (!lat || !lng || !name || !id || !readCoordinate(members, *location)) return nullptr;
  location->lat = *lat;
  location->lng = *lng;
  location->name = std::move(*name);
  location->id = std::move(*id);
  return location;
}

}  // namespace

SpacePoint Location::point() const {
  return pointOf(coord, id);
}

Location::Reading Location::readList(std::string_view json) {
  Reading reading;
  JsonReader reader;
  const auto root = reader.read(json);
  simdjson::dom::array list;
  if (!root || root->get(list) != simdjson::SUCCESS) {
    reading.error = root ? "The list of stations is no JSON array."
                         : "The list of stations is no JSON document: " + std::string(reader.error()) + ".";
    return reading;
  }
  reading.locations.reserve(list.size());
  for (const element value : list) {
    auto location = locationOf(value);
    if (!location) {
      reading.error = "Station " + std::to_string(reading.locations.size() + 1) +
                      " of the list lacks one of lat, lng, name, id and coord, or has it in another type.";
      reading.locations.clear();
      return reading;
    }
    reading.locations.push_back(std::move(location));
  }
  return reading;
}

LocationList::LocationList(std::vector<std::shared_ptr<Location>> locations)
    : locations_(std::move(locations)) {
  points_.reserve(locations_.size());
  for (const auto& location : locations_) points_.push_back(location->point());
}

std::shared_ptr<Location> LocationList::closestTo(double lat, double lng, double withinDistance) const {
  const auto nearest = nearestWithin(spacePoint(lat, lng), points_, withinDistance);
  return nearest ? locations_[*nearest] : nullptr;
}

}  // namespace marlune
