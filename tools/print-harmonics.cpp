// Prints what the local services know of one tide station as a JSON object: its constants in metres
// and the highs and lows of a UTC year, for tools/check-predictions. With a list of constituents only
// those are used. NOT FOR NAVIGATION.
//
//   print-harmonics NUMBER YEAR [NAME,NAME,...]

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "services/TidePredictor.h"

using namespace marlune::services;

namespace {

constexpr double kMetres = 0.3048;

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

void print(const HarmonicDatabase& database, const HarmonicStation& station, int year) {
  const auto row = static_cast<std::size_t>(year - database.firstYear());
  fmt::print("{{\"number\":\"{}\",\"data\":\"{}\",\"datumOffset\":{},\"constituents\":[", station.number,
             database.version(), station.datumOffset * kMetres);
  std::string_view separator;
  for (const HarmonicComponent& component : station.components) {
    const Constituent& constituent = database.constituents()[component.constituent];
    fmt::print(
        "{}{{\"name\":\"{}\",\"amplitude\":{},\"phase\":{},\"speed\":{},\"argument\":{},\"factor\":{}}}",
        separator, constituent.name, component.amplitude * kMetres, component.epoch,
        constituent.degreesPerHour, constituent.equilibrium[row], constituent.nodeFactor[row]);
    separator = ",";
  }
  fmt::print("],\"high\":[{},{},{}],\"low\":[{},{},{}],\"extremes\":[", station.high.seconds,
             station.high.factor, station.high.addend * kMetres, station.low.seconds, station.low.factor,
             station.low.addend * kMetres);
  separator = {};
  for (const TideExtreme& extreme :
       TidePredictor(database).extremes(station, startOf(year), startOf(year + 1))) {
    fmt::print("{}[{},{:.4f},{}]", separator, extreme.time, extreme.level * kMetres, extreme.high);
    separator = ",";
  }
  fmt::print("]}}\n");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view yearText = argc > 2 ? argv[2] : "";
  int year = 0;
  std::from_chars(yearText.data(), yearText.data() + yearText.size(), year);
  if (argc < 3 || argc > 4 || year < 1700 || year > 2100) {
    fmt::print(stderr, "usage: print-harmonics NUMBER YEAR [NAME,NAME,...]\n");
    return 2;
  }
  std::string error;
  const auto database = HarmonicDatabase::load(HarmonicDatabase::installedFile(), error);
  const HarmonicStation* found = database ? database->tideStation(argv[1]) : nullptr;
  if (found == nullptr) {
    fmt::print(stderr, "print-harmonics: {}\n", database ? "no such tide station" : error);
    return 1;
  }
  HarmonicStation station = withConstants(*database, *found);
  if (argc == 4) {
    std::erase_if(station.components, [&](const HarmonicComponent& component) {
      return !isListed(argv[3], database->constituents()[component.constituent].name);
    });
  }
  print(*database, station, year);
  return 0;
}
