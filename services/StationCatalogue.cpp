#include "services/StationCatalogue.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <tuple>

#include <cctz/time_zone.h>
#include <fmt/format.h>

namespace marlune::services {
namespace {

constexpr std::string_view kDefaultStationNumber = "9413745";
constexpr std::string_view kOutlying = "U.S. Minor Outlying Islands";

// What the data write after the last comma, and the state that it stands for. An empty state: not a
// part of the United States, left out.
const std::map<std::string_view, std::string_view>& statesByLastWord() {
  static const std::map<std::string_view, std::string_view> states = {
      {"Alabama", "Alabama"},
      {"Alaska", "Alaska"},
      {"American Samoa", "American Samoa"},
      {"California", "California"},
      {"Connecticut", "Connecticut"},
      {"DC", "District of Columbia"},
      {"Delaware", "Delaware"},
      {"FSM", ""},
      {"Florida", "Florida"},
      {"Georgia", "Georgia"},
      {"Guam", "Guam"},
      {"Hawaii", "Hawaii"},
      {"Louisiana", "Louisiana"},
      {"Maine", "Maine"},
      {"Marianas", "Northern Mariana Islands"},
      {"Marshall Islands", ""},
      {"Maryland", "Maryland"},
      {"Massachusetts", "Massachusetts"},
      {"Mississippi", "Mississippi"},
      {"New Hampshire", "New Hampshire"},
      {"New Jersey", "New Jersey"},
      {"New York", "New York"},
      {"North Carolina", "North Carolina"},
      {"Oregon", "Oregon"},
      {"Pacific Ocean", kOutlying},
      {"Pennsylvania", "Pennsylvania"},
      {"Puerto Rico", "Puerto Rico"},
      {"Rhode Island", "Rhode Island"},
      {"South Carolina", "South Carolina"},
      {"Texas", "Texas"},
      {"Virgin Islands", "Virgin Islands"},
      {"Virginia", "Virginia"},
      {"Washington", "Washington"},
  };
  return states;
}

struct Place {
  std::string_view whole;
  std::string_view state;
};

// Names that end in no state at all; they keep their whole name.
constexpr std::array kPlacesWithoutState = {
    Place{"Howland Island", kOutlying},
    Place{"Palmyra Island", kOutlying},
    Place{"Sand Island, Midway Islands", kOutlying},
    Place{"Texas Tower, Georges Shoal", "Massachusetts"},
};

// The data mark the second record of a number or a name; the agency writes no such marks.
std::string_view withoutMark(std::string_view name) {
  for (const std::string_view mark : {" (sub)", " (2)"}) {
    if (name.ends_with(mark)) name.remove_suffix(mark.size());
  }
  return name;
}

struct NameAndState {
  std::string_view name;
  std::string_view state;  // empty: not a US station
};

std::optional<NameAndState> splitName(std::string_view whole) {
  whole = withoutMark(whole);
  for (const Place& place : kPlacesWithoutState) {
    if (place.whole == whole) return NameAndState{whole, place.state};
  }
  const auto comma = whole.rfind(", ");
  if (comma == std::string_view::npos || comma == 0) return std::nullopt;
  const auto state = stateOfLastWord(whole.substr(comma + 2));
  if (!state) return std::nullopt;
  return NameAndState{whole.substr(0, comma), *state};
}

bool allDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Nine digits like the default station's: "40" and the seven digits of a number; "41", a digit for the
// table, "00" and the four digits of a number from one of the agency's older tables.
std::string idOf(std::string_view number) {
  if (number == kDefaultStationNumber) return std::string(kDefaultStationId);
  if (number.size() != 7) return {};
  if (allDigits(number)) return fmt::format("40{}", number);
  if (!allDigits(number.substr(3))) return {};
  constexpr std::array<std::string_view, 3> tables = {"TEC", "TWC", "TPT"};
  const auto table = std::find(tables.begin(), tables.end(), number.substr(0, 3));
  if (table == tables.end()) return {};
  return fmt::format("41{}00{}", table - tables.begin() + 1, number.substr(3));
}

std::string degrees(double value) {
  std::string text = fmt::format("{:.5f}", value);
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string problemOf(const CatalogueStation& station) {
  if (station.id.empty()) return "no id can be made from its number";
  cctz::time_zone zone;
  if (!cctz::load_time_zone(station.zone, &zone)) return fmt::format("unknown zone \"{}\"", station.zone);
  if (catalogueLine(station).find_first_of("\r\n") != std::string::npos ||
      parseCatalogueLine(catalogueLine(station)) != station)
    return "a field holds a separator";
  return {};
}

}  // namespace

std::optional<std::string_view> stateOfLastWord(std::string_view word) {
  const auto state = statesByLastWord().find(word);
  return state == statesByLastWord().end() ? std::nullopt : std::optional(state->second);
}

std::optional<CatalogueStation> parseCatalogueLine(std::string_view line) {
  std::array<std::string, 8> fields;
  std::size_t count = 0;
  for (std::size_t begin = 0; begin <= line.size(); ++count) {
    const std::size_t end = std::min(line.find('~', begin), line.size());
    if (count == fields.size()) return std::nullopt;
    fields[count] = line.substr(begin, end - begin);
    begin = end + 1;
  }
  if (count != fields.size()) return std::nullopt;
  return CatalogueStation{fields[0], fields[1], fields[2] == "1", fields[3],
                          fields[4], fields[5], fields[6],        fields[7]};
}

std::string catalogueLine(const CatalogueStation& station) {
  return fmt::format("{}~{}~{}~{}~{}~{}~{}~{}", station.id, station.number, station.subordinate ? 1 : 0,
                     station.latitude, station.longitude, station.name, station.state, station.zone);
}

std::optional<StationCatalogue> StationCatalogue::load(const std::string& file, std::string& error) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    error = fmt::format("cannot open station catalogue \"{}\"", file);
    return std::nullopt;
  }
  StationCatalogue catalogue;
  for (std::string line; std::getline(in, line);) {
    if (line.ends_with('\r')) line.pop_back();
    auto station = parseCatalogueLine(line);
    if (station && catalogue._byId.emplace(station->id, catalogue._stations.size()).second)
      catalogue._stations.push_back(std::move(*station));
  }
  if (catalogue._stations.empty()) {
    error = fmt::format("station catalogue \"{}\" holds no station", file);
    return std::nullopt;
  }
  return catalogue;
}

const CatalogueStation* StationCatalogue::find(std::string_view id) const {
  const auto found = _byId.find(std::string(id));
  return found == _byId.end() ? nullptr : &_stations[found->second];
}

std::vector<CatalogueStation> buildCatalogue(const HarmonicDatabase& database,
                                             std::vector<std::string>& problems) {
  std::map<std::string_view, CatalogueStation> byNumber;
  for (const HarmonicStation& station : database.stations()) {
    if (station.kind != HarmonicStation::Kind::tide) continue;
    // Where a number has both constants and offsets, the constants are what the agency predicts with
    // at nearly all of them.
    if (database.tideStation(station.number) != &station) continue;
    const auto split = splitName(station.name);
    if (split && split->state.empty()) continue;
    CatalogueStation entry{idOf(station.number),
                           station.number,
                           station.subordinate,
                           degrees(station.latitude),
                           degrees(station.longitude),
                           split ? std::string(split->name) : std::string(),
                           split ? std::string(split->state) : std::string(),
                           station.zone};
    const std::string problem = split ? problemOf(entry) : "no known state at the end of its name";
    if (problem.empty())
      byNumber.emplace(station.number, std::move(entry));
    else
      problems.push_back(fmt::format("{} \"{}\": {}", station.number, station.name, problem));
  }
  std::vector<CatalogueStation> entries;
  entries.reserve(byNumber.size());
  for (auto& [number, entry] : byNumber) entries.push_back(std::move(entry));
  std::sort(entries.begin(), entries.end(), [](const CatalogueStation& a, const CatalogueStation& b) {
    return std::tie(a.state, a.name, a.number) < std::tie(b.state, b.name, b.number);
  });
  return entries;
}

}  // namespace marlune::services
