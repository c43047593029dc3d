#include "services/WorldTableReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <utility>

#include <fmt/format.h>

namespace marlune::services {
namespace {

constexpr std::string_view kHead = "marlune world stations 1";
constexpr std::streamoff kLargestFile = 64 << 20;
constexpr double kLargestLevel = 100;  // metres
constexpr double kLargestMinutes = 1440;
constexpr std::size_t kPlaceFields = 9;  // of either kind of station, the letter included
constexpr std::size_t kStationFields = 12;

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

// Nothing for what is no plain number, or one beyond the bound on either side.
std::optional<double> numberOf(std::string_view text, double bound) {
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, value);
  if (problem != std::errc() || stop != end || !(std::abs(value) <= bound)) return std::nullopt;
  return value;
}

std::optional<std::string> textOf(std::string_view field) {
  return field.empty() ? std::nullopt : std::optional<std::string>(field);
}

// A zone's name leads to a file, so it may only look like one of the tz database's.
bool mayBeZone(std::string_view name) {
  return name.find("..") == std::string_view::npos && !name.starts_with('/') &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '/' ||
                  c == '_' || c == '-' || c == '+';
         });
}

// "minutes,factor,metres"
bool readOffsets(std::string_view text, TideOffsets& offsets) {
  const auto parts = split(text, ',');
  if (parts.size() != 3) return false;
  const auto minutes = numberOf(parts[0], kLargestMinutes);
  const auto factor = numberOf(parts[1], kLargestLevel);
  const auto addend = numberOf(parts[2], kLargestLevel);
  if (!minutes || !factor || !addend) return false;
  offsets = {std::llround(*minutes * 60), *factor, *addend};
  return true;
}

}  // namespace

WorldTableReader::WorldTableReader(const HarmonicDatabase& database, WorldStations& world) : _world(world) {
  for (std::size_t i = 0; i < database.constituents().size(); ++i)
    _constituents.emplace(database.constituents()[i].name, i);
}

std::string WorldTableReader::read(const std::string& file) {
  std::ifstream in(file, std::ios::binary | std::ios::ate);
  if (!in) return fmt::format("cannot open the table of the world's stations \"{}\"", file);
  const std::streamoff size = in.tellg();
  if (size < 0 || size > kLargestFile)
    return fmt::format("the table of the world's stations \"{}\" is too large", file);
  std::string text(static_cast<std::size_t>(size), '\0');
  in.seekg(0).read(text.data(), size);
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));

  const auto lines = split(text, '\n');
  if (lines.front() != kHead)
    return fmt::format("\"{}\" is no table of the world's stations; its first line should be \"{}\"", file,
                       kHead);
  for (std::size_t i = 1; i < lines.size(); ++i) readLine(lines[i]);
  if (_world._stations.empty())
    return fmt::format("the table of the world's stations \"{}\" holds no station", file);
  return {};
}

void WorldTableReader::readLine(std::string_view line) {
  const Fields fields = split(line, '~');
  const std::string_view kind = fields.front();
  if (kind == "s" && fields.size() == 5) {
    _world._sources.push_back(
        {std::string(fields[1]), std::string(fields[2]), std::string(fields[3]), std::string(fields[4])});
  } else if (kind == "c") {
    readColumns(fields);
  }
  if ((kind != "p" && kind != "o") || fields.size() != kStationFields) return;
  auto station = placeOf(fields);
  if (!station) return;
  station->reference = _world._stations.size();
  if (kind == "p") {
    const auto mean = numberOf(fields[kPlaceFields + 1], kLargestLevel);
    if (!mean || !readConstants(fields[kPlaceFields + 2], *station)) return;
    station->datum = fields[kPlaceFields];
    station->meanLevel = *mean;
  } else {
    const auto reference = _references.find(std::string(fields[kPlaceFields]));
    if (reference == _references.end() || !readOffsets(fields[kPlaceFields + 1], station->high) ||
        !readOffsets(fields[kPlaceFields + 2], station->low))
      return;
    station->reference = reference->second;
    station->datum = _world._stations[reference->second].datum;
    station->meanLevel = _world._stations[reference->second].meanLevel;
  }
  add(std::move(*station));
}

void WorldTableReader::readColumns(const Fields& fields) {
  _columns.clear();
  for (std::size_t i = 1; i < fields.size(); ++i) {
    const auto known = _constituents.find(fields[i]);
    _columns.push_back(known == _constituents.end() ? std::nullopt : std::optional(known->second));
  }
}

std::optional<WorldStation> WorldTableReader::placeOf(const Fields& fields) const {
  const auto latitude = numberOf(fields[2], 90);
  const auto longitude = numberOf(fields[3], 180);
  const auto source = numberOf(fields[8], 1000);
  if (fields[1].empty() || !latitude || !longitude || !source || *source < 0 || !mayBeZone(fields[7]))
    return std::nullopt;
  WorldStation station;
  station.id = worldStationId(fields[1]);
  station.key = fields[1];
  station.latitude = *latitude;
  station.longitude = *longitude;
  station.name = textOf(fields[4]);
  station.city = textOf(fields[5]);
  station.country = textOf(fields[6]);
  station.zone = textOf(fields[7]);
  station.source = static_cast<std::size_t>(*source);
  if (station.source >= _world._sources.size()) return std::nullopt;
  return station;
}

// "millimetres,degrees;..." in the order of the columns; nothing between two semicolons where the station
// lacks one.
bool WorldTableReader::readConstants(std::string_view text, WorldStation& station) const {
  const auto parts = split(text, ';');
  if (parts.size() > _columns.size()) return false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].empty()) continue;
    const auto comma = parts[i].find(',');
    if (comma == std::string_view::npos) return false;
    const auto millimetres = numberOf(parts[i].substr(0, comma), kLargestLevel * 1000);
    const auto degrees = numberOf(parts[i].substr(comma + 1), 360);
    if (!millimetres || !degrees) return false;
    if (_columns[i]) station.components.push_back({*_columns[i], *millimetres / 1000, *degrees});
  }
  return !station.components.empty();
}

void WorldTableReader::add(WorldStation station) {
  if (!_ids.insert(station.id).second) return;
  if (!station.components.empty()) _references.emplace(station.key, _world._stations.size());
  _world._stations.push_back(std::move(station));
}

}  // namespace marlune::services
