#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

class YearFilesTest : public ProviderTest {};

TEST_F(YearFilesTest, CutsAMonthWithItsMargins) {
  const auto zone = TimeZone::named("America/Los_Angeles").value();
  station->timezoneName = "America/Los_Angeles";
  const std::int64_t begin = zone.instant({2023, 12, 31, 0, 0, 0});
  const std::int64_t end = zone.instant({2024, 2, 1, 23, 59, 0});
  std::string text = "<t>";
  for (const std::int64_t t : {begin - 1, begin, end, end + 1})
    text += fmt::format(R"(<e t="{}" l="1" w="H"/>)", t);
  const auto month = provider->getHighLowTideDataFromNSData(makeData(text + "</t>"), station, 2024, 1);
  ASSERT_EQ(month->size(), 2U);
  EXPECT_EQ(month->front().timestamp, begin);
  EXPECT_EQ(month->back().timestamp, end);
  expectLog("Nil parameter passed to getHighLowTideDataFromNSData");
  EXPECT_FALSE(provider->getHighLowTideDataFromNSData(nullptr, station, 2024, 1));
}

TEST_F(YearFilesTest, NamesFilesAndAddresses) {
  EXPECT_EQ(provider->fileNameForStation("398997177", 2024), "2024398997177.xml");
  EXPECT_EQ(provider->getTideDataEndpointForStation(station, 2024), address(2024));
  fake.settings.servicesBaseURL = "https://127.0.0.1:8/base/";
  EXPECT_EQ(make()->getTideDataEndpointForStation(station, 2024),
            "https://127.0.0.1:8/base/v1/tideapi.php?op=highlowtide&id=7&year=2024&version=1&format=xml");
}

TEST_F(YearFilesTest, SeedsTheDeviceYearOnce) {
  fake.deviceTimeZone = TimeZone::named("Pacific/Kiritimati");
  provider = make();
  fake.clock->set(dateFromSeconds(1'767'178'800));  // 2025-12-31 11:00 UTC, already 2026 in Kiritimati
  fake.resources->files.insert_or_assign("2026398997177.xml", "the year");
  provider->saveDefaultStationFileFromBundle();
  EXPECT_EQ(*files->loadFileInContainer(kGroupContainerName, "2026398997177.xml"), "the year");
  fake.resources->files.insert_or_assign("2026398997177.xml", "another");
  provider->saveDefaultStationFileFromBundle();
  EXPECT_EQ(*files->loadFileInContainer(kGroupContainerName, "2026398997177.xml"), "the year");
}

TEST_F(YearFilesTest, PopulatesFromMemoryThenMonthFilesThenYearFiles) {
  EXPECT_FALSE(provider->populateCacheForStation(station, 2024, 5));
  EXPECT_FALSE(provider->populateCacheForStation(nullptr, 2024, 5));
  keep(2024, document(2024, 31));
  EXPECT_TRUE(provider->populateCacheForStation(station, 2024, 5));
  EXPECT_EQ(inMemory(2024, 5), 31U);
  EXPECT_EQ(months->cachedEvents("7", 2024, 5)->size(), 31U) << "and keeps the month on the disk";

  // Another process finds the month file and needs no year file.
  ASSERT_TRUE(files->removeFileInContainer(kGroupContainerName, fileName(2024)));
  provider = make();
  EXPECT_TRUE(provider->populateCacheForStation(station, 2024, 5));
  EXPECT_EQ(inMemory(2024, 5), 31U);
  EXPECT_FALSE(provider->populateCacheForStation(station, 2024, 6));

  // A year that older versions left in the documents folder moves.
  ASSERT_TRUE(files->saveFile(fileName(2024), document(2024, 31)));
  EXPECT_TRUE(provider->populateCacheForStation(station, 2024, 6));
  EXPECT_EQ(inMemory(2024, 6), 31U);
  EXPECT_TRUE(kept(2024));
  EXPECT_FALSE(files->fileExists(fileName(2024)));
}

TEST_F(YearFilesTest, AMonthNeedsMoreThan29EventsToBeUsedAsItIs) {
  keep(2024, document(2024, 29, 1.0));
  const auto whole = [&] {
    return provider->tideEventsForStation(station, 2024, 5, at(2024, 5, 1), at(2024, 6, 1));
  };
  EXPECT_EQ(whole()->size(), 29U);
  keep(2024, document(2024, 30, 2.0));
  EXPECT_EQ(whole()->front().tidelevel, 2.0) << "29 in memory are read again";
  keep(2024, document(2024, 30, 3.0));
  EXPECT_EQ(whole()->front().tidelevel, 2.0) << "30 are not";
  EXPECT_FALSE(months->cachedEvents("7", 2024, 5)) << "this path writes no month file";
  EXPECT_EQ(provider->tideEventsForStation(station, 2024, 5, at(2024, 5, 2, 12), at(2024, 5, 2, 13))->size(),
            2U);
}

TEST_F(YearFilesTest, AYearFileThatHoldsNothingIsFetchedAgain) {
  allowLog("[TideDataCache] Error: Nil parameter passed to addTideData");
  const auto whole = [&] { return provider->tideEventsForStation(station, 2024, 5, 0, at(2025, 1, 1)); };
  for (const std::string& page : {padded(3000) + "<error page", padded(3000)}) {
    provider->clearCache();
    keep(2024, page);
    fake.http->script(address(2024), answerOf("short"));
    EXPECT_FALSE(whole());
    EXPECT_EQ(*kept(2024), page) << "a failed download replaces nothing";
    fake.http->script(address(2024), answerOf(document(2024, 30)));
    EXPECT_EQ(whole()->size(), 30U);
  }
}

TEST_F(YearFilesTest, RangesLookAtTheTwoMonthsOfTheirEnds) {
  keep(2024, document(2024, 31));
  const auto range = [&](std::int64_t from, std::int64_t to) {
    return provider->getTideDataByTimestamp("7", from, to);
  };
  EXPECT_EQ(range(at(2024, 4, 30), at(2024, 6, 3))->size(), 13U) << "April and June alone";
  EXPECT_EQ(range(at(2024, 4, 1), at(2024, 5, 31))->size(), 62U);
  EXPECT_EQ(range(at(2024, 4, 2, 12), at(2024, 4, 2, 12))->size(), 1U);
  EXPECT_FALSE(range(at(2023, 4, 1), at(2023, 4, 2)));
  EXPECT_TRUE(range(at(2023, 4, 1), at(2023, 5, 2))->empty()) << "of two months the list is there, and empty";
  EXPECT_FALSE(provider->getTideDataByTimestamp("unknown", at(2024, 4, 1), at(2024, 4, 2)));
  EXPECT_EQ(fake.http->requests().size(), 0U);
  EXPECT_EQ(provider->firstCachedTideEvent()->timestamp, at(2024, 4, 2, 12));
}

TEST_F(YearFilesTest, TheStationsOwnZoneDecidesTheMonth) {
  auto eight = provider->getTideStationById("8");  // Guam, ten hours ahead
  ASSERT_TRUE(
      files->saveFileInContainer(kGroupContainerName, "20248.xml",
                                 fmt::format(R"(<t><e t="{}" l="1" w="H"/></t>)", at(2024, 4, 30, 15))));
  EXPECT_EQ(provider->getTideDataByTimestamp("8", at(2024, 4, 30, 14), at(2024, 4, 30, 16))->size(), 1U);
  EXPECT_TRUE(provider->getTideData("8", 2024, 5));
  EXPECT_FALSE(provider->getTideData("8", 2024, 4));
  // A station that was given is used as it is, though the catalogue knows another of its id.
  auto own = std::make_shared<TideStation>(*eight);
  own->timezoneName = "Not/AZone";
  provider->clearCache();
  EXPECT_EQ(provider->getTideDataByTimestamp(own, at(2024, 4, 30, 14), at(2024, 4, 30, 16))->size(), 1U);
  EXPECT_EQ(provider->calendarForStation(own).timeZone(), TimeZone()) << "the device's zone";
}

}  // namespace
}  // namespace marlune::testing
