#include "marlune/ocean/OceanDataServiceProvider.h"

#include <fmt/format.h>

#include <array>
#include <atomic>
#include <cmath>
#include <mutex>
#include <thread>
#include <vector>

#include "ocean/OceanHostTest.h"
#include "support/HastyQueues.h"

namespace marlune::testing {
namespace {

using Ocean = OceanDataServiceProvider;
using Names = std::vector<std::string>;

struct RegionalBundle : ApplicationBundle {
  explicit RegionalBundle(std::optional<std::string> name) : regionName(std::move(name)) {}
  std::optional<std::string> region() const override { return regionName; }
  std::optional<std::string> information(std::string_view) const override { return std::nullopt; }
  const std::optional<std::string> regionName;
};

/// A service whose sources each know one station at 0 N, 0 E and are answered at once.
class OceanServiceTest : public OceanHostTest {
 protected:
  static constexpr double noon = 1741176000;  // 2025-03-05 12:00 UTC
  const Date date = dateFromSeconds(noon);
  const std::string coops =
      "http://s/api/prod/datagetter?begin_date=20250305%2000:00&end_date=20250306%2000:00&station=1&product=";
  const std::string waterUrl =
      coops + "water_temperature&time_zone=gmt&interval=h&units=metric&application=DataAPI&format=json";
  const std::string airUrl =
      coops + "air_temperature&time_zone=gmt&interval=h&units=metric&application=DataAPI&format=json";
  const std::string windUrl =
      coops + "wind&time_zone=gmt&interval=h&units=english&application=DataAPI&format=json";
  const std::string pointsUrl = "http://s/points/0.0000,0.0000";
  const std::string gridUrl = "http://grid.test/gridpoints/ABC/1,2";
  const std::string forecastUrl =
      "http://s/v1/"
      "forecast?latitude=0.000000&longitude=0.000000&hourly=wind_speed_10m,wind_direction_10m,wind_gusts_10m"
      "&wind_speed_unit=mph&timezone=UTC&forecast_days=2";
  const std::string marineUrl =
      "http://s/v1/"
      "marine?latitude=0.000000&longitude=0.000000&hourly=sea_surface_temperature,swell_wave_height,"
      "swell_wave_direction,swell_wave_period,ocean_current_velocity,ocean_current_direction&length_unit="
      "imperial"
      "&wind_speed_unit=mph&timezone=UTC&forecast_days=9&apikey=";

  const std::string streamsUrl =
      "http://s/uktidalapi-premium/api/V2/Streams/S1/"
      "TidalStreamRates?dateTime=2025-03-05T06:00:00Z&duration=32&interval=30";

  OceanServiceTest() {
    fake.settings.servicesBaseURL = "http://s";
    fake.settings.admiraltySubscriptionKey = "key";
    fake.settings.contactEmail = "tides@example.org";
    const std::string station =
        R"("id":"1","name":"A","lat":0,"lng":0,"bin":3,"coord":{"x":6371.0,"y":0,"z":0})";
    for (const char* name :
         {"water_temp_stations_usa", "air_temp_stations_usa", "wind_stations_usa", "current_stations_usa"}) {
      fake.resources->files[std::string(name) + ".json"] = "[{" + station + "}]";
    }
    fake.resources->files["stream_stations_uk.json"] =
        R"({"features":[{"geometry":{"coordinates":[0,0]},"properties":{"Id":"S1","Name":"B"}}]})";
    fake.http->script(waterUrl, answerOf(R"({"data":[{"t":"2025-03-05 12:00","v":"11.5"}]})"));
    fake.http->script(airUrl, answerOf(R"({"data":[{"t":"2025-03-05 12:00","v":"12.5"}]})"));
    fake.http->script(windUrl, answerOf(R"({"data":[{"t":"2025-03-05 12:00","s":"7","d":"270","g":"9"}]})"));
    fake.http->script(pointsUrl, answerOf(R"({"properties":{"forecastGridData":")" + gridUrl + "\"}}"));
    fake.http->script(gridUrl, answerOf(R"({"properties":{"windSpeed":{"uom":"wmoUnit:km_h-1","values":[)"
                                        R"({"validTime":"2025-03-05T12:00:00+00:00/PT1H","value":18.52}]},)"
                                        R"("windGust":{"values":[]},"windDirection":{"values":[]}}})"));
    fake.http->script(forecastUrl,
                      answerOf(R"({"latitude":0,"longitude":0,"hourly":{"time":["2025-03-05T12:00"],)"
                               R"("wind_speed_10m":[8],"wind_direction_10m":[90],"wind_gusts_10m":[10]}})"));
    fake.http->script(
        marineUrl,
        answerOf(R"({"latitude":0,"longitude":0,"timezone":"UTC","hourly":{"time":["2025-03-05T12:00"],)"
                 R"("sea_surface_temperature":[10.5],"swell_wave_height":[3],"swell_wave_direction":[200],)"
                 R"("swell_wave_period":[9],"ocean_current_velocity":[1],"ocean_current_direction":[45]}})"));
  }

  std::unique_ptr<Ocean> make(std::optional<std::string> region) {
    fake.application = std::make_shared<RegionalBundle>(std::move(region));
    const Host host = hostOfTest();
    return std::make_unique<Ocean>(host, std::make_shared<SeriesDiskCache>(host),
                                   std::make_shared<OpenMeteoWindProvider>(host));
  }

  Host hostOfTest() {
    Host host = fake.host();
    if (hasty) host.executors = hasty;
    return host;
  }

  /// What the requests since the last call asked for: a product of NOAA's, else the last part of the path.
  Names askedSince() {
    Names names;
    const auto all = fake.http->requests();
    for (; seen_ < all.size(); ++seen_) {
      const std::string& url = all[seen_].url;
      const auto product = url.find("product=");
      const std::string path = url.substr(0, url.find('?'));
      names.push_back(product == std::string::npos
                          ? path.substr(path.rfind('/') + 1)
                          : url.substr(product + 8, url.find('&', product) - product - 8));
    }
    return names;
  }

  template <class Record>
  static std::string first(const std::shared_ptr<const Record>& record) {
    if (!record) return "none";
    return record->timeSeries.empty() ? "empty" : fmt::format("{:.4g}", record->timeSeries[0]->value);
  }

  const TimeZone utc;
  std::shared_ptr<HastyQueues> hasty;  // in place of the host's, if any
  std::size_t seen_ = 0;
};

TEST_F(OceanServiceTest, TheRegionDecidesWhoIsAsked) {
  const struct {
    std::optional<std::string> region;
    bool usa;
  } builds[] = {{std::nullopt, true}, {"usa", true}, {"worldwide", false}, {"aus", false}, {"USA", false}};
  for (const auto& [region, usa] : builds) {
    SCOPED_TRACE(region.value_or("no region"));
    fake.files = std::make_shared<MemoryFileSystem>(fake.clock);
    const auto ocean = make(region);
    EXPECT_EQ(first(settled(ocean->getDailyTemperatureData(0, 0, date, utc, "a"))), usa ? "11.5" : "10.5");
    EXPECT_EQ(askedSince(), Names{usa ? "water_temperature" : "marine"});
    EXPECT_EQ(first(settled(ocean->getTemperatureDataAtTime(0, 0, date, utc, "a"))), usa ? "11.5" : "10.5");
    EXPECT_EQ(askedSince(), Names{}) << "the day is known";
    EXPECT_EQ(first(settled(ocean->getDailySwellData(0, 0, date, utc, "a"))), "3");
    EXPECT_EQ(askedSince(), usa ? Names{"marine"} : Names{});
    EXPECT_EQ(first(settled(ocean->getDailyWindData(0, 0, date, utc, "a"))), "8");
    EXPECT_EQ(askedSince(), Names{"forecast"});
    EXPECT_EQ(first(settled(ocean->getDailyObservedAirTemperatureData(0, 0, date, utc, "a"))),
              usa ? "12.5" : "none");
    EXPECT_EQ(askedSince(), usa ? Names{"air_temperature"} : Names{});
    EXPECT_EQ(first(settled(ocean->getDailyObservedWindData(0, 0, date, utc, "a"))), usa ? "7" : "none");
    EXPECT_EQ(askedSince(), usa ? Names{"wind"} : Names{});
    EXPECT_EQ(first(settled(ocean->getDailyForecastWindData(0, 0, date, utc, "a"))), usa ? "10" : "none");
    if (usa) {
      EXPECT_EQ(fake.http->requests().back().headers.at(1).second, "Korvantis (tides@example.org)");
    }
    EXPECT_EQ(askedSince(), usa ? (Names{"0.0000,0.0000", "1,2"}) : Names{});
    EXPECT_EQ(settled(ocean->hasCurrentsCoverage(0, 0, "a")), usa || region == "worldwide");
    EXPECT_FALSE(settled(ocean->hasCurrentsCoverage(0, 1, "b"))) << "111 km away";
    EXPECT_FALSE(settled(ocean->hasCurrentsCoverage(91, 0, "a")));
    if (!usa && region != "worldwide") {
      EXPECT_EQ(settled(ocean->getDailyOceanCurrentData(0, 0, date, utc, "a")), nullptr);
      EXPECT_EQ(settled(ocean->getOceanCurrentData(0, 0, date, date, utc, "a")), nullptr);
    }
    EXPECT_EQ(askedSince(), Names{});
  }
}

TEST_F(OceanServiceTest, TheSourcesAreThereInEveryRegion) {
  const auto ocean = make("worldwide");
  EXPECT_EQ(settled(ocean->service().getDailySwellData(0, 0, date, utc, "a")),
            settled(ocean->getDailySwellData(0, 0, date, utc, "a")));
  EXPECT_EQ(settled(ocean->noaaCurrents().nearestStation(0, 0, "a"))->id, "1");
  EXPECT_EQ(settled(ocean->ukhoCurrents().nearestStation("a", 0, 0))->id, "S1");
  EXPECT_EQ(first(settled(ocean->noaaWaterTemp().getDailyTemperatureData(0, 0, date, utc, "a"))), "11.5");
  EXPECT_EQ(first(settled(ocean->noaaAirTemp().getDailyTemperatureData(0, 0, date, utc, "a"))), "12.5");
  EXPECT_EQ(first(settled(ocean->noaaWind().getDailyWindData(0, 0, date, utc, "a"))), "7");
  EXPECT_EQ(first(settled(ocean->nwsWind().getDailyWindData(0, 0, date, utc, "a"))), "10");
}

TEST_F(OceanServiceTest, CurrentsComeFromSixHoursBeforeTheDate) {
  fake.http->script(
      streamsUrl,
      answerOf(
          R"([{"DateTime":"2025-03-05T06:00:00Z","Speed":1,"Bearing":90},{"DateTime":"2025-03-06T12:00:00Z","Speed":0.01,"Bearing":270}])"));
  const auto ocean = make("worldwide");
  const auto record = settled(ocean->getDailyOceanCurrentData(0, 0, date, utc, "a"));
  EXPECT_EQ(first(record), "1.944");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->events.size(), 2U);
  EXPECT_EQ(askedSince(), Names{"TidalStreamRates"});
  EXPECT_EQ(fake.http->requests().back().headers.at(0).second, "key");
}

TEST_F(OceanServiceTest, WaterFallsBackToTheForecast) {
  const std::pair<const char*, const char*> failures[] = {
      {R"({"data":[{"t":"2025-03-05 12:00","v":""}]})", ""},
      {R"({"error":{"message":"No data was found."}})", "Error fetching temerature data: "}};
  for (const auto& [body, log] : failures) {
    SCOPED_TRACE(body);
    fake.files = std::make_shared<MemoryFileSystem>(fake.clock);
    fake.http->script(waterUrl, answerOf(body));
    if (*log != '\0') expectLog(log);
    const auto ocean = make("usa");
    EXPECT_EQ(first(settled(ocean->getDailyTemperatureData(0, 0, date, utc, "a"))), "10.5");
    EXPECT_EQ(askedSince(), (Names{"water_temperature", "marine"}));
  }
}

// Answers from memory, on threads that are faster than the one that asks.
TEST_F(OceanServiceTest, NoAnswerComesInsideTheCallThatAsks) {
  fake.http->script(streamsUrl, answerOf(R"([{"DateTime":"2025-03-05T06:00:00Z","Speed":1,"Bearing":90}])"));
  hasty = std::make_shared<HastyQueues>(fake.host().executors);
  const auto here = std::this_thread::get_id();
  int asked = 0;
  std::atomic<int> elsewhere = 0;
  const auto note = [&] {
    ++asked;
    return [&, once = completions.once("answer")](const auto&) {
      if (std::this_thread::get_id() != here) ++elsewhere;
      once();
    };
  };
  for (const char* const region : {"worldwide", "aus", "usa"}) {
    const auto ocean = make(region);
    const bool isUsa = std::string(region) == "usa";
    for (int i = 0; i < 3; ++i) {
      ocean->getTemperatureDataAtTimeFor(0, 0, date, utc, "a", note());
      ocean->getDailyTemperatureDataFor(0, 0, date, utc, "a", note());
      ocean->getDailyTemperatureDataFor(91, 0, date, utc, "b", note());
      ocean->getDailyObservedAirTemperatureDataFor(0, 0, date, utc, "a", note());
      ocean->getDailySwellDataFor(0, 0, date, utc, "a", note());
      if (!isUsa) ocean->getDailyOceanCurrentDataFor(0, 0, date, utc, "a", note());
      ocean->getOceanCurrentDataFor(91, 0, date, date, utc, "a", note());
      ocean->hasCurrentsCoverageFor(0, 0, "a", note());
      ocean->getDailyWindDataFor(0, 0, date, utc, "a", note());
      ocean->getDailyObservedWindDataFor(0, 0, date, utc, "a", note());
      ocean->getDailyForecastWindDataFor(0, 0, date, utc, "a", note());
      start(ocean->getDailySwellData(0, 0, date, utc, "a"), note());
      ASSERT_TRUE(fake.settle());
    }
  }
  UKHOCurrentsDataProvider streams(hostOfTest());
  start(streams.getDailyOceanCurrentData(0, 0, dateFromSeconds(std::nan("")), utc, "a"), note());
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(elsewhere, asked);
}

// A mutex is held over the call and taken by the completion, which asks again.
TEST_F(OceanServiceTest, ThreadsAskFromMemory) {
  struct Asker {
    std::mutex mutex;
    std::atomic<int> answers = 0;
  };
  std::array<Asker, 2> askers;
  const auto ocean = make("usa");
  settled(ocean->getDailySwellData(0, 0, date, utc, "a"));
  std::vector<std::thread> threads;
  threads.reserve(askers.size());
  for (auto& asker : askers) {
    threads.emplace_back([&] {
      for (int asked = 0; asked < 2000; ++asked) {
        {
          const std::lock_guard lock(asker.mutex);
          ocean->getDailySwellDataFor(0, 0, date, utc, "a", [&](const auto&) {
            const std::lock_guard inCompletion(asker.mutex);
            ocean->hasCurrentsCoverageFor(0, 0, "a", [&](bool) {
              const std::lock_guard inAnother(asker.mutex);
              ++asker.answers;
              asker.answers.notify_one();
            });
          });
        }
        asker.answers.wait(asked);
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST_F(OceanServiceTest, DestroyedWithQuestionsOpenItAnswersEachOnceWithNothing) {
  fake.http->hold(marineUrl);
  fake.http->hold(waterUrl);
  fake.http->hold(forecastUrl);
  allowLog("Error fetching");
  allowLog("UKHO Currents fetch error: ");
  fake.http->hold(streamsUrl);
  auto ocean = make("usa");
  auto abroad = make("worldwide");
  const auto none = [&](const char* what) {
    return [once = completions.once(what)](auto record) {
      EXPECT_FALSE(record);
      once();
    };
  };
  ocean->getDailyTemperatureDataFor(0, 0, date, utc, "a", none("temperature"));
  ocean->getTemperatureDataAtTimeFor(0, 0, date, utc, "a", none("temperature at"));
  ocean->getDailySwellDataFor(0, 0, date, utc, "a", none("swell"));
  ocean->getDailyWindDataFor(0, 0, date, utc, "a", none("wind"));
  abroad->getDailyOceanCurrentDataFor(0, 0, date, utc, "a", none("streams"));
  ASSERT_TRUE(fake.http->waitForRequests(4));
  EXPECT_EQ(asked(), 4U) << "both temperatures share one";
  auto never = ocean->getDailySwellData(0, 0, date, utc, "a");
  ocean.reset();
  abroad.reset();
  EXPECT_EQ(completions.outstanding(), 0U);
  EXPECT_EQ(settled(std::move(never)), nullptr) << "a task that is started too late";
}

}  // namespace
}  // namespace marlune::testing
