#include "marlune/providers/TideDataProviderUK.h"
#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

/// What the fetch of a range leaves in the files of months.
class RangeFetchTest : public ProviderTest {
 protected:
  /// The year's document with an event at half past midnight of the next New Year's Day.
  static std::string documentWithMargin(int year) {
    std::string text = document(year, 30);
    const auto margin = fmt::format(R"(<e t="{}" l="9" w="H"/>)", at(year + 1, 1, 1) + 1800);
    return text.insert(text.find("</tides>"), margin);
  }
  std::size_t onDisk(int year, int month) {
    const auto events = months->cachedEvents(*station->stationId, year, month);
    return events ? events->size() : 0;
  }
};

TEST_F(RangeFetchTest, OverNewYearTheMarginIsNoMonth) {
  fake.http->script(address(2024), answerOf(documentWithMargin(2024)));
  fake.http->script(address(2025), answerOf("", 503));
  EXPECT_EQ(fetched(dateAt(2024, 12, 1), dateAt(2025, 1, 20)), 31);
  EXPECT_GE(onDisk(2024, 12), 30U);
  EXPECT_EQ(onDisk(2025, 1), 0U) << "one event would hide the month";
  // The year itself brings its months, also the second one of a range.
  fake.http->script(address(2025), answerOf(documentWithMargin(2025)));
  EXPECT_EQ(fetched(dateAt(2025, 1, 2, 12), dateAt(2025, 2, 28)), 60);
  EXPECT_EQ(onDisk(2025, 2), 30U);
}

TEST_F(RangeFetchTest, OldMonthsOfThatStationGo) {
  for (const char* id : {"7", "77"}) {
    for (const int month : {3, 5})
      months->cacheEvents({TideEvent(at(2024, month, 3), 8, true)}, id, 2024, month);
  }
  fake.http->script(address(2024), answerOf(document(2024, 31)));
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 5, 31)), 31);
  EXPECT_EQ(onDisk(2024, 3), 0U) << "the file that was fetched says something else by now";
  EXPECT_EQ(onDisk(2024, 5), 31U);
  EXPECT_TRUE(months->cachedEvents("77", 2024, 3)) << "another station's";
}

TEST_F(RangeFetchTest, WorldwideOverNewYearTheMarginIsNoMonth) {
  fake.settings.admiraltyBaseURL = "https://admiralty.test";
  fake.resources->files.insert_or_assign(
      "stations_uk.json", R"({"features":[{"type":"Feature","geometry":{"coordinates":[-0.1,50.8]},
          "properties":{"Id":"0082","Name":"Brighton","Country":"England"}}]})");
  fake.resources->files.insert_or_assign("stations_australia.json", R"({"features":[]})");
  provider = std::make_unique<TideDataProviderUK>(fake.host(), files, months, nullptr);
  station = provider->getTideStationById("0082");
  ASSERT_TRUE(station);
  std::string text;
  for (int i = 0; i < 30; ++i) {
    text += fmt::format(R"({}{{"EventType":"HighWater","DateTime":"2024-12-{:02}T00:30:00","Height":1}})",
                        i == 0 ? "[" : ",", 2 + i);
  }
  text += R"(,{"EventType":"LowWater","DateTime":"2025-01-01T00:30:00","Height":1}])";
  fake.http->script(
      "https://admiralty.test/uktidalapi-premium/api/V2/Stations/0082/"
      "TidalEventsForDateRange?StartDate=2024-01-01%2000:00:00&EndDate=2024-12-31%2000:00:00",
      answerOf(text));
  EXPECT_GE(fetched(dateAt(2024, 12, 1), dateAt(2025, 1, 20)), 30);
  EXPECT_GE(onDisk(2024, 12), 30U);
  EXPECT_EQ(onDisk(2025, 1), 0U);
}

}  // namespace
}  // namespace marlune::testing
