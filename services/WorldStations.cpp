#include "services/WorldStations.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include <fmt/format.h>

#include "services/WorldTableReader.h"

namespace marlune::services {
namespace {

constexpr double kEarthRadius = 6371;  // kilometres

double kilometresBetween(double latitude, double longitude, const WorldStation& station) {
  constexpr double radians = std::numbers::pi / 180;
  const double across = std::sin((station.latitude - latitude) * radians / 2);
  const double along = std::sin((station.longitude - longitude) * radians / 2);
  const double h =
      across * across + std::cos(latitude * radians) * std::cos(station.latitude * radians) * along * along;
  return 2 * kEarthRadius * std::asin(std::sqrt(std::min(h, 1.0)));
}

}  // namespace

std::string WorldStation::zoneOrNautical() const {
  if (zone) return *zone;
  const long hours = std::clamp(std::lround(longitude / 15), -12L, 12L);
  if (hours == 0) return "Etc/GMT";
  return fmt::format("Etc/GMT{}{}", hours > 0 ? '-' : '+', std::labs(hours));
}

std::int64_t worldStationId(std::string_view key) {
  constexpr std::string_view agency = "noaa/";
  constexpr std::size_t digits = 7;
  if (key.starts_with(agency) && key.size() == agency.size() + digits &&
      key.find_first_not_of("0123456789", agency.size()) == std::string_view::npos) {
    std::int64_t number = 0;
    for (const char c : key.substr(agency.size())) number = number * 10 + (c - '0');
    return number;
  }
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a
  for (const char c : key) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return static_cast<std::int64_t>((hash >> 40 ^ hash) & ((std::uint64_t{1} << 40) - 1));
}

std::optional<WorldStations> WorldStations::load(const std::string& file, const HarmonicDatabase& database,
                                                 std::string& error) {
  WorldStations world;
  error = WorldTableReader(database, world).read(file);
  return error.empty() ? std::optional(std::move(world)) : std::nullopt;
}

WorldStations::Nearest WorldStations::nearest(double latitude, double longitude) const {
  Nearest best;
  for (const WorldStation& station : _stations) {
    const double kilometres = kilometresBetween(latitude, longitude, station);
    if (best.station == nullptr || kilometres < best.kilometres) best = {&station, kilometres};
  }
  return best;
}

HarmonicStation WorldStations::harmonics(const WorldStation& station) const {
  const WorldStation& reference = _stations[station.reference];
  HarmonicStation tide;
  tide.number = station.key;
  tide.name = station.name.value_or("");
  tide.zone = station.zoneOrNautical();
  tide.latitude = station.latitude;
  tide.longitude = station.longitude;
  tide.datumOffset = reference.meanLevel;
  tide.components = reference.components;
  tide.high = station.high;
  tide.low = station.low;
  return tide;
}

WorldTable::WorldTable(std::string file, std::shared_ptr<const HarmonicDatabase> database)
    : _file(std::move(file)), _database(std::move(database)) {}

const WorldStations* WorldTable::stations() const {
  std::call_once(_read, [this] { _stations = WorldStations::load(_file, *_database, _error); });
  return _stations ? &*_stations : nullptr;
}

const std::string& WorldTable::error() const {
  stations();
  return _error;
}

}  // namespace marlune::services
