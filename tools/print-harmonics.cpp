// Prints what the local services know of one tide station as a JSON object: its constants in metres
// and the highs and lows of a UTC year, for tools/check-predictions. NOT FOR NAVIGATION.
//
//   print-harmonics NUMBER YEAR [HARMONICS-FILE]

#include <charconv>
#include <chrono>
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

}  // namespace

int main(int argc, char** argv) {
  const std::string_view yearText = argc > 2 ? argv[2] : "";
  int year = 0;
  std::from_chars(yearText.data(), yearText.data() + yearText.size(), year);
  if (argc < 3 || argc > 4 || year < 1700 || year > 2100) {
    fmt::print(stderr, "usage: print-harmonics NUMBER YEAR [HARMONICS-FILE]\n");
    return 2;
  }
  std::string error;
  const auto database =
      HarmonicDatabase::load(argc == 4 ? std::string(argv[3]) : HarmonicDatabase::installedFile(), error);
  const HarmonicStation* station = database ? database->tideStation(argv[1]) : nullptr;
  if (station == nullptr) {
    fmt::print(stderr, "print-harmonics: {}\n", database ? "no such tide station" : error);
    return 1;
  }
  const HarmonicStation& reference =
      station->subordinate ? database->stations()[station->reference] : *station;
  fmt::print("{{\"number\":\"{}\",\"data\":\"{}\",\"datumOffset\":{},\"constituents\":[", station->number,
             database->version(), reference.datumOffset * kMetres);
  std::string_view separator;
  for (const HarmonicComponent& component : reference.components) {
    const Constituent& constituent = database->constituents()[component.constituent];
    fmt::print("{}{{\"name\":\"{}\",\"amplitude\":{},\"phase\":{},\"speed\":{}}}", separator,
               constituent.name, component.amplitude * kMetres, component.epoch, constituent.degreesPerHour);
    separator = ",";
  }
  fmt::print("],\"high\":[{},{},{}],\"low\":[{},{},{}],\"extremes\":[", station->high.seconds,
             station->high.factor, station->high.addend * kMetres, station->low.seconds, station->low.factor,
             station->low.addend * kMetres);
  separator = {};
  for (const TideExtreme& extreme :
       TidePredictor(*database).extremes(*station, startOf(year), startOf(year + 1))) {
    fmt::print("{}[{},{:.4f},{}]", separator, extreme.time, extreme.level * kMetres, extreme.high);
    separator = ",";
  }
  fmt::print("]}}\n");
  return 0;
}
