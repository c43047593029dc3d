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

bool make(StationList list, const std::string& source, const std::string& folder) {
  const auto content = contentOf(source);
  if (!content) return fail(source, "cannot be read");
  const StationsRead read = readStations(list, *content);
  for (const std::string& problem : read.problems)
    std::fprintf(stderr, "make-observation-stations: left out: %s\n", problem.c_str());
  if (!read.error.empty())
    return fail(source, read.error + "; nothing is written. Is it the right list, and whole?");
  const std::string file = folder + "/" + std::string(stationsFileName(list));
  if (!write(file, stationsDocument(list, read.stations))) return fail(file, "cannot be written");
  std::printf("%s: %zu stations, %zu left out\n", file.c_str(), read.stations.size(), read.problems.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  return makeResources(argc, argv,
                       "usage: make-observation-stations RESOURCES-FOLDER [--water-temperature FILE]\n"
                       "         [--air-temperature FILE] [--wind FILE] [--streams FILE]\n",
                       listOf, make);
}
