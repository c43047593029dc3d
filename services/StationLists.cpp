#include "services/StationLists.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <set>
#include <tuple>
#include <utility>

#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "services/CurrentStationNumbers.h"
#include "services/JsonList.h"
#include "services/StationCatalogue.h"

namespace marlune::services {
namespace {

using Value = rapidjson::Value;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr double kEarthRadius = 6371.0;  // kilometres

// NOAA writes a sensor's name short or in full: "Air Temp", "Air Temperature".
std::string_view sensorOf(StationList list) {
  switch (list) {
    case StationList::waterTemperature:
      return "Water Temp";
    case StationList::airTemperature:
      return "Air Temp";
    case StationList::wind:
      return "Wind";
    default:
      return {};
  }
}

// True for a station that does not tell its sensors: then it is the list that says what it measures.
bool canMeasure(StationList list, const Value& station) {
  const Value* sensors = member(member(&station, "sensors"), "sensors");
  if (sensors == nullptr || !sensors->IsArray()) return true;
  return std::any_of(sensors->Begin(), sensors->End(), [&](const Value& sensor) {
    return textOf(member(&sensor, "name")).starts_with(sensorOf(list));
  });
}

struct Found {
  const Value* latitude = nullptr;
  const Value* longitude = nullptr;
  std::string problem;
};

Found fillFromAdmiralty(const Value& feature, ListedStation& station) {
  const Value* properties = member(&feature, "properties");
  station.id = textOf(member(properties, "Id"));
  station.name = textOf(member(properties, "Name"));
  const std::string_view type = textOf(member(properties, "StationType"));
  const Value* place = member(member(&feature, "geometry"), "coordinates");
  Found found;
  if (!type.empty() && !type.starts_with("TidalStream")) found.problem = "is no tidal stream";
  if (place != nullptr && place->IsArray() && place->Size() >= 2) {
    found.longitude = &(*place)[0];
    found.latitude = &(*place)[1];
  }
  return found;
}

Found fillFromNoaa(StationList list, const Value& object, ListedStation& station) {
  station.id = textOf(member(&object, "id"));
  station.name = textOf(member(&object, "name"));
  Found found{member(&object, "lat"), member(&object, "lng"), {}};
  if (list != StationList::currents) {
    if (!canMeasure(list, object)) found.problem = "has no such sensor";
    return found;
  }
  const Value* bin = member(&object, "bin");
  station.bin = bin != nullptr && bin->IsInt() ? bin->GetInt() : 0;
  if (station.bin < 1) found.problem = "has no bin";
  return found;
}

// What is wrong with the station, or an empty text.
std::string fill(StationList list, const Value& value, ListedStation& station) {
  const Found found =
      list == StationList::streams ? fillFromAdmiralty(value, station) : fillFromNoaa(list, value, station);
  if (!isCode(station.id)) return "has no code";
  if (!found.problem.empty()) return found.problem;
  if (station.name.empty()) return "has no name";
  const auto latitude = numberOf(found.latitude);
  const auto longitude = numberOf(found.longitude);
  if (!latitude || !longitude) return "has no place";
  if (!isPlace(*latitude, *longitude)) return "lies nowhere on earth";
  station.latitude = *latitude;
  station.longitude = *longitude;
  return {};
}

// The array that holds the stations: of a collection, of NOAA's answer, or the whole text of a resource.
const Value* stationsOf(StationList list, const Value& document, std::string& error) {
  const Value* stations = list == StationList::streams ? member(&document, "features")
                          : document.IsArray()         ? &document
                                                       : member(&document, "stations");
  if (stations == nullptr || !stations->IsArray() || stations->Empty()) {
    error = "holds no list of stations";
    return nullptr;
  }
  const auto told = numberOf(member(&document, "count"));
  if (told && *told != stations->Size()) {
    error = fmt::format("holds {} stations and tells of {}", stations->Size(), *told);
    return nullptr;
  }
  return stations;
}

void write(Writer& writer, const char* key, std::string_view text) {
  writer.Key(key);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void write(Writer& writer, const char* key, double number) {
  writer.Key(key);
  writer.Double(number);
}

void writeSpacePoint(Writer& writer, double latitude, double longitude) {
  const double phi = latitude * std::numbers::pi / 180;
  const double lambda = longitude * std::numbers::pi / 180;
  writer.Key("coord");
  writer.StartObject();
  write(writer, "x", kEarthRadius * std::cos(phi) * std::cos(lambda));
  write(writer, "y", kEarthRadius * std::cos(phi) * std::sin(lambda));
  write(writer, "z", kEarthRadius * std::sin(phi));
  writer.EndObject();
}

void writeStation(Writer& writer, const ListedStation& station) {
  writer.StartObject();
  write(writer, "id", station.id);
  write(writer, "name", station.name);
  write(writer, "lat", station.latitude);
  write(writer, "lng", station.longitude);
  if (station.bin > 0) {
    writer.Key("bin");
    writer.Int(station.bin);
  }
  writeSpacePoint(writer, station.latitude, station.longitude);
  writer.EndObject();
}

void writeFeature(Writer& writer, const ListedStation& station) {
  writer.StartObject();
  write(writer, "type", "Feature");
  writer.Key("properties");
  writer.StartObject();
  write(writer, "Id", station.id);
  write(writer, "Name", station.name);
  writer.EndObject();
  writer.Key("geometry");
  writer.StartObject();
  write(writer, "type", "Point");
  writer.Key("coordinates");
  writer.StartArray();
  writer.Double(station.longitude);
  writer.Double(station.latitude);
  writer.EndArray();
  writer.EndObject();
  writer.EndObject();
}

// The file's places are single figures of five decimals at most, stored in a coarser way.
double inDecimals(double degrees) {
  return std::round(degrees * 1e5) / 1e5;
}

}  // namespace

StationsRead readStations(StationList list, std::string_view json) {
  StationsRead read;
  rapidjson::Document document;
  read.error = readJson(json, document);
  const Value* stations = read.error.empty() ? stationsOf(list, document, read.error) : nullptr;
  if (stations == nullptr) return read;
  std::set<std::pair<std::string, int>> seen;
  std::size_t number = 0;
  for (const Value& value : stations->GetArray()) {
    ++number;
    ListedStation station;
    std::string problem = fill(list, value, station);
    if (problem.empty() && !seen.emplace(station.id, station.bin).second)
      problem = "its code is another's before";
    if (problem.empty())
      read.stations.push_back(std::move(station));
    else
      read.problems.push_back(
          fmt::format("station {} {} \"{}\": {}", number, station.id, station.name, problem));
  }
  if (read.stations.empty()) read.error = "holds no usable station";
  if (list != StationList::currents)
    std::sort(read.stations.begin(), read.stations.end(),
              [](const ListedStation& a, const ListedStation& b) { return a.id < b.id; });
  return read;
}

std::string stationsDocument(StationList list, const std::vector<ListedStation>& stations) {
  const bool collection = list == StationList::streams;
  std::string document = collection ? "{\"type\":\"FeatureCollection\",\"features\":[\n" : "[\n";
  for (const ListedStation& station : stations) {
    rapidjson::StringBuffer line;
    Writer writer(line);
    if (collection)
      writeFeature(writer, station);
    else
      writeStation(writer, station);
    document.append(line.GetString(), line.GetSize());
    document += &station == &stations.back() ? "\n" : ",\n";
  }
  return document + (collection ? "]}\n" : "]\n");
}

std::string_view stationsFileName(StationList list) {
  switch (list) {
    case StationList::waterTemperature:
      return "water_temp_stations_usa.json";
    case StationList::airTemperature:
      return "air_temp_stations_usa.json";
    case StationList::wind:
      return "wind_stations_usa.json";
    case StationList::streams:
      return "stream_stations_uk.json";
    case StationList::currents:
      break;
  }
  return "current_stations_usa.json";
}

std::vector<ListedStation> currentStations(const HarmonicDatabase& database,
                                           std::vector<std::string>& problems) {
  std::map<std::tuple<std::string, double, int>, ListedStation> byDepth;  // id, feet, bin
  std::set<std::string> seen;
  for (const HarmonicStation& station : database.stations()) {
    if (station.kind == HarmonicStation::Kind::tide || !seen.insert(station.number).second) continue;
    const auto number = currentStationNumber(station.number);
    const auto name = currentStationName(station.name);
    const auto state = name ? stateOfLastWord(name->state) : std::nullopt;
    if (!number || !state) {
      problems.push_back(fmt::format("{} \"{}\": its {} is not understood", station.number, station.name,
                                     number ? "name" : "number"));
      continue;
    }
    if (state->empty()) continue;
    // A depth that is not told is taken for the deepest: it must not hide one that is known to be shallow.
    const double feet = name->depthFeet.value_or(std::numeric_limits<double>::max());
    byDepth[{number->id, feet, number->bin}] = {number->id, name->name, inDecimals(station.latitude),
                                                inDecimals(station.longitude), number->bin};
  }
  std::vector<ListedStation> stations;
  stations.reserve(byDepth.size());
  for (auto& [depth, station] : byDepth) stations.push_back(std::move(station));
  return stations;
}

}  // namespace marlune::services
