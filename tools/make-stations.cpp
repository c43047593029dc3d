// Writes the catalogue of US tide stations, resources/stations_master_usa2.txt, from NOAA's harmonic
// data as packaged in xtide-data.
//
//   make-stations RESOURCES-FOLDER [HARMONICS-FILE]

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "services/StationCatalogue.h"

using namespace marlune::services;

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("usage: make-stations RESOURCES-FOLDER [HARMONICS-FILE]\n", stderr);
    return 2;
  }
  std::string error;
  const auto database =
      HarmonicDatabase::load(argc == 3 ? std::string(argv[2]) : HarmonicDatabase::installedFile(), error);
  if (!database) {
    std::fprintf(stderr, "make-stations: %s\n", error.c_str());
    return 1;
  }
  std::vector<std::string> problems;
  const auto stations = buildCatalogue(*database, problems);
  for (const std::string& problem : problems) std::fprintf(stderr, "make-stations: %s\n", problem.c_str());
  if (!problems.empty()) {
    std::fputs("make-stations: nothing written; mend the rules of StationCatalogue.cpp first\n", stderr);
    return 1;
  }
  const std::string file = std::string(argv[1]) + "/" + std::string(StationCatalogue::kFileName);
  std::ofstream out(file, std::ios::binary);
  for (const CatalogueStation& station : stations) out << catalogueLine(station) << '\n';
  if (!out.flush()) {
    std::fprintf(stderr, "make-stations: cannot write \"%s\"\n", file.c_str());
    return 1;
  }
  std::printf("%s: %zu stations from the data of %s\n", file.c_str(), stations.size(),
              database->version().c_str());
  return 0;
}
