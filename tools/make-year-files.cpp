// Writes the default stations' year files that are shipped beside the library: the US station's, the same
// bytes as the local tide service answers, and the Australian port's, the same forecast as the local store
// of forecasts answers. Development data: NOT FOR NAVIGATION.
//
//   make-year-files RESOURCES-FOLDER [HARMONICS-FILE]

#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "services/ForecastArchive.h"
#include "services/ForecastDocument.h"
#include "services/YearDocument.h"

using namespace marlune::services;

namespace {

constexpr int kYears[] = {2026, 2027};
constexpr int kAustralianYear = 2024;  // fixed: the application seeds no other

bool write(const std::string& file, const std::string& text) {
  std::ofstream out(file, std::ios::binary);
  out << text;
  return static_cast<bool>(out.flush());
}

bool fail(const std::string& file, const std::string& why) {
  std::fprintf(stderr, "make-year-files: %s: %s\n", file.c_str(), why.c_str());
  return false;
}

bool makeUs(const HarmonicDatabase& database, const std::string& folder) {
  std::string error;
  const auto catalogue =
      StationCatalogue::load(folder + "/" + std::string(StationCatalogue::kFileName), error);
  const CatalogueStation* station = catalogue ? catalogue->find(kDefaultStationId) : nullptr;
  if (station == nullptr) return fail(folder, catalogue ? "the catalogue lacks the default station" : error);
  for (const int year : kYears) {
    const auto document = yearDocument(database, *station, year, error);
    const std::string file = folder + "/" + std::to_string(year) + station->id + ".xml";
    if (!document || !write(file, *document)) return fail(file, document ? "cannot be written" : error);
    std::printf("%s: %zu bytes\n", file.c_str(), document->size());
  }
  return true;
}

bool makeAustralian(std::shared_ptr<const HarmonicDatabase> database, const std::string& folder) {
  const auto world = std::make_shared<const WorldTable>(folder + "/" + std::string(WorldStations::kFileName),
                                                        std::move(database));
  const RegionalPorts ports(folder, world);
  const std::string id(defaultPort(PortList::bureau));
  const std::string file = folder + "/" + std::to_string(kAustralianYear) + id + ".archive";
  const Port* port = ports.find(PortList::bureau, id);
  if (port == nullptr) return fail(file, "the list of ports lacks it");
  const auto document = forecastDocument(ports, *port, kAustralianYear);
  if (!document) return fail(file, world->stations() == nullptr ? world->error() : "no tides");
  const auto packed = packedForecast(*document, Packing::small);
  if (!packed || !write(file, *packed)) return fail(file, "cannot be written");
  std::printf("%s: %zu bytes of %zu\n", file.c_str(), packed->size(), document->size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("usage: make-year-files RESOURCES-FOLDER [HARMONICS-FILE]\n", stderr);
    return 2;
  }
  std::string error;
  auto loaded =
      HarmonicDatabase::load(argc == 3 ? std::string(argv[2]) : HarmonicDatabase::installedFile(), error);
  if (!loaded) {
    std::fprintf(stderr, "make-year-files: %s\n", error.c_str());
    return 1;
  }
  const auto database = std::make_shared<const HarmonicDatabase>(std::move(*loaded));
  return makeUs(*database, argv[1]) && makeAustralian(database, argv[1]) ? 0 : 1;
}
