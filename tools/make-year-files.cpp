// Writes the default station's year files that are shipped beside the library, the same bytes as the
// local tide service answers. Development data: NOT FOR NAVIGATION.
//
//   make-year-files RESOURCES-FOLDER [HARMONICS-FILE]

#include <cstdio>
#include <fstream>
#include <optional>
#include <string>

#include "services/YearDocument.h"

using namespace marlune::services;

namespace {

constexpr int kYears[] = {2026, 2027};

bool write(const std::string& file, const std::string& text) {
  std::ofstream out(file, std::ios::binary);
  out << text;
  return static_cast<bool>(out.flush());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("usage: make-year-files RESOURCES-FOLDER [HARMONICS-FILE]\n", stderr);
    return 2;
  }
  const std::string folder = argv[1];
  std::string error;
  const auto database =
      HarmonicDatabase::load(argc == 3 ? std::string(argv[2]) : HarmonicDatabase::installedFile(), error);
  const auto catalogue =
      database ? StationCatalogue::load(folder + "/" + std::string(StationCatalogue::kFileName), error)
               : std::nullopt;
  const CatalogueStation* station = catalogue ? catalogue->find(kDefaultStationId) : nullptr;
  if (station == nullptr) {
    std::fprintf(stderr, "make-year-files: %s\n",
                 catalogue ? "the catalogue lacks the default station" : error.c_str());
    return 1;
  }
  for (const int year : kYears) {
    const auto document = yearDocument(*database, *station, year, error);
    const std::string file = folder + "/" + std::to_string(year) + station->id + ".xml";
    if (!document || !write(file, *document)) {
      std::fprintf(stderr, "make-year-files: %s: %s\n", file.c_str(),
                   document ? "cannot be written" : error.c_str());
      return 1;
    }
    std::printf("%s: %zu bytes\n", file.c_str(), document->size());
  }
  return 0;
}
