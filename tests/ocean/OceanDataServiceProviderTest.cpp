#include "marlune/ocean/OceanDataServiceProvider.h"

#include <fmt/format.h>

#include <thread>

#include "support/HostTest.h"

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
class OceanServiceTest : public HostTest {
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

  OceanServiceTest() {
    fake.settings.servicesBaseURL = "http://s";
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

  void scriptCurrents(const std::string& query, const std::string& body) {
    const std::string url = "http://s/api/prod/datagetter?" + query;
    fake.http->script(url, answerOf(body));
  }

  std::unique_ptr<Ocean> make(std::optional<std::string> region) {
    fake.application = std::make_shared<RegionalBundle>(std::move(region));
    const Host host = fake.host();
    return std::make_unique<Ocean>(host, std::make_shared<SeriesDiskCache>(host),
                                   std::make_shared<OpenMeteoWindProvider>(host));
  }

  /// The answer of a question; a record of any kind.
  template <class T>
  T get(Task<T> task) {
    T result{};
    start(std::move(task), [&result, once = completions.once("question")](T value) {
      result = std::move(value);
      once();
    });
    EXPECT_TRUE(fake.settle());
    return result;
  }

  /// What the requests since the last call asked for.
  Names asked() {
    Names names;
    const auto all = fake.http->requests();
    for (; seen_ < all.size(); ++seen_) {
      const std::string& url = all[seen_].url;
      const auto product = url.find("product=");
      if (product != std::string::npos) {
        names.push_back(url.substr(product + 8, url.find('&', product) - product - 8));
      } else {
        names.push_back(url.find("/v1/") != std::string::npos
                            ? url.substr(url.find("/v1/") + 4, url.find('?') - url.find("/v1/") - 4)
                        : url.find("/gridpoints/") != std::string::npos ? "grid"
                        : url.find("/points/") != std::string::npos     ? "points"
                        : url.find("/Streams/") != std::string::npos    ? "streams"
                                                                        : url);
      }
    }
    return names;
  }

  template <class Record>
  static std::string first(const std::shared_ptr<const Record>& record) {
    if (!record) return "none";
    return record->timeSeries.empty() ? "empty" : fmt::format("{:.4g}", record->timeSeries[0]->value);
  }

  const TimeZone utc;
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
    EXPECT_EQ(first(get(ocean->getDailyTemperatureData(0, 0, date, utc, "a"))), usa ? "11.5" : "10.5");
    EXPECT_EQ(asked(), Names{usa ? "water_temperature" : "marine"});
    EXPECT_EQ(first(get(ocean->getTemperatureDataAtTime(0, 0, date, utc, "a"))), usa ? "11.5" : "10.5");
    EXPECT_EQ(asked(), Names{}) << "the day is known";
    EXPECT_EQ(first(get(ocean->getDailySwellData(0, 0, date, utc, "a"))), "3");
    EXPECT_EQ(asked(), usa ? Names{"marine"} : Names{});
    EXPECT_EQ(first(get(ocean->getDailyWindData(0, 0, date, utc, "a"))), "8");
    EXPECT_EQ(asked(), Names{"forecast"});
    EXPECT_EQ(first(get(ocean->getDailyObservedAirTemperatureData(0, 0, date, utc, "a"))),
              usa ? "12.5" : "none");
    EXPECT_EQ(asked(), usa ? Names{"air_temperature"} : Names{});
    EXPECT_EQ(first(get(ocean->getDailyObservedWindData(0, 0, date, utc, "a"))), usa ? "7" : "none");
    EXPECT_EQ(asked(), usa ? Names{"wind"} : Names{});
    EXPECT_EQ(first(get(ocean->getDailyForecastWindData(0, 0, date, utc, "a"))), usa ? "10" : "none");
    EXPECT_EQ(asked(), usa ? (Names{"points", "grid"}) : Names{});
    EXPECT_EQ(get(ocean->hasCurrentsCoverage(0, 0, "a")), usa || region == "worldwide");
    EXPECT_FALSE(get(ocean->hasCurrentsCoverage(0, 1, "b"))) << "111 km away";
    EXPECT_FALSE(get(ocean->hasCurrentsCoverage(91, 0, "a")));
    if (!usa && region != "worldwide") {
      EXPECT_EQ(get(ocean->getDailyOceanCurrentData(0, 0, date, utc, "a")), nullptr);
      EXPECT_EQ(get(ocean->getOceanCurrentData(0, 0, date, date, utc, "a")), nullptr);
    }
    EXPECT_EQ(asked(), Names{});
  }
  for (const auto& request : fake.http->requests()) {
    if (request.url != gridUrl && request.url != pointsUrl) continue;
    const std::vector<std::pair<std::string, std::string>> headers = {
        {"Accept", "application/geo+json"}, {"User-Agent", "Korvantis (tides@example.org)"}};
    EXPECT_EQ(request.headers, headers);
  }
}

TEST_F(OceanServiceTest, CurrentsComeFromSixHoursBeforeTheDate) {
  fake.settings.admiraltySubscriptionKey = "key";
  const std::string streams =
      "http://s/uktidalapi-premium/api/V2/Streams/S1/"
      "TidalStreamRates?dateTime=2025-03-05T06:00:00Z&duration=32&interval=30";
  fake.http->script(
      streams,
      answerOf(
          R"([{"DateTime":"2025-03-05T06:00:00Z","Speed":1,"Bearing":90},{"DateTime":"2025-03-06T12:00:00Z","Speed":0.01,"Bearing":270}])"));
  const auto ocean = make("worldwide");
  const auto record = get(ocean->getDailyOceanCurrentData(0, 0, date, utc, "a"));
  EXPECT_EQ(first(record), "1.944");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->events.size(), 2U);
  EXPECT_EQ(asked(), Names{"streams"});
  EXPECT_EQ(fake.http->requests().back().headers.at(0).second, "key");
}

TEST_F(OceanServiceTest, WaterFallsBackToTheForecast) {
  const struct {
    const char* body;
    int status;
    const char* log;
  } failures[] = {{R"({"data":[{"t":"2025-03-05 12:00","v":""}]})", 200, ""},
                  {R"({"error":{"message":"No data was found."}})", 200, "Error fetching temerature data: "},
                  {"", 500, "Error fetching temerature data: "}};
  for (const auto& [body, status, log] : failures) {
    SCOPED_TRACE(body);
    fake.files = std::make_shared<MemoryFileSystem>(fake.clock);
    fake.http->script(waterUrl, answerOf(body, status));
    if (*log != '\0') expectLog(log);
    const auto ocean = make("usa");
    EXPECT_EQ(first(get(ocean->getDailyTemperatureData(0, 0, date, utc, "a"))), "10.5");
    EXPECT_EQ(asked(), (Names{"water_temperature", "marine"}));
  }
}

TEST_F(OceanServiceTest, ASourceThatHangsHoldsUpNoOther) {
  fake.http->hold(marineUrl);
  const auto ocean = make("usa");
  std::shared_ptr<const SwellData> swell;
  ocean->getDailySwellDataFor(0, 0, date, utc, "a", [&, once = completions.once("swell")](auto record) {
    swell = std::move(record);
    once();
  });
  ASSERT_TRUE(fake.http->waitForRequests(1));
  std::shared_ptr<const WindData> wind;
  Completions others;
  ocean->getDailyWindDataFor(0, 0, date, utc, "a", [&, once = others.once("wind")](auto record) {
    wind = std::move(record);
    once();
  });
  ASSERT_TRUE(others.wait());
  EXPECT_EQ(first(wind), "8");
  EXPECT_EQ(swell, nullptr);
  fake.http->answer(marineUrl, answerOf("{}"));
  allowLog("marine");
  EXPECT_TRUE(fake.settle());
}

TEST_F(OceanServiceTest, DestroyedWithQuestionsOpenItAnswersEachOnceWithNothing) {
  fake.http->hold(marineUrl);
  fake.http->hold(waterUrl);
  fake.http->hold(forecastUrl);
  allowLog("Error fetching");
  auto ocean = make("usa");
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
  ASSERT_TRUE(fake.http->waitForRequests(3));
  auto never = ocean->getDailySwellData(0, 0, date, utc, "a");
  ocean.reset();
  EXPECT_EQ(completions.outstanding(), 0U);
  EXPECT_EQ(get(std::move(never)), nullptr) << "a task that is started too late";
}

}  // namespace
}  // namespace marlune::testing
