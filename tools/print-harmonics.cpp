// Prints what the local services know of one tide station as a JSON object: its constants in metres
// and the highs and lows of a UTC year, for tools/check-predictions. With a list of constituents only
// those are used. Or the arguments and node factors of every constituent, for tools/make-world-stations.
// NOT FOR NAVIGATION.
//
//   print-harmonics NUMBER YEAR [NAME,NAME,...]
//   print-harmonics KEY YEAR TABLE      # a key with a slash: a station of the world's table
//   print-harmonics --constituents FIRST-YEAR LAST-YEAR

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "services/TidePredictor.h"
#include "services/WorldStations.h"

using namespace marlune::services;

namespace {

constexpr double kFoot = 0.3048;

std::int64_t startOf(int year) {
  const std::chrono::sys_seconds start = std::chrono::sys_days(std::chrono::year(year) / 1 / 1);
  return start.time_since_epoch().count();
}

// The station itself, or for a subordinate station its reference with the station's offsets, so that
// both kinds are one to what follows.
HarmonicStation withConstants(const HarmonicDatabase& database, const HarmonicStation& station) {
  if (!station.subordinate) return station;
  HarmonicStation whole = database.stations()[station.reference];
  whole.high = station.high;
  whole.low = station.low;
  return whole;
}

bool isListed(std::string_view list, std::string_view name) {
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    if (list.substr(begin, end - begin) == name) return true;
    begin = end + 1;
  }
  return false;
}

// `unit`: metres in one unit of the station's figures.
void print(const HarmonicDatabase& database, const HarmonicStation& station, int year, double unit) {
  const auto row = static_cast<std::size_t>(year - database.firstYear());
  fmt::print("{{\"number\":\"{}\",\"data\":\"{}\",\"datumOffset\":{},\"constituents\":[", station.number,
             database.version(), station.datumOffset * unit);
  std::string_view separator;
  for (const HarmonicComponent& component : station.components) {
    const Constituent& constituent = database.constituents()[component.constituent];
    fmt::print(
        "{}{{\"name\":\"{}\",\"amplitude\":{},\"phase\":{},\"speed\":{},\"argument\":{},\"factor\":{}}}",
        separator, constituent.name, component.amplitude * unit, component.epoch, constituent.degreesPerHour,
        constituent.equilibrium[row], constituent.nodeFactor[row]);
    separator = ",";
  }
  fmt::print("],\"high\":[{},{},{}],\"low\":[{},{},{}],\"extremes\":[", station.high.seconds,
             station.high.factor, station.high.addend * unit, station.low.seconds, station.low.factor,
             station.low.addend * unit);
  separator = {};
  for (const TideExtreme& extreme :
       TidePredictor(database).extremes(station, startOf(year), startOf(year + 1))) {
    fmt::print("{}[{},{:.4f},{}]", separator, extreme.time, extreme.level * unit, extreme.high);
    separator = ",";
  }
  fmt::print("]}}\n");
}

void printConstituents(const HarmonicDatabase& database, int first, int last) {
  const auto begin = std::ptrdiff_t{first} - database.firstYear();
  const auto end = std::ptrdiff_t{last} - database.firstYear() + 1;
  std::string_view separator = "[";
  for (const Constituent& constituent : database.constituents()) {
    const auto years = [&](const std::vector<float>& values) {
      return fmt::join(values.begin() + begin, values.begin() + end, ",");
    };
    fmt::print("{}{{\"name\":\"{}\",\"speed\":{},\"arguments\":[{}],\"factors\":[{}]}}", separator,
               constituent.name, constituent.degreesPerHour, years(constituent.equilibrium),
               years(constituent.nodeFactor));
    separator = ",\n";
  }
  fmt::print("]\n");
}

// 0 for anything but a year of the data's table.
int yearOf(std::string_view text) {
  int year = 0;
  std::from_chars(text.data(), text.data() + text.size(), year);
  return year >= 1700 && year <= 2100 ? year : 0;
}

int printWorldStation(const HarmonicDatabase& database, std::string_view key, int year, const char* table) {
  std::string error;
  const auto world = WorldStations::load(table, database, error);
  if (!world) {
    fmt::print(stderr, "print-harmonics: {}\n", error);
    return 1;
  }
  for (const WorldStation& station : world->stations()) {
    if (station.key != key) continue;
    print(database, world->harmonics(station), year, 1);
    return 0;
  }
  fmt::print(stderr, "print-harmonics: no such station in the world's table\n");
  return 1;
}

int printStation(const HarmonicDatabase& database, const char* number, int year, const char* only) {
  const HarmonicStation* found = database.tideStation(number);
  if (found == nullptr) {
    fmt::print(stderr, "print-harmonics: no such tide station\n");
    return 1;
  }
  HarmonicStation station = withConstants(database, *found);
  if (only != nullptr) {
    std::erase_if(station.components, [&](const HarmonicComponent& component) {
      return !isListed(only, database.constituents()[component.constituent].name);
    });
  }
  print(database, station, year, kFoot);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view what = argc > 1 ? argv[1] : "";
  const int year = argc > 2 ? yearOf(argv[2]) : 0;
  const bool all = what == "--constituents";
  const bool ofWorld = what.find('/') != std::string_view::npos;
  const int last = all && argc == 4 ? yearOf(argv[3]) : year;
  if (argc < 3 || argc > 4 || year == 0 || last < year || (ofWorld && argc != 4)) {
    fmt::print(stderr,
               "usage: print-harmonics NUMBER YEAR [NAME,NAME,...]\n"
               "       print-harmonics KEY YEAR TABLE\n"
               "       print-harmonics --constituents FIRST-YEAR LAST-YEAR\n");
    return 2;
  }
  std::string error;
  const auto database = HarmonicDatabase::load(HarmonicDatabase::installedFile(), error);
  if (!database) {
    fmt::print(stderr, "print-harmonics: {}\n", error);
    return 1;
  }
  if (ofWorld) return printWorldStation(*database, what, year, argv[3]);
  if (!all) return printStation(*database, argv[1], year, argc == 4 ? argv[3] : nullptr);
  printConstituents(*database, year, last);
  return 0;
}
