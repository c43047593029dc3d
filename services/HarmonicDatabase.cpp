#include "services/HarmonicDatabase.h"

#include <tcd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>

#include <fmt/format.h>

namespace marlune::services {
namespace {

std::mutex& fileLibraryMutex() {
  static std::mutex mutex;
  return mutex;
}

// The file's texts are Latin-1.
std::string utf8(const char* text) {
  std::string out;
  for (; *text != '\0'; ++text) {
    const auto c = static_cast<unsigned char>(*text);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

// Offsets are written as hours * 100 + minutes, both with the sign of the whole.
std::int64_t secondsOf(std::int32_t hoursAndMinutes) {
  return std::int64_t{hoursAndMinutes / 100} * 3600 + std::int64_t{hoursAndMinutes % 100} * 60;
}

// A factor of zero means that none was given.
TideOffsets offsetsOf(std::int32_t time, float factor, float addend) {
  return {secondsOf(time), factor > 0 ? double{factor} : 1.0, double{addend}};
}

CurrentTraits traitsOf(const TIDE_RECORD& record) {
  CurrentTraits traits;
  constexpr std::int32_t circle = 360;  // beyond it the direction is not known
  if (record.max_direction <= circle) traits.floodDirection = record.max_direction;
  if (record.min_direction <= circle) traits.ebbDirection = record.min_direction;
  if (record.flood_begins != NULLSLACKOFFSET) traits.floodBegins = secondsOf(record.flood_begins);
  if (record.ebb_begins != NULLSLACKOFFSET) traits.ebbBegins = secondsOf(record.ebb_begins);
  return traits;
}

HarmonicStation::Kind kindOf(std::string_view unit) {
  if (unit == "knots") return HarmonicStation::Kind::current;
  if (unit == "knots^2") return HarmonicStation::Kind::currentSquared;
  return HarmonicStation::Kind::tide;
}

// The library ends the process on a file it does not understand, so the file is looked at first: its
// head is text and names the file's own length.
std::string whyNotReadable(const std::string& file) {
  std::ifstream in(file, std::ios::binary | std::ios::ate);
  if (!in) return fmt::format("cannot open harmonics file \"{}\"", file);
  const auto size = static_cast<std::int64_t>(in.tellg());
  in.seekg(0);
  std::string head(4096, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(in.gcount()));
  constexpr std::string_view endKey = "[END OF FILE] = ";
  const auto end = head.find(endKey);
  if (!head.starts_with("[VERSION]") || end == std::string::npos)
    return fmt::format("\"{}\" is no harmonics file in the TCD format", file);
  std::int64_t expected = 0;
  std::from_chars(head.data() + end + endKey.size(), head.data() + head.size(), expected);
  if (expected != size)
    return fmt::format("harmonics file \"{}\" is damaged: {} bytes, should be {}", file, size, expected);
  return {};
}

HarmonicStation stationOf(const TIDE_RECORD& record, std::size_t constituents) {
  HarmonicStation station;
  station.kind = kindOf(get_level_units(record.level_units));
  station.subordinate = record.header.record_type == SUBORDINATE_STATION;
  station.number = utf8(record.station_id);
  station.name = utf8(record.header.name);
  station.zone = get_tzfile(record.header.tzfile);
  if (station.zone.starts_with(':')) station.zone.erase(0, 1);
  station.latitude = record.header.latitude;
  station.longitude = record.header.longitude;
  if (station.kind != HarmonicStation::Kind::tide) station.current = traitsOf(record);
  if (station.subordinate) {
    station.reference = static_cast<std::size_t>(std::max(record.header.reference_station, 0));
    station.high = offsetsOf(record.max_time_add, record.max_level_multiply, record.max_level_add);
    station.low = offsetsOf(record.min_time_add, record.min_level_multiply, record.min_level_add);
    return station;
  }
  station.datumOffset = double{record.datum_offset};
  station.epochZoneHours = static_cast<double>(secondsOf(record.zone_offset)) / 3600;
  for (std::size_t i = 0; i < constituents; ++i) {
    if (record.amplitude[i] > 0)
      station.components.push_back({i, double{record.amplitude[i]}, double{record.epoch[i]}});
  }
  return station;
}

}  // namespace

std::string HarmonicDatabase::installedFile() {
  std::string newest;  // the names hold the date, so the last by name
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/share/xtide", ignored)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with("harmonics-dwf-") && name.ends_with("-free.tcd"))
      newest = std::max(newest, entry.path().string());
  }
  return newest;
}

std::optional<HarmonicDatabase> HarmonicDatabase::load(const std::string& file, std::string& error) {
  if (file.empty()) {
    error = "no harmonics file: install the package xtide-data, or name a file";
    return std::nullopt;
  }
  if (error = whyNotReadable(file); !error.empty()) return std::nullopt;

  const std::lock_guard lock(fileLibraryMutex());
  std::string name = file;
  if (open_tide_db(name.data()) == NVFalse) {
    error = fmt::format("cannot read harmonics file \"{}\"", file);
    return std::nullopt;
  }
  HarmonicDatabase database;
  const DB_HEADER_PUBLIC header = get_tide_db_header();
  database._version = header.last_modified;
  database._firstYear = header.start_year;
  database._lastYear = header.start_year + static_cast<int>(header.number_of_years) - 1;
  for (std::uint32_t i = 0; i < header.constituents; ++i) {
    const auto number = static_cast<NV_INT32>(i);
    const float* equilibrium = get_equilibriums(number);
    const float* factor = get_node_factors(number);
    database._constituents.push_back({get_constituent(number),
                                      get_speed(number),
                                      {equilibrium, equilibrium + header.number_of_years},
                                      {factor, factor + header.number_of_years}});
  }
  const auto record = std::make_unique<TIDE_RECORD>();
  database._stations.reserve(header.number_of_records);
  for (std::uint32_t i = 0; i < header.number_of_records; ++i) {
    if (read_tide_record(static_cast<NV_INT32>(i), record.get()) < 0) break;
    database._stations.push_back(stationOf(*record, header.constituents));
  }
  close_tide_db();
  for (const HarmonicStation& station : database._stations) {
    if (station.subordinate && station.reference >= database._stations.size()) {
      error =
          fmt::format("harmonics file \"{}\" is damaged: station {} has no reference", file, station.number);
      return std::nullopt;
    }
  }
  return database;
}

const HarmonicStation* HarmonicDatabase::tideStation(std::string_view number, bool preferSubordinate) const {
  const HarmonicStation* found = nullptr;
  for (const HarmonicStation& station : _stations) {
    if (station.kind != HarmonicStation::Kind::tide || station.number != number) continue;
    if (station.subordinate == preferSubordinate) return &station;
    if (found == nullptr) found = &station;
  }
  return found;
}

}  // namespace marlune::services
