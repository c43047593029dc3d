#include "marlune/ocean/noaa/CurrentStation.h"

#include <utility>

#include "marlune/formats/JsonReader.h"

namespace marlune {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

/// Reads one member; false for one of another type. Unknown ones are passed over.
class Members {
 public:
  explicit Members(CurrentStation& station) : station_(station) {}

  bool take(std::string_view key, element value) {
    if (key == "id") return text(value, station_.id, 1);
    if (key == "name") return text(value, station_.name, 2);
    if (key == "lat") return number(value, station_.lat, 4);
    if (key == "lng") return number(value, station_.lng, 8);
    if (key == "bin") {
      const auto bin = json::integer(value);
      station_.bin = bin.value_or(0);
      return came(bin.has_value(), 16);
    }
    return key != "coord" || coordinate(value);
  }

  bool complete() const { return seen_ == 63; }

 private:
  bool came(bool fits, unsigned which) {
    seen_ |= which;
    return fits;
  }
  bool text(element value, std::string& into, unsigned which) {
    const auto held = json::text(value);
    into = held.value_or(std::string_view());
    return came(held.has_value(), which);
  }
  bool number(element value, double& into, unsigned which) {
    const auto held = json::number(value);
    into = held.value_or(0.0);
    return came(held.has_value(), which);
  }
  bool coordinate(element value) {
    object axes;
    if (value.get(axes) != simdjson::SUCCESS) return false;
    for (const auto& [axis, member] : axes) {
      const auto held = json::number(member);
      if (!held) return false;
      station_.coord.insert_or_assign(std::string(axis), *held);
    }
    return came(true, 32);
  }

  CurrentStation& station_;
  unsigned seen_ = 0;
};

std::shared_ptr<const CurrentStation> stationOf(element value) {
  object members;
  if (value.get(members) != simdjson::SUCCESS) return nullptr;
  auto station = std::make_shared<CurrentStation>();
  Members reader(*station);
  for (const auto& [key, member] : members) {
    if (!reader.take(key, member)) return nullptr;
  }
  return reader.complete() ? station : nullptr;
}

}  // namespace

SpacePoint CurrentStation::point() const {
  return pointOf(coord, id);
}

CurrentStation::Reading CurrentStation::readList(std::string_view json) {
  Reading reading;
  JsonReader reader;
  const auto root = reader.read(json);
  simdjson::dom::array list;
  if (!root || root->get(list) != simdjson::SUCCESS) {
    reading.error = root ? "the list is no JSON array" : "no JSON document: " + std::string(reader.error());
    return reading;
  }
  reading.stations.reserve(list.size());
  for (const element value : list) {
    auto station = stationOf(value);
    if (!station) {
      reading.error = "station " + std::to_string(reading.stations.size() + 1) +
                      " lacks one of id, lat, lng, name, bin and coord, or has it in another type";
      reading.stations.clear();
      return reading;
    }
    reading.stations.push_back(std::move(station));
  }
  return reading;
}

}  // namespace marlune
