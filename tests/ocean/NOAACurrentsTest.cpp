#include <fmt/format.h>

#include <cmath>
#include <numbers>

#include "marlune/ocean/noaa/CurrentStation.h"
#include "marlune/ocean/noaa/CurrentsOfDays.h"
#include "marlune/ocean/noaa/NOAACurrentsDataProvider.h"
#include "ocean/OceanHostTest.h"

namespace marlune::testing {
namespace {

using namespace current_predictions;

constexpr std::int64_t march1 = 1'740'787'200;  // 2025
constexpr std::int64_t aDay = 86'400;
constexpr std::int64_t march5 = march1 + 4 * aDay;

CurrentPrediction row(std::int64_t time, double velocity, std::optional<std::string> type = std::nullopt) {
  return {time, velocity, 30, 210, std::move(type)};
}

// --- Rows and records ---

TEST(CurrentPredictionsTest, AnAnswerIsReadStrictlyAndWrittenShortest) {
  JsonReaders readers;
  const auto answer = [](const std::string& rows) {
    return R"({"current_predictions":{"units":"feet, knots","cp":[)" + rows + "]}}";
  };
  const std::string good =
      R"({"Type":null,"Bin":"12","Time":"2025-03-05 00:06","Velocity_Major":-0,"meanFloodDir":26,"meanEbbDir":212.5})";
  const std::string earlier =
      R"({"Type":"slack","Time":"2025-03-05 00:00","Velocity_Major":-1.25,"meanFloodDir":-0.0,"meanEbbDir":2e1})";
  const std::string passedOver =
      R"({"Time":"10000-03-05 00:12","Velocity_Major":1,"meanFloodDir":1,"meanEbbDir":1},)"
      R"({"Time":"2025-03-05 00:12","Velocity_Major":1e300,"meanFloodDir":1,"meanEbbDir":1},)";
  const std::string ofEqualTime =
      R"({"Time":"2025-03-05 00:06","Velocity_Major":0.5,"meanFloodDir":26,"meanEbbDir":212.5})";
  const auto reading =
      readAnswer(answer(fmt::format("{},{}{},{}", good, passedOver, ofEqualTime, earlier)), readers);
  ASSERT_FALSE(reading.error);
  ASSERT_EQ(reading.rows.size(), 3U) << "in time order, all that count";
  const std::string file = fileOf(reading.rows.data(), reading.rows.data() + 3);
  EXPECT_EQ(
      file,
      R"([{"Time":"2025-03-05 00:00","Velocity_Major":-1.25,"meanFloodDir":0,"meanEbbDir":20,"Type":"slack"},)"
      R"({"Time":"2025-03-05 00:06","Velocity_Major":0,"meanFloodDir":26,"meanEbbDir":212.5},)" +
          ofEqualTime + "]");
  CurrentPredictions again;
  EXPECT_FALSE(addFile(file, readers, again));
  EXPECT_EQ(again, reading.rows);
  EXPECT_TRUE(readAnswer(file, readers).error && addFile(answer(good), readers, again));
  EXPECT_FALSE(readAnswer(answer(""), readers).error);
  const std::string fields[] = {R"("Time":7)", R"("Velocity_Major":"1")", R"("meanFloodDir":null)",
                                R"("meanEbbDir":1e400)"};
  for (const std::string& wrong : fields) {
    const std::string name = wrong.substr(0, wrong.find(':') + 1);
    for (const std::string& instead : {std::string(R"("Bin":)"), wrong + ",\"x\":"}) {
      std::string bad = earlier;
      bad.replace(bad.find(name), name.size(), instead);
      EXPECT_TRUE(readAnswer(answer(good + "," + bad), readers).error) << bad;
    }
  }
  for (const char* text : {"", "[]", R"({"error":{"message":"Currents predictions are not available."}})",
                           R"({"current_predictions":{}})", R"({"current_predictions":{"cp":[1]}})",
                           R"({"current_predictions":{"cp":[]}}x)"}) {
    EXPECT_TRUE(readAnswer(text, readers).error) << text;
  }
}

TEST(CurrentPredictionsTest, SamplesLieOnHalfWaves) {
  EXPECT_TRUE(samplesOf({row(march5, 1)}).empty());
  const auto samples = samplesOf({row(march5, -1.5), row(march5 + 3600, 0.5)});
  ASSERT_EQ(samples.size(), 2U) << "none at the last point";
  EXPECT_EQ(samples[0]->value, -1.5);
  EXPECT_NEAR(samples[1]->value, -0.5, 1e-12);
  EXPECT_EQ(secondsOf(samples[1]->date), march5 + 1800);
  EXPECT_EQ(samples[1]->series, "Velocity");
  EXPECT_EQ(samples[1]->attributes->at("direction"), "210.0") << "of the point before";
  const auto step =
      samplesOf({row(march5, 1), row(march5 + 1800, 0), row(march5 + 1800, -2), row(march5 + 3600, 0)});
  EXPECT_EQ(step.at(1)->value, -2) << "the last of equal times is the point before";
  EXPECT_EQ(step[1]->attributes->at("direction"), "210.0");
  // A day is missing: its half hours are not made up.
  const auto apart =
      samplesOf({row(march5, 1), row(march5 + 1800, 1), row(march5 + 90'000, 1), row(march5 + 91'801, 1)});
  ASSERT_EQ(apart.size(), 3U);
  EXPECT_EQ(secondsOf(apart[1]->date), march5 + 90'000);
  EXPECT_EQ(samplesOf({row(march5, 1), row(march5 + 86'400, 1)}).size(), 48U);
}

TEST(CurrentPredictionsTest, EventsHaveTypesDirectionsAndUnsignedSpeeds) {
  const struct {
    double velocity;
    std::optional<std::string> type;
    const char* expected;
    double direction;
  } cases[] = {{-0.04, std::nullopt, "slack", 30}, {0.05, std::nullopt, "flood", 30},
               {-0.05, std::nullopt, "ebb", 210},  {-1.3, "ebb", "ebb", 210},
               {-1.3, "flood", "flood", 30},       {2, "slack", "slack", 30}};
  for (const auto& [velocity, type, expected, direction] : cases) {
    const auto events = eventsOf({row(1, 9), row(5, velocity, type), row(9, 9)}, {}, {2, 8});
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0]->type, expected) << velocity;
    EXPECT_EQ(events[0]->direction, direction) << velocity;
    EXPECT_EQ(events[0]->speed, std::fabs(velocity));
    EXPECT_FALSE(events[0]->slackBegin || events[0]->slackEnd);
  }
}

TEST(CurrentPredictionsTest, ASlackWindowLastsWhileTheStreamIsWeak) {
  // Every six minutes a speed that grows by 0.02 knots.
  CurrentPredictions points;
  for (std::int64_t i = -100; i <= 100; ++i) {
    points.push_back(row(march5 + i * 360, static_cast<double>(i) * 0.02));
  }
  const auto halfWidth = [&](std::optional<double> before, std::optional<double> next) {
    CurrentPredictions list;
    if (before) list.push_back(row(march5 - 36'000, *before, "ebb"));
    list.push_back(row(march5, 0.01, "slack"));
    if (next) list.push_back(row(march5 + 36'000, *next, "flood"));
    const auto slack = eventsOf(list, points, {march5, march5}).at(0);
    EXPECT_NEAR(march5 - secondsOf(*slack->slackBegin), secondsOf(*slack->slackEnd) - march5, 1e-3);
    return secondsOf(*slack->slackEnd) - march5;
  };
  EXPECT_NEAR(halfWidth(-2, 2), 3600, 1e-3) << "the cap";
  EXPECT_NEAR(halfWidth(-0.48, 2), 6 * 360, 1e-3) << "a quarter of the smaller";
  EXPECT_NEAR(halfWidth(std::nullopt, 0.32), 4 * 360, 1e-3);
  EXPECT_NEAR(halfWidth(std::nullopt, std::nullopt), 3600, 1e-3);
  EXPECT_NEAR(halfWidth(-0.04, 2), 180, 1e-3) << "between two points";
  const auto twice =
      eventsOf({row(march5, 0.01, "slack"), row(march5, 0.02, "slack"), row(march5 + 36'000, 2)}, points,
               {march5, march5});
  EXPECT_EQ(twice.at(0)->slackEnd, twice.at(1)->slackEnd) << "rows of one time are no neighbours";
  EXPECT_EQ(twice.at(0)->slackBegin, twice.at(1)->slackBegin);
  constexpr auto wide = std::numeric_limits<std::int64_t>::max();
  const auto toTheEnds = slackWindow(points, march5 + 90, 5, -wide, wide);
  EXPECT_EQ(toTheEnds->begin, march5 - 36'000);
  EXPECT_EQ(toTheEnds->end, march5 + 36'000);
  const auto bounded = slackWindow(points, march5, 5, march5 - 400, march5 + 500);
  EXPECT_EQ(bounded->begin, march5 - 400);
  EXPECT_EQ(bounded->end, march5 + 500);
  EXPECT_FALSE(slackWindow(points, march5 + 7200, 0.2, -wide, wide)) << "strong there";
  EXPECT_FALSE(slackWindow(points, march5 + 36'001, 5, -wide, wide));
  const CurrentPredictions apart = {row(0, 0), row(86'401, 0), row(90'000, 0)};
  EXPECT_FALSE(slackWindow(apart, 500, 5, -wide, wide));
  EXPECT_EQ(slackWindow(apart, 86'500, 5, -wide, wide)->begin, 86'401);
}

TEST(CurrentStationTest, AListIsReadWholeOrNotAtAll) {
  const std::string good =
      R"({"id":"A","lat":1,"lng":2,"name":"N","bin":-3,"coord":{"x":1,"y":2,"z":3},"w":0})";
  const auto reading = CurrentStation::readList("[" + good + "]");
  ASSERT_EQ(reading.stations.size(), 1U);
  EXPECT_EQ(reading.stations[0]->bin, -3);
  EXPECT_EQ(reading.stations[0]->point().z, 3);
  for (const std::string field : {R"("id":"A")", R"("lat":1)", R"("lng":2)", R"("name":"N")", R"("bin":-3)",
                                  R"("coord":{"x":1,"y":2,"z":3})"}) {
    std::string bad = good;
    bad.replace(bad.find(field), field.size(), R"("v":0)");
    EXPECT_TRUE(CurrentStation::readList(fmt::format("[{},{}]", good, bad)).error) << bad;
  }
}

// --- The provider ---

class NOAACurrentsTest : public OceanHostTest {
 protected:
  NOAACurrentsTest() {
    const SpacePoint at = spacePoint(0, 0);
    fake.resources->files["current_stations_usa.json"] = fmt::format(
        R"([{{"id":"SFB1","lat":0,"lng":0,"name":"Gate","bin":7,"coord":{{"x":{},"y":{},"z":{}}}}}])", at.x,
        at.y, at.z);
    fake.settings.coopsBaseURL = "https://coops.test";
    provider = std::make_unique<NOAACurrentsDataProvider>(fake.host());
  }

  static std::string url(const char* begin, const char* end, bool slacks) {
    return fmt::format(
        "https://coops.test/api/prod/datagetter?begin_date={}&end_date={}&station=SFB1&product="
        "currents_predictions&time_zone=gmt&units=english&application=Korvantis&format=json&bin=7{}",
        begin, end, slacks ? "&interval=MAX_SLACK" : "");
  }
  /// A row each hour, or each six with its type, over days of March 2025.
  static std::string rows(int firstDay, int lastDay, bool slacks) {
    std::string text;
    for (int hour = (firstDay - 1) * 24; hour < lastDay * 24; hour += slacks ? 6 : 1) {
      const char* const type = hour % 12 == 0 ? R"("Type":"slack",)" : R"("Type":"flood",)";
      text += fmt::format(
          R"({}{{{}"Time":"2025-03-{:02} {:02}:00","Velocity_Major":{},"meanFloodDir":30,"meanEbbDir":210}})",
          text.empty() ? "" : ",", slacks ? type : "", hour / 24 + 1, hour % 24,
          slacks ? (hour % 12 == 0 ? 0 : 1) : std::sin(hour * std::numbers::pi / 12));
    }
    return R"({"current_predictions":{"cp":[)" + text + "]}}";
  }
  void script(int firstDay, int lastDay) {
    const auto name = [](int day) { return fmt::format("202503{:02}", day); };
    for (const bool slacks : {false, true}) {
      fake.http->script(url(name(firstDay).c_str(), name(lastDay).c_str(), slacks),
                        answerOf(rows(firstDay, lastDay, slacks)));
    }
  }

  NOAACurrentsDataProvider::Answer askFor(double from, double to, double lng = 0,
                                          const std::string& id = "here") {
    return settled(
        provider->getOceanCurrentData(0, lng, dateFromSeconds(from), dateFromSeconds(to), TimeZone(), id));
  }
  bool has(double lng, const std::string& id) {
    return settled(provider->nearestStation(0, lng, id)) != nullptr;
  }

  std::unique_ptr<NOAACurrentsDataProvider> provider;
};

TEST_F(NOAACurrentsTest, LackingDaysAreAwaitedAndTheMonthComesBehind) {
  script(5, 6);
  script(1, 31);
  expectLog("NOAA Currents: Background fetch 2025-03 for station SFB1");
  const auto first = askFor(march5 + 600, march5 + 86'400);
  ASSERT_TRUE(first);
  EXPECT_EQ(asked(), 4U);
  EXPECT_EQ(first->timeSeries.size(), 48U) << "on the half hours of the days, both ends included";
  EXPECT_EQ(secondsOf(first->timeSeries[0]->date), march5 + 1800);
  ASSERT_EQ(first->events.size(), 4U);
  EXPECT_EQ(first->events[1]->type, "slack");
  EXPECT_TRUE(first->events[1]->slackBegin && first->events[1]->slackEnd);
  EXPECT_TRUE(kept("noaa_currents_SFB1_7_20250305.json").starts_with(R"([{"Time":"2025-03-05 00:00",)"));
  EXPECT_NE(kept("noaa_currents_SFB1_7_20250331.json"), "none");
  EXPECT_EQ(kept("noaa_slack_SFB1_7_202503.json"), rows(1, 31, true)) << "as received";

  EXPECT_EQ(askFor(march5 + 600, march5 + 86'400), first);
  const auto other = askFor(march5 + 7200, march5 + 86'400, 0.01, "there");
  EXPECT_EQ(secondsOf(other->timeSeries[0]->date), march5 + 7200) << "the same days, another period";
  EXPECT_EQ(other->longitude, 0.01);
  EXPECT_EQ(askFor(march5 + 7200, march5 + 86'400, 0.02, "yonder")->longitude, 0.02) << "the same period";
  provider = std::make_unique<NOAACurrentsDataProvider>(fake.host());
  EXPECT_EQ(askFor(march1, march1 + 30 * aDay)->timeSeries.size(), 30U * 48U + 1U);
  EXPECT_EQ(asked(), 4U) << "all of it lies on the disk";
  script(6, 6);
  for (const std::string& bad : {std::string("[{"), kept("noaa_currents_SFB1_7_20250307.json")}) {
    const std::size_t before = asked();
    put("noaa_currents_SFB1_7_20250306.json", bad);
    provider = std::make_unique<NOAACurrentsDataProvider>(fake.host());
    EXPECT_EQ(askFor(march5, march5 + 2 * aDay)->timeSeries.size(), 97U) << "damaged, or of another day";
    EXPECT_EQ(asked(), before + 1);
  }
  std::string april = rows(1, 31, true);
  for (auto at = april.find("2025-03"); at != std::string::npos; at = april.find("2025-03", at))
    april[at + 6] = '4';
  put("noaa_slack_SFB1_7_202503.json", april);
  provider = std::make_unique<NOAACurrentsDataProvider>(fake.host());
  EXPECT_EQ(askFor(march5 + aDay, march5 + aDay + 80'000)->events.size(), 4U) << "the list of another month";

  for (const char* day : {"05", "07"}) put(fmt::format("noaa_currents_SFB1_7_202503{}.json", day), "");
  put("noaa_slack_SFB1_7_202503.json", "");
  script(5, 7);
  fake.http->script(url("20250305", "20250307", true), failedAnswer("unreachable"));
  expectLog("Error fetching NOAA currents: unreachable");
  EXPECT_EQ(askFor(march5, march5 + 3 * aDay - 1)->events.size(), 72U) << "a day that is known counts once";
}

TEST_F(NOAACurrentsTest, WhatFailsIsNeitherRememberedNorKept) {
  const auto series = url("20250305", "20250305", false);
  const auto slacks = url("20250305", "20250305", true);
  expectLog("Error fetching NOAA currents: HTTP 400");
  expectLog("Error fetching NOAA currents: the answer has no list of predictions");
  expectLog("Error fetching NOAA currents: unreachable");
  fake.http->script(slacks, answerOf(rows(5, 5, true)));
  for (const auto& bad : {answerOf(rows(5, 5, false), 400), answerOf(R"({"error":{"message":"none"}})"),
                          failedAnswer("unreachable")}) {
    fake.http->script(series, bad);
    EXPECT_FALSE(askFor(march5, march5 + 80'000));
  }
  EXPECT_EQ(kept("noaa_currents_SFB1_7_20250305.json"), "none");
  fake.http->script(series, answerOf(rows(5, 6, false)));
  fake.http->script(slacks, failedAnswer("unreachable"));
  const auto points = askFor(march5, march5 + 80'000);
  EXPECT_EQ(points->events.size(), 23U) << "without a list each point";
  EXPECT_EQ(kept("noaa_currents_SFB1_7_20250306.json"), "none") << "beyond what was asked for";
  fake.http->script(slacks, answerOf(rows(5, 5, true)));
  for (const bool slack : {false, true})
    fake.http->script(url("20250301", "20250331", slack), failedAnswer("unreachable"));
  expectLog("NOAA Currents: Background fetch 2025-03 for station SFB1");
  EXPECT_EQ(askFor(march5, march5 + 80'000)->events.size(), 4U) << "asked again, the days come from the disk";
  EXPECT_EQ(kept("noaa_slack_SFB1_7_202503.json"), "none") << "only ever a whole month";
  const std::size_t before = asked();
  EXPECT_TRUE(askFor(march5, march5 + 80'000));
  EXPECT_EQ(asked(), before) << "remembered now";

  script(6, 6);
  script(1, 31);
  EXPECT_TRUE(askFor(march5 + aDay, march5 + aDay + 80'000));
  EXPECT_EQ(kept("noaa_slack_SFB1_7_202503.json"), rows(1, 31, true)) << "the month is tried again";
  EXPECT_EQ(askFor(march5, march5 + 2 * aDay)->timeSeries.size(), 97U);
  EXPECT_EQ(asked(), before + 4) << "and then no more";
}

TEST_F(NOAACurrentsTest, AMonthIsFetchedOnceEvenWhereItLacksDays) {
  for (const int day : {5, 8, 25}) script(day, day);
  const auto begin = [&](int day) {
    const double from = static_cast<double>(march1 + (day - 1) * aDay);
    start(provider->getOceanCurrentData(0, 0, dateFromSeconds(from), dateFromSeconds(from + 80'000),
                                        TimeZone(), "here"),
          [once = completions.once("day")](const auto& answer) {
            EXPECT_TRUE(answer);
            once();
          });
  };
  for (const bool slacks : {false, true}) fake.http->hold(url("20250301", "20250331", slacks));
  begin(5);
  ASSERT_TRUE(fake.http->waitForRequests(4));
  begin(8);
  ASSERT_TRUE(fake.http->waitForRequests(6));
  ASSERT_TRUE(fake.http->answer(url("20250301", "20250331", false), answerOf(rows(1, 19, false))));
  ASSERT_TRUE(fake.http->answer(url("20250301", "20250331", true), answerOf(rows(1, 31, true))));
  ASSERT_TRUE(fake.settle());
  begin(25);
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(asked(), 7U) << "what a month has not got is not looked for again";
  EXPECT_EQ(fake.log->lines().size(), 1U);
  expectLog("NOAA Currents: Background fetch 2025-03 for station SFB1");
}

TEST_F(NOAACurrentsTest, AMonthThatWasAwaitedIsKeptWhole) {
  script(1, 31);
  EXPECT_TRUE(askFor(march1, march1 + 31 * aDay - 1));
  EXPECT_EQ(asked(), 2U) << "nothing is left for the background";
  EXPECT_EQ(kept("noaa_slack_SFB1_7_202503.json"), rows(1, 31, true));
  provider = std::make_unique<NOAACurrentsDataProvider>(fake.host());
  EXPECT_EQ(askFor(march5, march5 + 80'000)->events.size(), 4U);
  EXPECT_EQ(asked(), 2U);
}

TEST_F(NOAACurrentsTest, AStationIsWithinFiftyKilometres) {
  const auto degrees = [](double chord) { return 2 * std::asin(chord / 2 / 6371) * 180 / std::numbers::pi; };
  EXPECT_EQ(settled(provider->nearestStation(0, degrees(49.9), "near"))->id, "SFB1");
  EXPECT_TRUE(has(30, "near")) << "the answer stays with the name";
  EXPECT_FALSE(has(degrees(50.1), "far"));
  EXPECT_FALSE(has(0, "far"));
  EXPECT_FALSE(has(std::nan(""), "nowhere"));
  expectLog("NOAA Currents: No station found within 50km of 0.0, 30.0");
  EXPECT_FALSE(askFor(march5, march5, 30, "far"));
  for (const auto& [from, to] : {std::pair<double, double>(march5 + 1, march5),
                                 {march5, march5 + 367 * 86'400.0},
                                 {-HUGE_VAL, march5},
                                 {march5, std::nan("")}}) {
    EXPECT_FALSE(askFor(from, to)) << from << " " << to;
  }
  EXPECT_EQ(asked(), 0U);
  expectLog("Error loading current stations: ");
  for (const char* list : {"[{}]", "[]"}) {
    fake.resources->files["current_stations_usa.json"] = list;
    provider = std::make_unique<NOAACurrentsDataProvider>(fake.host());
    EXPECT_FALSE(has(0, "near"));
  }
}

TEST_F(NOAACurrentsTest, EqualQuestionsShareARequestAndItsEndEndsThem) {
  allowLog("Error fetching NOAA currents: ");
  const auto series = url("20250304", "20250306", false);
  fake.http->hold(series);
  fake.http->script(url("20250304", "20250306", true), answerOf(rows(4, 6, true)));
  script(1, 31);
  expectLog("NOAA Currents: Background fetch");
  int answered = 0;
  const auto askDay = [&](const std::string& id) {
    start(provider->getDailyOceanCurrentData(0, 0, dateFromSeconds(march5), TimeZone(), id),
          [&, once = completions.once("day")](const auto& answer) {
            answered += answer && secondsOf(answer->timeSeries[0]->date) == march5 - 21'600 ? 1 : 0;
            once();
          });
  };
  for (int i = 0; i < 100; ++i) askDay(std::to_string(i));
  ASSERT_TRUE(fake.http->waitForRequests(2));
  ASSERT_TRUE(fake.http->answer(series, answerOf(rows(4, 6, false))));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(answered, 100);
  EXPECT_EQ(asked(), 4U);

  fake.http->hold(url("20250404", "20250405", false));
  fake.http->hold(url("20250404", "20250405", true));
  start(provider->getOceanCurrentData(0, 0, dateFromSeconds(march5 + 30 * aDay),
                                      dateFromSeconds(march5 + 31 * aDay), TimeZone(), "x"),
        [once = completions.once("given up")](const auto& answer) {
          EXPECT_FALSE(answer);
          once();
        });
  ASSERT_TRUE(fake.http->waitForRequests(6));
  provider.reset();
  EXPECT_EQ(completions.outstanding(), 0U);
}

}  // namespace
}  // namespace marlune::testing
