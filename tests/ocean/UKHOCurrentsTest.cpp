#include "marlune/ocean/ukho/UKHOCurrentsDataProvider.h"

#include <fmt/format.h>

#include <cmath>

#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/ukho/StreamRates.h"
#include "marlune/ocean/ukho/UKHOStreamStation.h"
#include "ocean/OceanHostTest.h"

namespace marlune::testing {
namespace {

constexpr std::int64_t march5 = 1'741'132'800;  // 2025
constexpr std::int64_t anHour = 3600;
constexpr std::int64_t aDay = 24 * anHour;
constexpr double knots = 1.9438447;

std::string rate(std::int64_t time, double speed) {
  const CivilTime at = TimeZone().civil(time);
  return fmt::format(R"({{"DateTime":"{:04}-{:02}-{:02}T{:02}:{:02}:00Z","Speed":{},"Bearing":212.5}})",
                     at.year, at.month, at.day, at.hour, at.minute, speed);
}

/// A rate each half hour, from inclusive to exclusive.
std::string rates(std::int64_t from, std::int64_t to, double speed = 0.5) {
  std::string text;
  for (std::int64_t time = from; time < to; time += 1800)
    text += (text.empty() ? "" : ",") + rate(time, speed);
  return "[" + text + "]";
}
std::string joined(std::string list, const std::string& other) {
  list.back() = ',';
  return list + other.substr(1);
}

// --- Rates and records ---

TEST(StreamRatesTest, RatesAreReadStrictly) {
  JsonReaders readers;
  const std::string good = R"({"DateTime":"2025-03-05T00:30:00+01:00","Speed":-0.0,"Bearing":7,"x":1})";
  const auto reading = stream_rates::read("[" + good + "," + rate(march5, 1.25) + "]", readers);
  ASSERT_EQ(reading.entries.size(), 2U);
  EXPECT_EQ(reading.entries[0].instant(), march5 - 1800);
  const std::string file = stream_rates::fileOf(reading.entries);
  EXPECT_EQ(file,
            R"([{"DateTime":"2025-03-05T00:30:00+01:00","Speed":0,"Bearing":7},)" + rate(march5, 1.25) + "]");
  EXPECT_EQ(stream_rates::read(file, readers).entries, reading.entries);
  EXPECT_FALSE(stream_rates::read("[]", readers).error);
  for (const char* bad :
       {"", "{}", "null", "[1]", R"([{"Speed":1,"Bearing":1}])", R"([{"DateTime":"","Bearing":1}])",
        R"([{"DateTime":"","Speed":1}])", R"([{"DateTime":1,"Speed":1,"Bearing":1}])",
        R"([{"DateTime":"","Speed":1e400,"Bearing":1}])"}) {
    EXPECT_TRUE(stream_rates::read(bad, readers).error) << bad;
  }
}

TEST(StreamRatesTest, StretchesHaveAnEventEach) {
  using Expected = std::vector<std::pair<int, const char*>>;
  const struct {
    std::vector<double> speeds;  // knots
    Expected events;
  } cases[] = {{{0.1, 0.05, 0.05, 0.5}, {{1, "slack"}, {3, "flood"}}},
               {{1, 2, 2, 1.5}, {{1, "flood"}}},
               {{0.3, 0.19, 0.2001, 0}, {{0, "flood"}, {1, "slack"}, {2, "flood"}, {3, "slack"}}}};
  for (const auto& [speeds, expected] : cases) {
    stream_rates::Entries entries;
    for (std::size_t i = 0; i < speeds.size(); ++i) {
      entries.push_back({fmt::format("2025-03-05T0{}:00:00Z", i), speeds[i] / knots, 270});
    }
    entries.push_back({"2025-03-05T09:00:00", 1, 1});       // no zone
    entries.push_back({"2025-03-05T09:00:00.5Z", 1, 1});    // a fraction
    entries.push_back({"2025-03-05T09:00:00Z", -1, 1});     // no speed
    entries.push_back({"2025-03-05T09:00:00Z", 1e300, 1});  // none either
    const auto record = stream_rates::currentsOf(entries, 50, -1);
    ASSERT_TRUE(record);
    ASSERT_EQ(record->timeSeries.size(), speeds.size());
    EXPECT_NEAR(record->timeSeries[0]->value, speeds[0], 1e-12);
    EXPECT_EQ(record->timeSeries[0]->series, "Velocity");
    EXPECT_EQ(record->timeSeries[0]->attributes->at("direction"), "270.0");
    ASSERT_EQ(record->events.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const auto at = static_cast<std::size_t>(expected[i].first);
      EXPECT_EQ(record->events[i]->type, expected[i].second);
      EXPECT_EQ(record->events[i]->date, record->timeSeries[at]->date);
      EXPECT_EQ(record->events[i]->speed, record->timeSeries[at]->value);
    }
    entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(speeds.size()) - 1);
    EXPECT_FALSE(stream_rates::currentsOf(entries, 50, -1)) << "one entry";
  }
}

TEST(UKHOStreamStationTest, FeaturesBecomeStationsAllOrNone) {
  const auto feature = [](const std::string& coordinates, const std::string& properties) {
    return R"({"geometry":{"coordinates":)" + coordinates + R"(},"properties":{)" + properties + "}}";
  };
  const std::string named = R"("Id":"SN1","Name":"Race","Country":null)";
  const auto read = [](const std::string& features) {
    return StreamStationsGeoJSON::read(R"({"features":[)" + features + "]}");
  };
  const auto reading = read(feature("[-1.5,50.5,3]", named) + "," + feature("[7]", named));
  ASSERT_FALSE(reading.error);
  const auto stations = UKHOStreamStation::listOf(reading.document);
  ASSERT_EQ(stations.size(), 1U);
  EXPECT_EQ(stations[0]->id + stations[0]->name, "SN1Race");
  EXPECT_EQ(stations[0]->lat, 50.5);
  EXPECT_EQ(stations[0]->lng, -1.5);
  EXPECT_EQ(stations[0]->point().z, spacePoint(50.5, -1.5).z);
  for (const auto& bad : {std::string("1"), std::string("{}"), feature("[\"1\",2]", named),
                          feature("[1,2]", R"("Id":1,"Name":"N")")}) {
    EXPECT_TRUE(read(feature("[1,2]", named) + "," + bad).error) << bad;
  }
  for (const char* bad : {"", "[]", "{}", R"({"features":{}})"})
    EXPECT_TRUE(StreamStationsGeoJSON::read(bad).error) << bad;
}

// --- The provider ---

class UKHOCurrentsTest : public OceanHostTest {
 protected:
  UKHOCurrentsTest() {
    fake.resources->files["stream_stations_uk.json"] =
        R"({"features":[{"geometry":{"coordinates":[-1,50]},"properties":{"Id":"SN1","Name":"Race"}}]})";
    fake.settings.admiraltyBaseURL = "https://admiralty.test/";
    fake.settings.admiraltySubscriptionKey = "0123456789abcdef";
    provider = std::make_unique<UKHOCurrentsDataProvider>(fake.host());
  }

  static std::string url(const std::string& start, int hours) {
    return fmt::format(
        "https://admiralty.test/uktidalapi-premium/api/V2/Streams/SN1/"
        "TidalStreamRates?dateTime={}Z&duration={}&interval=30",
        start, hours);
  }
  UKHOCurrentsDataProvider::Answer askFor(double from, double to, double lng = -1) {
    return settled(provider->getOceanCurrentData(50, lng, dateFromSeconds(from), dateFromSeconds(to),
                                                 TimeZone(), "here"));
  }
  std::string keptOf(const std::string& day) { return kept("ukho_streams_SN1_" + day + ".json"); }

  std::unique_ptr<UKHOCurrentsDataProvider> provider;
};

TEST_F(UKHOCurrentsTest, ALocalDayIsFetchedKeptAndReadBack) {
  const TimeZone london = *TimeZone::named("Europe/London");
  constexpr std::int64_t april1 = march5 + 27 * aDay;  // summer time: local days begin at 23:00
  const auto day = [&](std::int64_t noon) {
    return settled(provider->getDailyOceanCurrentData(50, -1, dateFromSeconds(static_cast<double>(noon)),
                                                      london, "here"));
  };
  // What the service sends lies in no order, has two rates of one time, and reaches a week too far.
  std::string body = rates(april1 - 3600, april1 + 25 * anHour);
  body.insert(1, rate(april1 + 7 * aDay, 3) + "," + rate(april1, 0.25) + ",");
  fake.http->script(url("2025-03-31T23:00:00", 26), answerOf(body));
  const auto first = day(april1 + 43'200);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->timeSeries.size(), 50U) << "both midnights, and what came twice";
  EXPECT_EQ(secondsOf(first->timeSeries[0]->date), april1 - 3600);
  EXPECT_EQ(first->timeSeries[2]->value, 0.25 * knots);
  EXPECT_EQ(first->timeSeries[3]->value, 0.5 * knots);
  const HttpRequest request = fake.http->requests().back();
  ASSERT_EQ(request.headers.size(), 1U);
  EXPECT_EQ(request.headers[0],
            std::pair(std::string("Ocp-Apim-Subscription-Key"), std::string("0123456789abcdef")));
  EXPECT_EQ(request.totalLimit, std::chrono::seconds(60));
  EXPECT_EQ(keptOf("20250331"), rates(april1 - 3600, april1));
  EXPECT_EQ(keptOf("20250402"), rates(april1 + 86'400, april1 + 25 * anHour));
  EXPECT_EQ(keptOf("20250408"), "none") << "not asked for";
  EXPECT_EQ(day(april1 + 50'000), first);

  EXPECT_EQ(keptOf("20250401"), "[" + rate(april1, 0.25) + "," + rates(april1, april1 + aDay).substr(1));
  fake.http->script(url("2025-04-01T23:00:00", 26),
                    answerOf(rates(april1 + 23 * anHour, april1 + 49 * anHour, 0.75)));
  EXPECT_EQ(day(april1 + 130'000)->timeSeries.size(), 49U) << "half a file is no day";
  EXPECT_EQ(keptOf("20250401"),
            "[" + rate(april1, 0.25) + "," +
                joined(rates(april1, april1 + 23 * anHour), rates(april1 + 23 * anHour, april1 + aDay, 0.75))
                    .substr(1))
      << "of a time that both have the newer";
  EXPECT_EQ(keptOf("20250402"), rates(april1 + 86'400, april1 + 2 * aDay, 0.75));
  provider = std::make_unique<UKHOCurrentsDataProvider>(fake.host());
  const auto moved = askFor(static_cast<double>(april1), static_cast<double>(april1 + aDay + 1800), -1.001);
  EXPECT_EQ(moved->timeSeries.size(), 51U);
  EXPECT_EQ(moved->longitude, -1.001);
  EXPECT_EQ(asked(), 2U) << "read from the disk";
  constexpr std::int64_t march30 = april1 - 2 * aDay;
  fake.http->script(url("2025-03-30T00:00:00", 25), answerOf(rates(march30, march30 + aDay)));
  EXPECT_EQ(day(march30 + 43'200)->timeSeries.size(), 47U) << "a day of 23 hours";
}

TEST_F(UKHOCurrentsTest, AnswersAreMergedIntoTheFilesOfTheirDays) {
  const auto inNewProcess = [&](std::int64_t from, std::int64_t to) {
    provider = std::make_unique<UKHOCurrentsDataProvider>(fake.host());
    const auto record = askFor(static_cast<double>(march5 + from), static_cast<double>(march5 + to));
    return record ? record->timeSeries.size() : 0;
  };
  // The service has less than it is asked for.
  fake.http->script(url("2025-03-05T00:00:00", 24), answerOf(rates(march5, march5 + 10 * anHour)));
  EXPECT_EQ(inNewProcess(0, 9 * anHour), 19U);
  fake.http->script(url("2025-03-05T12:00:00", 24),
                    answerOf(rates(march5 + 12 * anHour, march5 + 15 * anHour)));
  EXPECT_EQ(inNewProcess(12 * anHour, 14 * anHour), 5U);
  EXPECT_EQ(keptOf("20250305"),
            joined(rates(march5, march5 + 10 * anHour), rates(march5 + 12 * anHour, march5 + 15 * anHour)));
  EXPECT_EQ(inNewProcess(12 * anHour, 14 * anHour), 5U);
  EXPECT_EQ(inNewProcess(anHour, 9 * anHour), 17U);
  EXPECT_EQ(inNewProcess(12 * anHour, 15 * anHour - 1), 6U);
  EXPECT_EQ(asked(), 2U) << "a shorter answer is kept too";
  EXPECT_EQ(inNewProcess(12 * anHour, 15 * anHour), 6U);
  EXPECT_EQ(asked(), 3U) << "half an hour is missing at the end";

  fake.http->script(url("2025-03-05T09:00:00", 24),
                    answerOf(rates(march5 + 11 * anHour, march5 + 12 * anHour)));
  EXPECT_EQ(inNewProcess(9 * anHour, 13 * anHour), 7U) << "what the files hold counts as well";
  EXPECT_EQ(asked(), 4U) << "a gap between answers lacks something";
  const std::string hole =
      joined(rates(march5, march5 + 10 * anHour - 1800), rates(march5 + 10 * anHour + 1800, march5 + aDay));
  put("ukho_streams_SN1_20250305.json", hole);
  EXPECT_EQ(inNewProcess(0, 22 * anHour), 44U);
  EXPECT_EQ(asked(), 5U) << "more than an hour";
  put("ukho_streams_SN1_20250305.json",
      joined(rates(march5, march5 + 10 * anHour), rates(march5 + 10 * anHour + 1800, march5 + aDay)));
  EXPECT_EQ(inNewProcess(0, 22 * anHour), 44U);
  EXPECT_EQ(asked(), 5U) << "an hour is none";
  put("ukho_streams_SN1_20250305.json", hole);
  EXPECT_EQ(inNewProcess(10 * anHour + 1800, 22 * anHour), 24U);
  EXPECT_EQ(inNewProcess(0, 9 * anHour), 19U) << "a gap outside the period matters not";
  EXPECT_EQ(askFor(march5, march5 + anHour)->timeSeries.size(), 3U) << "the same beginning";
  EXPECT_EQ(asked(), 5U);
}

TEST_F(UKHOCurrentsTest, TheStepsOfAQuestionCanBeHadAlone) {
  const auto station = settled(provider->nearestStation("here", 50, -1));
  ASSERT_TRUE(station);
  EXPECT_EQ(station->id, "SN1");
  EXPECT_EQ(settled(provider->nearestStation("here", 0, 0)), station) << "the answer stays with the name";
  EXPECT_FALSE(settled(provider->nearestStation("far", 0, 0)));
  EXPECT_FALSE(settled(provider->nearestStation("far", 50, -1)));
  EXPECT_FALSE(settled(provider->nearestStation("nowhere", 91, 0)));

  const auto fetch = [&](double start, std::int64_t hours, bool withStation = true) {
    return provider->fetch(withStation ? station : nullptr, dateFromSeconds(start), hours);
  };
  fake.http->hold(url("2025-03-05T00:00:06", 1));
  std::optional<stream_rates::Entries> answers[2];
  for (auto& answer : answers) ask(fetch(march5 + 6.5, 1), answer);
  ASSERT_TRUE(fake.http->waitForRequests(1));
  ASSERT_TRUE(fake.http->answer(url("2025-03-05T00:00:06", 1),
                                answerOf("[" + rate(march5 + 1800, 1) + "," + rate(march5, 0) + "]")));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(asked(), 1U) << "equal ones share a request";
  ASSERT_TRUE(answers[0] && answers[0] == answers[1]);
  EXPECT_EQ(keptOf("20250305"), "none");
  const auto record = UKHOCurrentsDataProvider::process(*answers[0], 3, 4);
  EXPECT_EQ(record->timeSeries.at(0)->value, knots) << "in the order of the list";
  EXPECT_EQ(record->events.size(), 2U);
  EXPECT_TRUE(record->latitude == 3 && record->longitude == 4);
  for (auto& task : {std::pair(0.0, 0), {0.0, -1}, {0.0, 8787}, {HUGE_VAL, 1}, {std::nan(""), 1}})
    EXPECT_FALSE(settled(fetch(task.first, task.second)));
  EXPECT_FALSE(settled(fetch(0, 1, false)));
  EXPECT_EQ(asked(), 1U);
  fake.http->script(url("1970-01-01T00:00:00", 8786), answerOf("[]", 503));
  expectLog("UKHO Currents: HTTP 503 for station SN1");
  EXPECT_FALSE(settled(fetch(0, 8786)));
}

TEST_F(UKHOCurrentsTest, WhatFailsIsNothingAndAskedAgain) {
  const auto six = url("2025-03-05T00:00:06", 24);  // whole seconds, and hours of the period as it was asked
  expectLog("UKHO Currents: HTTP 401 for station SN1");
  expectLog("UKHO Currents fetch error: unreachable");
  expectLog("UKHO Currents fetch error: no JSON array");
  for (const auto& bad : {answerOf("[]", 401), failedAnswer("unreachable"), answerOf("{}"), answerOf("[]"),
                          answerOf("[" + rate(march5 + 1800, 1) + "]")}) {
    fake.http->script(six, bad);
    EXPECT_FALSE(askFor(march5 + 6.5, march5 + 21'600));
  }
  EXPECT_EQ(asked(), 5U);
  fake.http->script(url("2025-03-05T00:00:00", 32), answerOf("[]"));
  EXPECT_FALSE(askFor(march5 + 0.5, march5 + 0.5 + 30 * 3600.0)) << "thirty hours and two";
  fake.http->script(six, answerOf(rates(march5, march5 + 86'400)));
  EXPECT_EQ(askFor(march5 + 6.5, march5 + 21'600)->timeSeries.size(), 12U);
  for (const auto& line : fake.log->lines()) EXPECT_EQ(line.find("0123456789abcdef"), std::string::npos);
  for (const auto& [from, to] : {std::pair<double, double>(march5, march5 - 1),
                                 {march5, march5 + 367 * 86'400.0},
                                 {march5, HUGE_VAL}}) {
    EXPECT_FALSE(askFor(from, to));
  }
  EXPECT_EQ(asked(), 7U);
}

}  // namespace
}  // namespace marlune::testing
