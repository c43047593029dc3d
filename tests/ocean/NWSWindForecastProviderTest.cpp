#include "marlune/ocean/nws/NWSWindForecastProvider.h"

#include <fmt/format.h>

#include "marlune/ocean/nws/NWSGridpoint.h"
#include "ocean/NOAATest.h"

namespace marlune::testing {
namespace {

constexpr const char* pointsUrl = "https://nws.test/points/37.8000,-122.4000";
constexpr const char* gridUrl = "https://grid.test/gridpoints/MTR/85,105";
constexpr const char* pointsFile = "nws_points_Hafen12.json";
constexpr const char* windFile = "nws_wind_MTR_85-105_2025-03-05.json";

/// An entry of the fifth, or of a time that is written out.
std::string entry(const std::string& time, const std::string& value) {
  return fmt::format(R"({{"validTime":"{}{}","value":{}}})", time.starts_with('T') ? "2025-03-05" : "", time,
                     value);
}
std::string layer(const std::string& values, const std::string& unit = "null") {
  return fmt::format(R"({{"uom":{},"values":[{}]}})", unit, values);
}
std::string grid(const std::string& speed, const std::string& gust = R"({"values":[]})",
                 const std::string& direction = R"({"values":[]})") {
  return fmt::format(R"({{"properties":{{"windChill":7,"windGust":{},"windSpeed":{},"windDirection":{}}}}})",
                     gust, speed, direction);
}
std::string points(const std::string& address) {
  return R"({"properties":{"gridX":85,"forecastGridData":")" + address + R"("}})";
}
const std::string oneHour = grid(layer(entry("T12:00:00+00:00/PT1H", "18.52"), R"("wmoUnit:km_h-1")"));

class NWSWindForecastProviderTest : public NOAATest {
 protected:
  using Answer = NWSWindForecastProvider::Answer;

  NWSWindForecastProviderTest() {
    fake.settings.nwsBaseURL = "https://nws.test";
    fake.http->script(pointsUrl, answerOf(points(gridUrl)));
    fake.http->script(gridUrl, answerOf(oneHour));
    renew();
  }
  void renew() {
    wind = std::make_unique<NWSWindForecastProvider>(fake.host(), cache, "Korvantis (a@b.test)");
  }
  Task<Answer> task(double date = noon, const std::string& id = "Hafen-12", double lat = 37.8) {
    return wind->getDailyWindData(lat, -122.4, dateFromSeconds(date), zone, id);
  }
  /// Each sample with its hour of the day; "none" for no record.
  static std::string textOf(const Answer& day) {
    std::string text = day ? "" : "none";
    if (!day) return text;
    for (const auto& one : day->timeSeries) {
      text += fmt::format("{}:{:.3f}", (secondsOf(one->date) - midnight) / 3600, one->value);
      for (const auto& [name, value] : one->attributes.value_or(TimeSeriesData::Attributes()))
        text += name.front() + value;
      text += " ";
    }
    return text;
  }
  /// The day of an answer.
  static std::string dayOf(const std::string& answer) {
    JsonReaders readers;
    const auto read = nws_gridpoint::windOf(answer, readers);
    auto samples = read ? nws_gridpoint::samplesOf(*read, midnight, midnight + 86'400) : std::nullopt;
    return textOf(samples ? std::make_shared<WindData>(0, 0, *samples, "kt") : nullptr);
  }

  std::unique_ptr<NWSWindForecastProvider> wind;
};

TEST_F(NWSWindForecastProviderTest, SpeedsBecomeHoursOfTheDayInKnots) {
  const std::string ten = entry("T12:00:00Z/PT1H", "10");
  EXPECT_EQ(dayOf(oneHour), "4:10.000 ");
  EXPECT_EQ(dayOf(grid(layer(ten, R"("wmoUnit:m_s-1")"))), "4:19.438 ");
  EXPECT_EQ(dayOf(grid(layer(ten))), "4:10.000 ");
  EXPECT_EQ(dayOf(grid(layer(entry("2025-03-06T07:30:00Z/PT90M", "4") + "," + entry("T14:00:00Z/PT3H", "1") +
                             "," + entry("T06:30:00Z/PT3H", "2") + "," + entry("T15:00:00Z/PT1H", "3")))),
            "0.5:2.000 6:1.000 7:1.000 7:3.000 8:1.000 23.5:4.000 ")
      << "sorted, cut at both midnights, each of those that lie upon each other";
  EXPECT_EQ(dayOf(grid(layer(entry("T12:00:00Z/PT5H", "10")),
                       layer(entry("T16:00:00Z/PT1H", "null") + "," + entry("T13:00:00Z/PT2H", "10"),
                             R"("wmoUnit:m_s-1")"),
                       layer(entry("2025-03-04T00:00:00Z/P1DT14H", "270"), R"x("wmoUnit:degree_(angle)")x"))),
            "4:10.000d270.0 5:10.000d270.0g19.438447 6:10.000g19.438447 7:10.000 8:10.000 ")
      << "each value for the hours of its interval, directions as they stand";
}

TEST_F(NWSWindForecastProviderTest, WhatIsNoForecastIsNoneAndEntriesThatCannotBeReadAreSkipped) {
  const std::pair<const char*, std::int64_t> durations[] = {
      {"PT3H", 10'800},     {"P1DT5H", 104'400}, {"P2D", 172'800},
      {"PT1H30M15S", 5415}, {"PT0M", 0},         {"P99999999999999999999D", 100'000'000'000}};
  for (const auto& [text, length] : durations) {
    const auto valid = nws_gridpoint::validTimeOf(std::string("2025-03-05T01:00:00-0700/") + text);
    ASSERT_TRUE(valid) << text;
    EXPECT_EQ(valid->start, midnight);
    EXPECT_EQ(valid->end - valid->start, length) << text;
  }
  for (const char* time :
       {"rubbish", "T12:00:00Z", "T25:00:00Z/PT1H", "T12:00:00Z/P", "T12:00:00Z/P1DT", "T12:00:00Z/PT1",
        "T12:00:00Z/PT1M1H", "T12:00:00Z/P1M", "T12:00:00Z/PT-1H", "T12:00:00Z/PT1H/"})
    EXPECT_EQ(dayOf(grid(layer(entry(time, "1")))), "") << time;
  EXPECT_EQ(
      dayOf(grid(layer(R"({"validTime":"2025-03-05T12:00:00Z/PT1H"},)" + entry("T12:00:00Z/PT1H", "1.7e308"),
                       R"("wmoUnit:m_s-1")"))),
      "");
  for (const std::string& bad :
       {std::string("[]"), std::string(R"({"properties":null})"),
        std::string(R"({"properties":{"windSpeed":{"values":[]},"windGust":{"values":[]}}})"), grid("{}"),
        grid(R"({"values":[1]})"), grid(layer(entry("T12:00:00Z/PT1H", "1e999"))), oneHour.substr(0, 90)})
    EXPECT_EQ(dayOf(bad), "none") << bad;
  // A thousand years cost no more than the day; a heap of them is no forecast.
  std::string heap = entry("1025-03-05T12:00:00Z/P999999D", "1");
  EXPECT_TRUE(dayOf(grid(layer(heap))).ends_with("22:1.000 23:1.000 "));
  for (int i = 0; i < 9; ++i) heap += "," + heap;
  EXPECT_EQ(dayOf(grid(layer(heap))), "none");
}

TEST_F(NWSWindForecastProviderTest, FilesAreNamedAfterLettersAndDigits) {
  using namespace nws_gridpoint;
  EXPECT_EQ(locationKey("../a-1_\xC3\x89 \xFF\xE6\xB5\xB7\xE2\x82\xAC\xD9\xA3\xE2\x82"),
            "a1\xC3\x89\xE6\xB5\xB7\xD9\xA3");
  EXPECT_EQ(gridKey(gridUrl), "MTR_85-105");
  EXPECT_EQ(gridKey("https://a/gridpoints/../../x"), ".._.._x");
}

TEST_F(NWSWindForecastProviderTest, ACellIsAskedForOnceAndADayOnceAnHour) {
  const auto first = settled(task());
  ASSERT_EQ(textOf(first), "4:10.000 ");
  EXPECT_EQ(first->speedUnit, "kt");
  EXPECT_EQ(first->timeSeries[0]->series, "Wind");
  EXPECT_FALSE(first->timeSeries[0]->attributes);
  EXPECT_EQ(settled(task()), first);
  EXPECT_EQ(settled(task(noon, "Hafen-12", 37.9))->latitude, 37.9);
  EXPECT_EQ(kept(pointsFile), fmt::format(R"([{{"t":1741176000,"v":0,"a":{{"url":"{}"}}}}])", gridUrl));
  using Headers = std::vector<std::pair<std::string, std::string>>;
  for (const auto& request : fake.http->requests())
    EXPECT_EQ(request.headers,
              (Headers{{"Accept", "application/geo+json"}, {"User-Agent", "Korvantis (a@b.test)"}}));
  later(3600);
  renew();
  EXPECT_EQ(textOf(settled(task())), "4:10.000 ");
  EXPECT_EQ(asked(), 2U);
  later(0.5);
  renew();
  EXPECT_TRUE(settled(task()));
  EXPECT_EQ(fake.http->requests().back().url, gridUrl);
  EXPECT_EQ(asked(), 3U) << "the cell came from its file";
}

TEST_F(NWSWindForecastProviderTest, FailuresAreLoggedAndNotRemembered) {
  const auto fails = [&](const char* url, const HttpAnswer& answer, const std::string& line) {
    fake.http->script(url, answer);
    expectLog(line);
    EXPECT_FALSE(settled(task())) << line;
  };
  fails(pointsUrl, failedAnswer("unreachable"), "Error fetching NWS gridpoint: unreachable");
  fails(pointsUrl, answerOf(points(gridUrl), 404), "Error fetching NWS gridpoint: HTTP 404");
  for (const auto& body : {std::string(R"({"status":404})"), points(""), points(std::string(3000, 'a'))})
    fails(pointsUrl, answerOf(body), "Error fetching NWS gridpoint: the answer names no gridpoint");
  fails(pointsUrl, answerOf(points("file:///a")), "Error fetching NWS wind forecast: \"file:///a\" is no");
  EXPECT_EQ(kept(pointsFile), "none");
  fake.http->script(pointsUrl, answerOf(points(gridUrl)));
  fails(gridUrl, answerOf(oneHour, 503), std::string("NWS Wind: HTTP 503 for ") + gridUrl);
  fails(gridUrl, answerOf(R"({"title":"None"})"), "Error fetching NWS wind forecast: the answer has not");
  EXPECT_EQ(kept(windFile), "none");
  const std::size_t before = asked();
  EXPECT_FALSE(settled(task(1e15)) || settled(task(noon, "a", 91)));
  EXPECT_EQ(asked(), before);
  put(pointsFile, R"([{"t":1,"v":0,"a":{"url":"rubbish"}}])");
  renew();
  fake.http->script(gridUrl, answerOf(oneHour));
  EXPECT_TRUE(settled(task())) << "an address that cannot be asked is none";
}

TEST_F(NWSWindForecastProviderTest, PlacesWithoutANameShareNothing) {
  fake.http->script("https://nws.test/points/38.8000,-122.4000", answerOf(points("https://grid.test/b")));
  fake.http->script("https://grid.test/b", answerOf(grid(layer(entry("T12:00:00Z/PT1H", "7")))));
  for (const std::string id : {"", "--"}) {
    EXPECT_EQ(textOf(settled(task(noon, id))), "4:10.000 ");
    if (!id.empty()) renew();
    EXPECT_EQ(textOf(settled(task(noon, id, 38.8))), "4:7.000 ") << id;
  }
  EXPECT_EQ(kept("nws_points_.json"), "none");
  EXPECT_NE(kept("nws_wind_grid_2025-03-05.json"), "none");
}

TEST_F(NWSWindForecastProviderTest, DaysOfOneForecastShareItsRequest) {
  EXPECT_TRUE(settled(task(noon - 86'400)) && settled(task(noon - 86'400, "other")));
  fake.http->hold(gridUrl);
  std::vector<Answer> answers(61);
  constexpr double change = 1741543200;  // a day of 23 hours
  for (std::size_t i = 0; i < 60; ++i)
    ask(task(i % 2 == 0 ? noon : change, i % 3 == 0 ? "Hafen-12" : "other"), answers[i]);
  ASSERT_TRUE(fake.http->waitForRequests(4));
  const std::string days = layer(entry("2025-03-09T00:00:00Z/P3D", "1"));
  ASSERT_TRUE(fake.http->answer(gridUrl, answerOf(grid(days))));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(asked(), 4U) << "both cells, and the forecast twice";
  for (std::size_t i = 0; i < 60; ++i) EXPECT_TRUE(answers[i] && answers[i] == answers[i % 2]) << i;
  EXPECT_EQ(answers[0]->timeSeries.size(), 0U) << "a day that the forecast does not reach";
  EXPECT_EQ(answers[1]->timeSeries.size(), 23U) << "it ends before the next midnight";
  EXPECT_EQ(kept(windFile), "none") << "no file of none";
  EXPECT_EQ(settled(task()), answers[0]);

  ask(task(noon + 2 * 86'400), answers[60]);
  ASSERT_TRUE(fake.http->waitForRequests(5));
  allowLog("Error fetching NWS wind forecast: ");
  wind.reset();
  EXPECT_EQ(completions.outstanding(), 0U) << "its end ends every wait";
}

}  // namespace
}  // namespace marlune::testing
