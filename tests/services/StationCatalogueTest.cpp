#include "services/StationCatalogue.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "services/Harmonics.h"
#include "services/ResourceFiles.h"
#include "services/YearDocument.h"

namespace marlune::services {
namespace {

const std::string kFile = resourceFile(StationCatalogue::kFileName);

TEST(StationCatalogue, theShippedFilesAreWhatTheToolsMake) {
  EXPECT_TRUE(harmonics().version().starts_with("2019-12-29")) << harmonics().version();
  std::vector<std::string> problems;
  std::string made;
  std::set<std::string> ids;
  std::set<std::string> numbers;
  for (const CatalogueStation& station : buildCatalogue(harmonics(), problems)) {
    made += catalogueLine(station) + "\n";
    EXPECT_TRUE(ids.insert(station.id).second && numbers.insert(station.number).second) << station.id;
    EXPECT_TRUE(parseCatalogueLine(catalogueLine(station))) << station.id;
  }
  EXPECT_GT(ids.size(), 3000U);
  EXPECT_TRUE(problems.empty());
  EXPECT_TRUE(made == fileText(kFile)) << "run tools/make-stations";

  std::string error;
  const auto catalogue = StationCatalogue::load(kFile, error);
  ASSERT_TRUE(catalogue) << error;
  for (const int year : {2026, 2027}) {
    const auto document = yearDocument(harmonics(), *catalogue->find(kDefaultStationId), year, error);
    ASSERT_TRUE(document) << error;
    EXPECT_TRUE(*document == fileText(resourceFile(std::to_string(year) + "398997177.xml")))
        << "run tools/make-year-files";
  }
}

}  // namespace
}  // namespace marlune::services
