#include <fmt/format.h>

#include <cmath>

#include "marlune/geo/SpacePoint.h"
#include "marlune/ocean/noaa/NOAATemperatureDataProvider.h"
#include "marlune/ocean/noaa/NOAAWindDataProvider.h"
#include "ocean/NOAATest.h"

namespace marlune::testing {
namespace {

std::string stationEntry(const std::string& id, double lat, double lng) {
  const SpacePoint p = spacePoint(lat, lng);
  return fmt::format(R"({{"lat":{},"lng":{},"name":"N","id":"{}","coord":{{"x":{},"y":{},"z":{}}}}})", lat,
                     lng, id, p.x, p.y, p.z);
}

std::string url(const std::string& begin, const std::string& end, const std::string& station = "94",
                const std::string& product = "water_temperature", const std::string& units = "metric") {
  return "https://noaa.test/api/prod/datagetter?begin_date=" + begin + "&end_date=" + end +
         "&station=" + station + "&product=" + product + "&time_zone=gmt&interval=h&units=" + units +
         "&application=DataAPI&format=json";
}

const std::string todayUrl = url("20250305%2008:00", "20250306%2008:00");
constexpr const char* todayFile = "noaa_water_temperature_94_20250305.json";
constexpr const char* oneRow = R"({"data":[{"t":"2025-03-05 12:00","v":"13.5","f":"0,0,0"}]})";

std::string textOf(const std::shared_ptr<const WaterTempData>& day) {
  std::string text = day ? "" : "none";
  if (!day) return text;
  for (const auto& one : day->timeSeries) text += fmt::format("{}={} ", secondsOf(one->date), one->value);
  return text;
}

class NOAAStationsTest : public NOAATest {
 protected:
  NOAAStationsTest() {
    fake.settings.coopsBaseURL = "https://noaa.test/";
    for (const char* name : {"water_temp_stations_usa.json", "wind_stations_usa.json"})
      fake.resources->files[name] =
          "[" + stationEntry("94", 37.8, -122.4) + "," + stationEntry("95", 33, -118) + "]";
    fake.http->script(todayUrl, answerOf(oneRow));
    renew();
  }
  /// Nothing but the disk stays.
  void renew() {
    water = std::make_unique<NOAATemperatureDataProvider>(fake.host(), cache, "water_temperature",
                                                          "water_temp_stations_usa");
  }
  auto task(double date = noon, double lat = 37.9, double lng = -122.4) {
    return water->getDailyTemperatureData(lat, lng, dateFromSeconds(date), zone, "here");
  }

  std::unique_ptr<NOAATemperatureDataProvider> water;
};

TEST_F(NOAAStationsTest, ADayComesFromTheServiceTheMemoryOrTheDisk) {
  const auto first = settled(task());
  EXPECT_EQ(textOf(first), "1741176000=13.5 ");
  EXPECT_TRUE(first->isTemperatureInCelsius);
  EXPECT_EQ(first->latitude, 37.8) << "the station's place";
  EXPECT_FALSE(first->timeSeries[0]->attributes || first->timeSeries[0]->series);
  EXPECT_EQ(kept(todayFile), R"([{"t":1741176000,"v":13.5}])");
  EXPECT_EQ(settled(task(noon + 60, 37.5)), first) << "the same record";
  fake.http->script(url("20250305%2008:00", "20250306%2008:00", "95"), answerOf(R"({"data":[]})"));
  EXPECT_EQ(textOf(settled(task(noon, 33, -118))), "") << "another station";
  renew();
  const auto second = settled(task());
  EXPECT_EQ(textOf(second), textOf(first));
  EXPECT_EQ(settled(task()), second);
  EXPECT_EQ(asked(), 2U);
}

TEST_F(NOAAStationsTest, TodaysFileIsFreshForHalfAnHourAndThatOfADayThatIsOverForGood) {
  const auto requestsAfter = [&](double seconds) {
    later(seconds);
    renew();
    EXPECT_TRUE(settled(task()));
    return asked();
  };
  EXPECT_EQ(requestsAfter(0), 1U);
  EXPECT_EQ(requestsAfter(1800), 1U);
  EXPECT_EQ(requestsAfter(0.5), 2U);
  const double over = midnight + 90'000;
  EXPECT_EQ(requestsAfter(over - 3601 - (noon + 1800.5)), 3U);
  EXPECT_EQ(requestsAfter(3600), 4U) << "a second before it counts as over";
  later(-3600);
  EXPECT_EQ(requestsAfter(0), 4U) << "a file from the future";
  fake.http->script(todayUrl, failedAnswer("not asked"));
  EXPECT_EQ(requestsAfter(3601 + 1801), 4U);
  EXPECT_EQ(requestsAfter(1e8), 4U);
}

TEST_F(NOAAStationsTest, ADayHasTwentyFourHoursFromItsStart) {
  const struct {
    const char* zone;
    double date;
    const char *begin, *end;
  } days[] = {{"America/Los_Angeles", 1741543200, "20250309%2008:00", "20250310%2008:00"},  // of 23 hours
              {"America/Los_Angeles", 1762110000, "20251102%2007:00", "20251103%2007:00"},  // of 25
              {"Asia/Tokyo", noon, "20250304%2015:00", "20250305%2015:00"}};
  for (const auto& one : days) {
    fake.http->script(url(one.begin, one.end), answerOf(oneRow));
    EXPECT_TRUE(settled(water->getDailyTemperatureData(37.9, -122.4, dateFromSeconds(one.date),
                                                       *TimeZone::named(one.zone), "")));
    const std::string file = "noaa_water_temperature_94_" + std::string(one.begin, 8) + ".json";
    EXPECT_NE(kept(file), "none") << file;
  }
}

TEST_F(NOAAStationsTest, GapsAreSkippedOtherTypesSpoilTheAnswerAndErrorsAreNotKept) {
  const std::string line = "Error fetching temerature data: ";
  for (const char* why : {"a row of the answer holds something else", "the answer is no JSON object",
                          "the answer has no list of rows: No data", "HTTP 500", "unreachable"})
    expectLog(line + why);
  const struct {
    HttpAnswer answer;
    const char* expected;
    bool isKept;
  } answers[] = {
      {answerOf("\n" + std::string(oneRow)), "1741176000=13.5 ", true},
      {answerOf(R"({"data":[{"t":"2025-03-05 13:00","v":"-2","x":1},{},{"t":"2025-03-05 12:00","v":""},
        {"v":"1"},{"t":"2025-03-05 12:00","v":null},{"t":"2025-02-30 12:00","v":"1"},
        {"t":"2025-03-05 11:00","v":"1e999"},{"t":"2025-03-05 10:00","v":"12.0 "},
        {"t":"2025-03-05 09:00","v":"0"}],"error":null})"),
       "1741165200=0 1741179600=-2 ", true},
      {answerOf(R"({"data":[{"t":"2025-03-05 12:00","v":""}]})"), "", true},
      {answerOf(R"({"error":{},"data":[{"t":"2025-03-05 12:00","v":"1"}]})"), "1741176000=1 ", false},
      {answerOf(R"({"error":{"message":"No data\nwas found."}})"), "none", false},
      {answerOf(R"({"data":[{"t":"2025-03-05 12:00","v":13.5}]})"), "none", false},
      {answerOf("[]"), "none", false},
      {answerOf(std::string(oneRow).substr(0, 50)), "none", false},
      {answerOf(oneRow, 500), "none", false},
      {failedAnswer("unreachable"), "none", false}};
  for (const auto& [answer, expected, isKept] : answers) {
    fake.files->remove(path(todayFile));
    renew();
    fake.http->script(todayUrl, answer);
    EXPECT_EQ(textOf(settled(task())), expected);
    EXPECT_EQ(kept(todayFile) != "none", isKept) << expected;
    const std::size_t before = asked();
    settled(task());
    EXPECT_EQ(asked(), isKept ? before : before + 1) << "what is not kept is not remembered: " << expected;
  }
  put(todayFile, "[]");
  fake.http->script(todayUrl, answerOf(oneRow));
  EXPECT_EQ(textOf(settled(task())), "1741176000=13.5 ") << "none on the disk are a miss";
}

TEST_F(NOAAStationsTest, OnlyPlacesNearAStationAndRealDaysAreAsked) {
  for (const auto& [lat, lng] : {std::pair(36.9, -122.4), {95.0, 0.0}, {37.8, std::nan("")}})
    EXPECT_FALSE(settled(task(noon, lat, lng))) << lat;
  EXPECT_FALSE(settled(task(1e15)));
  auto& list = fake.resources->files["water_temp_stations_usa.json"];
  const auto good = std::exchange(list, "[{}]");
  renew();
  expectLog("Error loading file: Station 1 of the list lacks");
  EXPECT_FALSE(settled(task()));
  EXPECT_EQ(asked(), 0U);
  list = good;
  EXPECT_TRUE(settled(task(noon, 36.901))) << "a list that could not be read is read again";
  water = std::make_unique<NOAATemperatureDataProvider>(fake.host(), cache, "a", "b");
  expectLog("Error loading file: There is no b.json.");
  EXPECT_FALSE(settled(task()));
}

TEST_F(NOAAStationsTest, WindHasAttributesWhereItHasThem) {
  NOAAWindDataProvider wind(fake.host(), cache);
  const std::string windUrl = url("20250305%2008:00", "20250306%2008:00", "94", "wind", "english");
  const auto windDay = [&] {
    return settled(wind.getDailyWindData(37.9, -122.4, dateFromSeconds(noon), zone, ""));
  };
  fake.http->script(windUrl, answerOf(R"({"data":[{"t":"2025-03-05 12:00","s":"2","d":3}]})"));
  expectLog("Error fetching wind observations: a row of the answer holds something else than texts");
  EXPECT_FALSE(windDay());
  fake.http->script(
      windUrl, answerOf(R"({"data":[{"t":"2025-03-05 12:00","s":"2.14","d":"270","dr":"W","g":"2.53","f":"0"},
        {"t":"2025-03-05 13:00","s":"3","d":"","g":""},{"t":"2025-03-05 14:00","s":"4","d":"-0"},
        {"t":"2025-03-05 15:00","s":"","d":"1","g":"1"},{"t":"2025-03-05 16:00","s":"5","d":"x","g":"12.50"}]})"));
  const auto record = windDay();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->speedUnit, "kt");
  EXPECT_FALSE(record->timeSeries[1]->attributes);
  EXPECT_EQ(kept("noaa_wind_94_20250305.json"),
            R"([{"t":1741176000,"v":2.14,"a":{"direction":"270.0","gust":"2.53"},"s":"Wind"},)"
            R"({"t":1741179600,"v":3,"s":"Wind"},{"t":1741183200,"v":4,"a":{"direction":"0.0"},"s":"Wind"},)"
            R"({"t":1741190400,"v":5,"a":{"gust":"12.5"},"s":"Wind"}])");
}

}  // namespace
}  // namespace marlune::testing
