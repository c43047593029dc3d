#include <atomic>
#include <future>
#include <thread>
#include <utility>

#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

class CatalogueTest : public ProviderTest {};

TEST_F(CatalogueTest, ReadsOnlyLinesOfEightFields) {
  fake.resources->files.insert_or_assign("stations_master_usa2.txt",
                                         "\xEF\xBB\xBF"
                                         "1~a~2~ +36.5north~-x~Name ~State~Etc/GMT-5\r\n"
                                         "seven~a~0~1~2~n~s\n\n# comment\n"
                                         "2~b~0~1e1~.5~\xC3\x86r\xC3\xB8~State~\xE2\x80\xA8"
                                         "1~c~0~1~2~Later~Other~UTC");
  const auto all = provider->getAllTideStations();
  ASSERT_EQ(all.size(), 2U);
  const auto one = provider->getTideStationById("1");
  EXPECT_EQ(one->stationName, "Later");
  const auto state = provider->getTideStationsForState("State");
  ASSERT_EQ(state->size(), 2U) << "the replaced station stays in its state's list";
  EXPECT_TRUE(state->front()->isSubordinate);
  EXPECT_EQ(state->front()->coordinate, (Coordinate{36.5, 0.0}));
  EXPECT_EQ(state->front()->stationName, "Name ") << "fields are taken as they stand";
  EXPECT_EQ(state->back()->coordinate, (Coordinate{10.0, 0.5}));
  EXPECT_EQ(state->back()->country, "United States");
  EXPECT_FALSE(state->back()->isSubordinate);
  EXPECT_EQ(provider->calendarForStation(state->back()).timeZone(), TimeZone()) << "no zone text is no zone";
}

TEST_F(CatalogueTest, AMissingOrUnreadableFileLeavesItEmpty) {
  for (const auto& text :
       {std::optional<std::string>(), std::optional<std::string>("1~a~0~1~2~\xFF~s~UTC")}) {
    if (text) fake.resources->files.insert_or_assign("stations_master_usa2.txt", *text);
    if (!text) fake.resources->files.erase("stations_master_usa2.txt");
    provider = make();
    EXPECT_TRUE(provider->getAllTideStations().empty());
    EXPECT_TRUE(provider->hasLoadedStations());
    EXPECT_FALSE(provider->getTideStationsForState("s"));
    EXPECT_EQ(provider->loadStationDataForStationId("1"), nullptr);
  }
}

TEST_F(CatalogueTest, OneStationIsReadStraightFromTheFile) {
  EXPECT_EQ(provider->loadStationDataForStationId("8")->stationName, "Eight");
  EXPECT_EQ(provider->loadStationDataForStationId("nine"), nullptr);
  EXPECT_EQ(provider->loadStationDataForStationId(""), nullptr);
  EXPECT_EQ(provider->loadStationDataForStationId("8~y"), nullptr) << "the first field alone is the id";
  EXPECT_FALSE(provider->hasLoadedStations());
  EXPECT_EQ(idsOf(provider->getStationsByNearest({0, 0})), "8 ");
  EXPECT_EQ(idsOf(provider->getAllTideStations()), "7 8 ");
}

TEST_F(CatalogueTest, FindsByPlace) {
  fake.resources->files.insert_or_assign(
      "stations_master_usa2.txt",
      "a~~0~10~20~A~S~\nb~~0~11~179.9~B~S~\nc~~0~11~-179.9~C~S~\nd~~0~0~0~D~S~\n");
  EXPECT_TRUE(provider->getStationsByNearest({0, 0}).empty()) << "does not load the catalogue";
  provider->loadStationData();
  EXPECT_EQ(idsOf(provider->getStationsByNearest({11, -179.9})), "c b a d ");
  EXPECT_EQ(idsOf(provider->getStationsByRegionBoundary({9, 19}, {11, 21})), "a ");
  const std::pair<Coordinate, Coordinate> onAnEdge[] = {
      {{10, 19}, {11, 21}}, {{9, 20}, {11, 21}}, {{9, 19}, {10, 21}}, {{9, 19}, {11, 20}}};
  for (const auto& [southWest, northEast] : onAnEdge) {
    EXPECT_TRUE(provider->getStationsByRegionBoundary(southWest, northEast).empty()) << "strict on each edge";
  }
  EXPECT_TRUE(provider->getStationsByRegionBoundary({11, 21}, {9, 19}).empty())
      << "corners the other way round";
}

/// Resources that wait until they are let go.
struct SlowResources : FakeResources {
  std::optional<Bytes> read(std::string_view) const override {
    reading.set_value();
    open.wait();
    return "1~a~0~1~2~n~s~UTC\n";
  }
  mutable std::promise<void> reading;
  std::promise<void> opened;
  const std::shared_future<void> open = opened.get_future().share();
};

TEST_F(CatalogueTest, ASecondThreadWaitsForTheFirstLoad) {
  const auto slow = std::make_shared<SlowResources>();
  fake.resources = slow;
  provider = make();
  std::thread loader([&] { provider->loadStationData(); });
  slow->reading.get_future().wait();
  EXPECT_TRUE(provider->hasLoadedStations()) << "set before the file is read";
  std::atomic<std::size_t> found = 0;
  std::thread asker([&] { found = provider->getAllTideStations().size(); });
  slow->opened.set_value();
  loader.join();
  asker.join();
  EXPECT_EQ(found, 1U);
}

}  // namespace
}  // namespace marlune::testing
