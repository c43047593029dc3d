#include <fmt/format.h>

#include <atomic>
#include <cmath>
#include <future>

#include "marlune/ocean/openmeteo/OpenMeteoDataProvider.h"
#include "marlune/ocean/openmeteo/OpenMeteoWindProvider.h"
#include "marlune/ocean/source/LocalHours.h"
#include "marlune/ocean/source/OceanTimes.h"
#include "ocean/OceanHostTest.h"

namespace marlune::testing {
namespace {

constexpr double midnight = 1741132800;  // 2025-03-05 in UTC
constexpr double day = 86400;

using Arrays = std::vector<std::pair<std::string, std::string>>;

/// An answer of the services: an array of each name, the elements as they are to stand in it.
std::string answerWith(const Arrays& arrays) {
  std::string text = R"({"latitude":1.5,"hourly_units":{"time":"iso8601"},"hourly":{"extra":[1])";
  for (const auto& [name, elements] : arrays) text += fmt::format(R"(,"{}":[{}])", name, elements);
  return text + "}}";
}
std::string marineAnswer(const std::string& times, const std::string& values) {
  return answerWith({{"time", times},
                     {"sea_surface_temperature", values},
                     {"swell_wave_height", values},
                     {"swell_wave_direction", values},
                     {"swell_wave_period", values},
                     {"ocean_current_velocity", values},
                     {"ocean_current_direction", values}});
}

/// "2025-03-05T00:00" and the following hours of some days as elements.
std::string hoursFrom(int firstDay, int days) {
  std::string text;
  for (int i = 0; i < 24 * days; ++i)
    text += fmt::format(R"({}"2025-03-{:02}T{:02}:00")", i == 0 ? "" : ",", firstDay + i / 24, i % 24);
  return text;
}
std::string numbers(int count, double step = 1) {
  std::string text;
  for (int i = 0; i < count; ++i) text += fmt::format("{}{}", i == 0 ? "" : ",", i * step);
  return text;
}
std::string nineDays() {
  return marineAnswer(hoursFrom(5, 9), numbers(9 * 24));
}

/// Of each sample series, value and attributes.
std::string textOf(const TimeSeries& samples) {
  std::string text;
  for (const auto& sample : samples) {
    text += fmt::format("{}{} {}", text.empty() ? "" : "; ", sample->series.value_or("-"), sample->value);
    for (const auto& [name, value] : sample->attributes.value_or(TimeSeriesData::Attributes()))
      text += fmt::format(" {}={}", name, value);
  }
  return text;
}

class OpenMeteoProvidersTest : public OceanHostTest {
 protected:
  OpenMeteoProvidersTest() {
    fake.settings.openMeteoMarineBaseURL = fake.settings.openMeteoForecastBaseURL = "https://sea.test/";
    fake.settings.openMeteoApiKey = "Sec+ret";
    make();
  }
  void make() {
    marine = std::make_unique<OpenMeteoDataProvider>(fake.host());
    windy = std::make_unique<OpenMeteoWindProvider>(fake.host());
  }

  auto temperatures(double at, const TimeZone& zone = {}, const std::string& id = "abc") {
    return settled(marine->getDailyTemperatureData(1.5, -2, dateFromSeconds(at), zone, id));
  }
  auto swell(double at) {
    return settled(marine->getDailySwellData(1.5, -2, dateFromSeconds(at), {}, "abc"));
  }
  auto currents(double from, double to) {
    return settled(
        marine->getOceanCurrentData(1.5, -2, dateFromSeconds(from), dateFromSeconds(to), {}, "abc"));
  }
  auto wind(double at, const TimeZone& zone = {}, double lat = 1.5) {
    return settled(windy->getDailyWindData(lat, -2, dateFromSeconds(at), zone, "abc"));
  }

  static std::string marineUrl(const std::string& zone = "UTC",
                               const std::string& place = "latitude=1.500000&longitude=-2.000000") {
    return "https://sea.test/v1/marine?" + place +
           "&hourly=sea_surface_temperature,swell_wave_height,swell_wave_direction,swell_wave_period,"
           "ocean_current_velocity,ocean_current_direction&length_unit=imperial&wind_speed_unit=mph"
           "&timezone=" +
           zone + "&forecast_days=9&apikey=Sec%2Bret";
  }
  static std::string windUrl(const std::string& zone = "UTC") {
    return "https://sea.test/v1/forecast?latitude=1.500000&longitude=-2.000000&hourly=wind_speed_10m,"
           "wind_direction_10m,wind_gusts_10m&wind_speed_unit=mph&timezone=" +
           zone + "&forecast_days=2";
  }
  void scriptMarine(const std::string& body, const std::string& zone = "UTC", int status = 200) {
    fake.http->script(marineUrl(zone), answerOf(body, status));
  }
  void scriptWind(const std::string& times, const std::string& speeds, const std::string& directions,
                  const std::string& gusts, const std::string& zone = "UTC") {
    fake.http->script(windUrl(zone), answerOf(answerWith({{"time", times},
                                                          {"wind_speed_10m", speeds},
                                                          {"wind_direction_10m", directions},
                                                          {"wind_gusts_10m", gusts}})));
  }

  std::unique_ptr<OpenMeteoDataProvider> marine;
  std::unique_ptr<OpenMeteoWindProvider> windy;
};

TEST_F(OpenMeteoProvidersTest, OneRequestBringsEveryKindAndDay) {
  scriptMarine(nineDays());
  const auto first = temperatures(midnight + 5);
  ASSERT_TRUE(first);
  ASSERT_EQ(first->timeSeries.size(), 25U);
  EXPECT_EQ(secondsOf(first->timeSeries.front()->date), midnight);
  EXPECT_EQ(secondsOf(first->timeSeries.back()->date), midnight + day);
  EXPECT_EQ(first->timeSeries.back()->value, 24);
  EXPECT_FALSE(first->timeSeries[0]->attributes || first->timeSeries[0]->series);
  EXPECT_TRUE(first->isTemperatureInCelsius && first->latitude == 1.5 && first->longitude == -2);
  const auto waves = swell(midnight + day);
  ASSERT_EQ(waves->timeSeries.size(), 50U);
  EXPECT_TRUE(waves->isHeightInFeet);
  EXPECT_EQ(textOf({waves->timeSeries.begin(), waves->timeSeries.begin() + 3}),
            "Height 24 direction=24.0; Period 24 direction=24.0; Height 25 direction=25.0");
  const auto stream =
      settled(marine->getDailyOceanCurrentData(1.5, -2, dateFromSeconds(midnight + 9 * day - 1), {}, "abc"));
  ASSERT_EQ(stream->timeSeries.size(), 24U) << "nothing ends the last day";
  EXPECT_EQ(textOf({stream->timeSeries.back()}), "Velocity 215 direction=215.0");
  EXPECT_TRUE(stream->events.empty());
  EXPECT_EQ(temperatures(midnight - 1)->timeSeries.size(), 1U) << "what the first midnight ends";
  EXPECT_EQ(temperatures(midnight + 6), first) << "one object";
  EXPECT_EQ(asked(), 1U);
  EXPECT_EQ(swell(midnight + 9 * day), nullptr);
  EXPECT_EQ(swell(midnight + 9 * day), nullptr);
  EXPECT_EQ(asked(), 3U) << "an absence is not remembered";
  scriptMarine(marineAnswer(hoursFrom(6, 9), numbers(9 * 24)));
  EXPECT_TRUE(swell(midnight + 9 * day));
  EXPECT_EQ(temperatures(midnight)->timeSeries.size(), 25U)
      << "a newer forecast that only has its end displaces no day";
  EXPECT_EQ(asked(), 4U);
}

TEST_F(OpenMeteoProvidersTest, WhatIsMissingIsNoSample) {
  const std::string times = R"("2025-03-05T03:00","2025-03-05T01:00","2025-03-05T02:00")";
  scriptMarine(answerWith({{"time", times},
                           {"sea_surface_temperature", "null,-0.0"},
                           {"swell_wave_height", "3.5,null,1,99,true"},
                           {"swell_wave_direction", "7,8,null"},
                           {"swell_wave_period", "4,5,null"},
                           {"ocean_current_velocity", "null,2,3"},
                           {"ocean_current_direction", "1,-0.0"}}));
  EXPECT_EQ(textOf(swell(midnight)->timeSeries),
            "Period 5 direction=8.0; Height 1; Height 3.5 direction=7.0; Period 4 direction=7.0");
  EXPECT_FALSE(swell(midnight)->timeSeries[1]->attributes) << "absent, not empty";
  EXPECT_EQ(textOf(temperatures(midnight)->timeSeries), "- 0");
  EXPECT_EQ(textOf(currents(midnight, midnight + day - 1)->timeSeries),
            "Velocity 2 direction=0.0; Velocity 3");
  scriptMarine(marineAnswer(hoursFrom(6, 1), ""));
  ASSERT_TRUE(temperatures(midnight + day));
  EXPECT_TRUE(temperatures(midnight + day)->timeSeries.empty());
  scriptMarine(marineAnswer(R"("2025-03-07T23:00","2025-03-09T00:00")", "1,2"));
  EXPECT_EQ(textOf(temperatures(midnight + 2 * day)->timeSeries), "- 1");
  EXPECT_EQ(textOf(temperatures(midnight + 3 * day)->timeSeries), "- 2") << "of the day that it ends";
}

TEST_F(OpenMeteoProvidersTest, FailuresAreLoggedAndForgotten) {
  const std::string good = marineAnswer(hoursFrom(5, 1), "1,2");
  const auto with = [&](const std::string& part, const std::string& by) {
    std::string text = good;
    return text.replace(text.find(part), part.size(), by);
  };
  std::string endless = "\"\"";
  for (int i = 0; i < 10'000; ++i) endless += ",\"\"";
  const std::pair<std::string, const char*> bad[] = {
      {"", "no JSON"},
      {with(R"("latitude")", R"("error":true,"latitude")"), "the service refuses"},
      {with(R"("hourly":)", R"("weekly":)"), "no hours"},
      {with(R"("2025-03-05T00:00")", "null"), "a time that is no text"},
      {with(R"("ocean_current_direction":[1)", R"("ocean_current_direction":["1")"),
       "something else than numbers in ocean_current_direction"},
      {with(R"("swell_wave_height":[1,2])", R"("swell_wave_height":{})"), "no array swell_wave_height"},
      {marineAnswer(endless, "1"), "more hours than a forecast"}};
  for (const auto& [body, error] : bad) {
    scriptMarine(body);
    EXPECT_EQ(temperatures(midnight), nullptr) << error;
    expectLog("Error fetching marine data: ");
    EXPECT_NE(fake.log->lines().back().find(error), std::string::npos) << fake.log->lines().back();
  }
  scriptMarine(good, "UTC", 429);
  EXPECT_EQ(temperatures(midnight), nullptr);
  expectLog("HTTP 429");
  fake.http->script(marineUrl(), failedAnswer("no way to " + marineUrl() + " nor with Sec+ret"));
  EXPECT_EQ(currents(midnight, midnight), nullptr);
  expectLog("apikey=*** nor with ***");
  EXPECT_EQ(asked(), std::size(bad) + 2);
  scriptMarine(good);
  EXPECT_TRUE(temperatures(midnight));

  scriptWind(hoursFrom(5, 1), "1", "2", R"("3")");
  EXPECT_EQ(wind(midnight), nullptr);
  expectLog("Error fetching wind data: the answer has something else than numbers in wind_gusts_10m");

  for (const auto& line : fake.log->lines()) EXPECT_EQ(line.find("Sec"), std::string::npos) << line;
}

TEST_F(OpenMeteoProvidersTest, WhatIsNoPlaceOrDayIsNotAskedFor) {
  for (const double bad : {std::nan(""), HUGE_VAL, 90.1}) {
    EXPECT_EQ(settled(marine->getDailySwellData(bad, 0, dateFromSeconds(0), {}, "abc")), nullptr);
    EXPECT_EQ(settled(marine->getOceanCurrentData(bad, 0, Date(), Date(), {}, "abc")), nullptr);
    EXPECT_EQ(wind(midnight, {}, bad), nullptr);
  }
  EXPECT_EQ(temperatures(1e300), nullptr);
  EXPECT_EQ(wind(1e300), nullptr);
  EXPECT_EQ(currents(0, HUGE_VAL), nullptr);
  EXPECT_EQ(currents(1, 0), nullptr);
  EXPECT_EQ(asked(), 0U);
}

TEST_F(OpenMeteoProvidersTest, DaysAreThoseOfTheCallersZone) {
  const TimeZone losAngeles = *TimeZone::named("America/Los_Angeles");
  for (const char* zone : {"America/Los_Angeles", "Etc/GMT%2B5"})
    scriptMarine(marineAnswer(hoursFrom(8, 3), numbers(72)), zone);
  const auto change = temperatures(1741510800, losAngeles);
  ASSERT_EQ(change->timeSeries.size(), 24U) << "02:00 does not exist on the 9th";
  EXPECT_EQ(textOf({change->timeSeries.begin(), change->timeSeries.begin() + 3}), "- 24; - 25; - 27");
  EXPECT_EQ(secondsOf(change->timeSeries.back()->date), 1741507200 + 23 * 3600);
  EXPECT_EQ(secondsOf(temperatures(1741510800, *TimeZone::named("Etc/GMT+5"))->timeSeries[0]->date),
            1741496400)
      << "the same day of another zone is another day";
  EXPECT_EQ(temperatures(1741510800, losAngeles), change) << "and does not displace it";
  EXPECT_EQ(asked(), 2U);

  // The day of this change begins at one o'clock, which also ends the day before.
  const TimeZone cairo = *TimeZone::named("Africa/Cairo");
  scriptMarine(marineAnswer(R"("2025-04-24T23:00","2025-04-25T00:00","2025-04-25T01:00")", "1,2,3"),
               "Africa/Cairo");
  EXPECT_EQ(textOf(temperatures(1745532000 - 1, cairo)->timeSeries), "- 1; - 3");
  EXPECT_EQ(textOf(temperatures(1745532000, cairo)->timeSeries), "- 3");
}

TEST_F(OpenMeteoProvidersTest, AnIntervalHasEachInstantOnce) {
  scriptMarine(nineDays());
  EXPECT_TRUE(temperatures(midnight, {}, "abc,2025-03-06"))
      << "a place whose days lie between those of another";
  const auto ends = [](const OceanCurrentDataProvider::Answer& answer) {
    if (!answer || answer->timeSeries.empty()) return std::string("none");
    return fmt::format("{} {} {}", answer->timeSeries.size(), answer->timeSeries.front()->value,
                       answer->timeSeries.back()->value);
  };
  EXPECT_EQ(ends(currents(midnight, midnight + 3 * day)), "73 0 72");
  EXPECT_EQ(asked(), 2U);
  EXPECT_EQ(ends(currents(midnight + 0.5, midnight + 3 * day - 0.5)), "71 1 71");
  EXPECT_EQ(ends(currents(midnight + day, midnight + day)), "1 24 24");
  EXPECT_TRUE(currents(midnight + 1, midnight + 2)->timeSeries.empty()) << "a known day without an hour";
  EXPECT_EQ(asked(), 2U);
  EXPECT_EQ(ends(currents(-6e10, 2e11)), "216 0 215");
  EXPECT_EQ(asked(), 3U) << "one request for what is not known, whatever its length";
  EXPECT_EQ(currents(midnight + 30 * day, midnight + 31 * day), nullptr);
  scriptMarine("{}");
  EXPECT_EQ(ends(currents(midnight + 8 * day, midnight + 10 * day)), "24 192 215") << "what is known";
  expectLog("no hours");
}

TEST_F(OpenMeteoProvidersTest, AFullMemoryForgetsTheOldest) {
  scriptMarine(nineDays());
  // Ten days of each place.
  for (int i = 0; i < 12; ++i) EXPECT_TRUE(temperatures(midnight + 8 * day, {}, std::to_string(i)));
  EXPECT_TRUE(temperatures(midnight, {}, "2") && temperatures(midnight, {}, "11"));
  EXPECT_EQ(asked(), 12U);
  EXPECT_TRUE(temperatures(midnight, {}, "1"));
  EXPECT_EQ(asked(), 13U);

  scriptWind(R"("2025-03-05T12:00")", "1", "2", "3");
  const auto windOf = [&](int id) {
    EXPECT_TRUE(settled(windy->getDailyWindData(1.5, -2, dateFromSeconds(midnight), {}, std::to_string(id))));
    return asked();
  };
  for (int i = 0; i <= 100; ++i) windOf(i);
  EXPECT_EQ(windOf(1), 13U + 101U) << "a hundred days are remembered";
  EXPECT_EQ(windOf(0), 13U + 102U);
}

TEST_F(OpenMeteoProvidersTest, QuestionsForOneForecastShareItsRequest) {
  fake.http->hold(marineUrl());
  fake.http->hold(windUrl());
  fake.http->script(marineUrl("UTC", "latitude=-3.250000&longitude=0.000000"), answerOf(nineDays()));
  std::atomic<int> answered = 0;
  const auto begin = [&](auto task) {
    start(std::move(task), [&answered, once = completions.once("question")](const auto& answer) {
      if (answer) ++answered;
      once();
    });
  };
  const Date date = dateFromSeconds(midnight);
  for (const bool answers : {true, false}) {
    for (const char* const id : {"abc", "other"}) {
      begin(marine->getDailyTemperatureData(1.5, -2, date, {}, id));
      begin(marine->getDailySwellData(1.5, -2, dateFromSeconds(midnight + day), {}, id));
      begin(marine->getOceanCurrentData(1.5, -2, date, date, {}, id));
      if (!answers) begin(windy->getDailyWindData(1.5, -2, date, {}, id));
    }
    std::promise<bool> overtaking;
    start(marine->getDailySwellData(-3.25, 1e-9, date, {}, "elsewhere"),
          [&](const auto& answer) { overtaking.set_value(answer != nullptr); });
    EXPECT_TRUE(overtaking.get_future().get()) << "a request that hangs holds up no other";
    if (answers) {
      ASSERT_TRUE(fake.http->answer(marineUrl(), answerOf(nineDays())));
      ASSERT_TRUE(fake.settle());
      EXPECT_EQ(asked(), 2U);
    }
    make();
    EXPECT_EQ(completions.outstanding(), 0U) << "the end of a provider ends every wait";
  }
  allowLog("cancelled");
  allowLog("given up");
  EXPECT_EQ(answered, 6);
}

TEST_F(OpenMeteoProvidersTest, WindOfADayEndsBeforeTheNextMidnight) {
  scriptWind(hoursFrom(5, 2), numbers(48), numbers(48, 7.5), numbers(48, 2));
  const auto first = wind(midnight + day - 1);
  ASSERT_TRUE(first);
  ASSERT_EQ(first->timeSeries.size(), 24U);
  EXPECT_EQ(secondsOf(first->timeSeries[23]->date), midnight + 23 * 3600);
  EXPECT_EQ(textOf({first->timeSeries[23]}), "Wind 23 direction=172.5 gust=46.0");
  EXPECT_TRUE(first->speedUnit == "mph" && first->latitude == 1.5 && first->longitude == -2);
  EXPECT_EQ(wind(midnight + day)->timeSeries.size(), 24U);
  EXPECT_EQ(wind(midnight), first);
  EXPECT_EQ(asked(), 1U);
  EXPECT_EQ(wind(midnight - 1), nullptr);
  EXPECT_EQ(asked(), 2U);
  scriptWind(hoursFrom(5, 1), "null,1,2,3", "1,null,2,null", "1,2.25", "Etc/GMT%2B5");
  const auto gaps = wind(midnight + day + 4 * 3600, *TimeZone::named("Etc/GMT+5"));
  EXPECT_EQ(textOf(gaps->timeSeries), "Wind 1 gust=2.25; Wind 2 direction=2.0; Wind 3");
  EXPECT_FALSE(gaps->timeSeries[2]->attributes);
  EXPECT_EQ(wind(midnight)->timeSeries.size(), 24U) << "the same day of another zone is another day";
  EXPECT_EQ(asked(), 3U);
}

TEST(LocalHoursTest, ReadsWhatTheStrictReaderReads) {
  for (const char* const name : {"America/Los_Angeles", "Africa/Casablanca", "Australia/Lord_Howe",
                                 "America/Havana", "Pacific/Apia"}) {
    const TimeZone zone = *TimeZone::named(name);
    LocalHours hours(zone);
    for (OffsetPeriod period = zone.offsetPeriod(0); period.until < 4'000'000'000;
         period = zone.offsetPeriod(period.until)) {
      const std::int64_t change = (period.until + period.offset) / 1800 * 1800;
      // Half hours over some days about each change of the clocks, every fourth out of order.
      for (int i = -120; i <= 120; ++i) {
        const CivilTime civil = TimeZone().civil(change + (i % 4 == 0 ? i - 7 : i) * 1800);
        const std::string text = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}", civil.year, civil.month,
                                             civil.day, civil.hour, civil.minute);
        const auto hour = hours.read(text);
        const auto exact = ocean_times::localInstant(text, zone);
        ASSERT_EQ(hour.has_value(), exact.has_value()) << name << " " << text;
        if (!hour) continue;
        ASSERT_EQ(hour->instant, *exact) << name << " " << text;
        const auto its = ocean_times::dayOf(dateFromSeconds(static_cast<double>(*exact)), zone);
        ASSERT_EQ(hour->beginsDay, its->start == *exact) << name << " " << text;
      }
    }
  }
  LocalHours hours{TimeZone()};
  for (const char* text : {"", "2025-03-05T14:30 ", "2025-03-05T14.30", "2025-03-05T24:00",
                           "2025-03-05T14:60", "2025-03-05T-1:00", "2025-02-29T14:30", "2025-03-05 14:30"})
    EXPECT_FALSE(hours.read("2025-03-05T00:00") && hours.read(text)) << text;
}

}  // namespace
}  // namespace marlune::testing
