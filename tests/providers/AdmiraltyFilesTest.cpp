#include <gtest/gtest.h>

#include <string>

#include "marlune/providers/AdmiraltyEvents.h"
#include "marlune/providers/AdmiraltyStationFile.h"

namespace marlune {
namespace {

TEST(AdmiraltyEventsTest, ReadsInstants) {
  const std::pair<const char*, std::int64_t> instants[] = {{"2025-03-01T04:05:06", 1'740'801'906},
                                                           {"2025-03-01T04:05:06.789", 1'740'801'906},
                                                           {"2024-02-29T00:00:00", 1'709'164'800},
                                                           {"1969-12-31T23:59:58.5", -1}};
  for (const auto& [text, seconds] : instants) EXPECT_EQ(admiralty_events::instantOf(text), seconds) << text;
  for (const char* text : {"2025-03-01T04:05:06.", "2025-03-01T04:05:06.7890", "2025-03-01T04:05:06Z",
                           "2025-02-29T00:00:00", "2025-03-01T24:00:00", "2025-03-01T-4:05:06", ""}) {
    EXPECT_FALSE(admiralty_events::instantOf(text)) << text;
  }
}

TEST(AdmiraltyEventsTest, ReadsWhatIsThereAndSkipsTheRest) {
  const auto reading = admiralty_events::read(
      "\xEF\xBB\xBF"
      R"([{"EventType":"HighWater","DateTime":"2025-03-01T04:05:06","Height":5.8785204377523144,"Date":null},
          3, "text", [], null, {},
          {"EventType":"LowWater","Height":-1,"Filtered":false},
          {"EventType":"LowWater","DateTime":"2025-03-01T10:00:00"},
          {"EventType":"LowWater","DateTime":"2025-03-01T10:00:00","Height":"1.5"},
          {"EventType":"LowWater","DateTime":"2025-03-01T10:00:00","Height":1e999},
          {"EventType":7,"DateTime":null,"Height":0,"Height":9},
          {"EventType":"highwater","DateTime":17,"DateTime":"2025-03-01T10:00:00","Height":4}])");
  EXPECT_FALSE(reading.error);
  const struct {
    std::int64_t timestamp;
    double level;
    bool high;
  } wanted[] = {{1'740'801'906, 5.878520488739014, true}, {0, -1, false}, {0, 0, false}, {0, 4, false}};
  ASSERT_EQ(reading.events->size(), std::size(wanted));
  for (std::size_t i = 0; i < std::size(wanted); ++i) {
    const TideEvent& event = (*reading.events)[i];
    EXPECT_EQ(event.timestamp, wanted[i].timestamp) << i;
    EXPECT_EQ(event.tidelevel, wanted[i].level) << i;
    EXPECT_EQ(event.isHighTide, wanted[i].high) << i;
    EXPECT_TRUE(event.tideLevelInMeters);
  }
}

TEST(AdmiraltyEventsTest, TellsNoJsonFromNoList) {
  const std::string deep(50'000, '[');
  for (const std::string& text :
       {std::string(), std::string("\xEF\xBB\xBF"), std::string("[{}"), deep + std::string(50'000, ']'),
        std::string(admiralty_events::maximumSize, ' ') + "[{}]"}) {
    const auto reading = admiralty_events::read(text);
    EXPECT_NE(reading.error.value_or(""), "") << text.substr(0, 20);
    EXPECT_FALSE(reading.events);
  }
  for (const char* text : {"[]", R"({"statusCode":401,"message":"Access denied"})", "17"}) {
    const auto reading = admiralty_events::read(text);
    EXPECT_FALSE(reading.error) << text;
    EXPECT_FALSE(reading.events) << text;
  }
  EXPECT_TRUE(admiralty_events::read("[1]").events->empty());
}

std::string feature(const std::string& properties, const std::string& coordinates,
                    const std::string& type = "Feature") {
  return R"({"type":")" + type + R"(","properties":)" + properties +
         R"(,"geometry":{"type":"Point","coordinates":)" + coordinates + "}}";
}

TEST(AdmiraltyStationFileTest, MakesStationsOfFeatures) {
  const std::string port = R"({"Id":"0466","Name":"Port","Country":"Isle of Man"})";
  const auto reading = admiralty_station_file::read(
      R"({"type":"FeatureCollection","features":[1,{},)" + feature(port, "[-4.475,54.15]") + "," +
      feature(port, "[1,2]", "Point") + "," + feature(port, "[1,2,3]") + "," + feature(port, "[1]") + "," +
      feature(port, "[1,null]") + "," + feature("7", "[1,2]") + "," +
      feature(R"({"Id":"0725","Country":"Ireland"})", R"(["-8.5","51"])") + "," +
      feature(R"({"Id":9,"Name":null,"Country":"Atlantis"})", "[1,2]") + "]}");
  EXPECT_FALSE(reading.error);
  ASSERT_EQ(reading.stations.size(), 3U);
  const TideStation& first = *reading.stations[0];
  EXPECT_EQ(first.stationId, "0466");
  EXPECT_EQ(first.stationName, "Port");
  EXPECT_EQ(first.country, "Isle of Man");
  EXPECT_EQ(first.timezoneName, "Europe/Isle_of_Man");
  EXPECT_EQ(first.coordinate.longitude, double{-4.475F});
  EXPECT_EQ(first.coordinate.latitude, double{54.15F});
  EXPECT_EQ(reading.stations[1]->coordinate.longitude, -8.5);
  EXPECT_FALSE(reading.stations[2]->stationId);
  EXPECT_EQ(reading.stations[2]->timezoneName, "Europe/London");

  EXPECT_TRUE(admiralty_station_file::read("{\"features\":[").error);
  for (const char* text : {"{}", "[]", R"({"features":{}})", R"({"features":[]})"}) {
    EXPECT_FALSE(admiralty_station_file::read(text).error) << text;
    EXPECT_TRUE(admiralty_station_file::read(text).stations.empty()) << text;
  }
}

}  // namespace
}  // namespace marlune
