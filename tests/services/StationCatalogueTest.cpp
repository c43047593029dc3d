#include "services/StationCatalogue.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "services/Harmonics.h"
#include "services/YearDocument.h"

namespace marlune::services {
namespace {

const std::string kFile =
    std::string(MARLUNE_SOURCE_RESOURCES) + "/" + std::string(StationCatalogue::kFileName);

std::string fileText(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(StationCatalogue, everyLineOfTheShippedFileIsAUsableStation) {
  std::ifstream in(kFile, std::ios::binary);
  std::set<std::string> ids;
  std::set<std::string> numbers;
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line); ++lines) {
    SCOPED_TRACE(line);
    const auto station = parseCatalogueLine(line);
    ASSERT_TRUE(station);
    EXPECT_EQ(catalogueLine(*station), line);
    EXPECT_TRUE(ids.insert(station->id).second) << "id twice";
    EXPECT_TRUE(numbers.insert(station->number).second) << "number twice";
    // The year service must have what the catalogue promises.
    const HarmonicStation* constants = harmonics().tideStation(station->number, station->subordinate);
    ASSERT_NE(constants, nullptr);
  }
  EXPECT_GT(lines, 3000U);
}

// The data are a package of the system: another release of them calls for new resources.
TEST(StationCatalogue, theShippedFilesAreWhatTheToolsMake) {
  EXPECT_TRUE(harmonics().version().starts_with("2019-12-29")) << harmonics().version();
  std::vector<std::string> problems;
  std::string made;
  for (const CatalogueStation& station : buildCatalogue(harmonics(), problems))
    made += catalogueLine(station) + "\n";
  EXPECT_TRUE(problems.empty());
  EXPECT_TRUE(made == fileText(kFile)) << "run tools/make-stations";

  std::string error;
  const auto catalogue = StationCatalogue::load(kFile, error);
  ASSERT_TRUE(catalogue) << error;
  for (const int year : {2026, 2027}) {
    const auto document = yearDocument(harmonics(), *catalogue->find(kDefaultStationId), year, error);
    ASSERT_TRUE(document) << error;
    EXPECT_TRUE(*document == fileText(std::string(MARLUNE_SOURCE_RESOURCES) + "/" + std::to_string(year) +
                                      "398997177.xml"))
        << "run tools/make-year-files";
  }
}

}  // namespace
}  // namespace marlune::services
