// Writes the lists of stations from which the library picks the nearest: NOAA's stations that measure water
// temperature, air temperature or wind, and the Admiralty's tidal streams, from the services' own lists as a
// deployer has saved them.
//
//   make-observation-stations RESOURCES-FOLDER [--water-temperature FILE] [--air-temperature FILE]
//                             [--wind FILE] [--streams FILE]
//
// A list that is not named is not touched. What makes no usable station is reported and left out.

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/StationLists.h"
#include "tools/ToolFiles.h"

using namespace marlune::services;

namespace {

struct Work {
  StationList list;
  std::string source;
};

std::optional<StationList> listOf(std::string_view option) {
  if (option == "--water-temperature") return StationList::waterTemperature;
  if (option == "--air-temperature") return StationList::airTemperature;
  if (option == "--wind") return StationList::wind;
  if (option == "--streams") return StationList::streams;
  return std::nullopt;
}

bool fail(const std::string& file, const std::string& why) {
  std::fprintf(stderr, "make-observation-stations: \"%s\" %s\n", file.c_str(), why.c_str());
  return false;
}

bool make(const Work& work, const std::string& folder) {
  const auto content = contentOf(work.source);
  if (!content) return fail(work.source, "cannot be read");
  const StationsRead read = readStations(work.list, *content);
  for (const std::string& problem : read.problems)
    std::fprintf(stderr, "make-observation-stations: left out: %s\n", problem.c_str());
  if (!read.error.empty())
    return fail(work.source, read.error + "; nothing is written. Is it the right list, and whole?");
  const std::string file = folder + "/" + std::string(stationsFileName(work.list));
  if (!write(file, stationsDocument(work.list, read.stations))) return fail(file, "cannot be written");
  std::printf("%s: %zu stations, %zu left out\n", file.c_str(), read.stations.size(), read.problems.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Work> works;
  bool understood = argc > 3 && argc % 2 == 0;
  for (int i = 2; understood && i + 1 < argc; i += 2) {
    const auto list = listOf(argv[i]);
    understood = list.has_value();
    if (understood) works.push_back({*list, argv[i + 1]});
  }
  if (!understood) {
    std::fputs(
        "usage: make-observation-stations RESOURCES-FOLDER [--water-temperature FILE]\n"
        "         [--air-temperature FILE] [--wind FILE] [--streams FILE]\n",
        stderr);
    return 2;
  }
  bool done = true;
  for (const Work& work : works) done = make(work, argv[1]) && done;
  return done ? 0 : 1;
}
