// Writes the list of US current stations, resources/current_stations_usa.json, from NOAA's harmonic data as
// packaged in xtide-data.
//
//   make-current-stations RESOURCES-FOLDER [HARMONICS-FILE]

#include <cstdio>
#include <string>
#include <vector>

#include "services/StationLists.h"
#include "tools/ToolFiles.h"

using namespace marlune::services;

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("usage: make-current-stations RESOURCES-FOLDER [HARMONICS-FILE]\n", stderr);
    return 2;
  }
  std::string error;
  const auto database =
      HarmonicDatabase::load(argc == 3 ? std::string(argv[2]) : HarmonicDatabase::installedFile(), error);
  if (!database) {
    std::fprintf(stderr, "make-current-stations: %s\n", error.c_str());
    return 1;
  }
  std::vector<std::string> problems;
  const auto stations = currentStations(*database, problems);
  for (const std::string& problem : problems)
    std::fprintf(stderr, "make-current-stations: %s\n", problem.c_str());
  if (!problems.empty() || stations.empty()) {
    std::fputs("make-current-stations: nothing written; mend the rules of StationLists.cpp first\n", stderr);
    return 1;
  }
  const std::string file = std::string(argv[1]) + "/" + std::string(stationsFileName(StationList::currents));
  if (!write(file, stationsDocument(StationList::currents, stations))) {
    std::fprintf(stderr, "make-current-stations: cannot write \"%s\"\n", file.c_str());
    return 1;
  }
  std::printf("%s: %zu stations and bins from the data of %s\n", file.c_str(), stations.size(),
              database->version().c_str());
  return 0;
}
