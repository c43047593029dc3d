#include "marlune/global/PelagoraService.h"

#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <future>
#include <random>

#include "marlune/formats/JsonReaders.h"
#include "marlune/global/GlobalTides.h"
#include "marlune/global/TidePoints.h"
#include "support/HostTest.h"

namespace marlune::testing {
namespace {

constexpr const char* pointsUrl = "https://tides.test/tide-points";
constexpr const char* londonUrl = "https://tides.test/tides?lat=51.5&lon=-0.1275&year=2025&agencies=none";
constexpr const char* londonFile = "pelagora_tides_v2_none_51.5000_-0.1275_2025.json";
constexpr const char* twoEvents =
    R"({"tide_events":[{"time":"2025-01-01T03:00:00Z","level":1.5,"is_high":true},
                       {"time":"2025-01-01T09:00:00Z","level":-0.25}]})";

using Stations = PelagoraService::Stations;
using Events = PelagoraService::Events;

struct Application : ApplicationBundle {
  std::optional<std::string> regionName;
  std::optional<std::string> baseURL;
  std::optional<std::string> region() const override { return regionName; }
  std::optional<std::string> information(std::string_view key) const override {
    return key == "PelagoraBaseURL" ? baseURL : std::nullopt;
  }
};

class PelagoraServiceTest : public HostTest {
 protected:
  PelagoraServiceTest() {
    fake.application = application;
    application->baseURL = "https://tides.test/";
    service = make();
  }

  std::unique_ptr<PelagoraService> make() {
    const Host host = fake.host();
    files = std::make_shared<FileAccess>(host.folders, host.files);
    return std::make_unique<PelagoraService>(host, files);
  }

  template <class Result>
  auto into(Result& result) {
    return [&, once = completions.once("answer")](auto got) {
      result = std::move(got);
      once();
    };
  }
  std::optional<Stations> points() {
    std::optional<Stations> result;
    service->fetchTidePointsWithCompletionHandler(into(result));
    EXPECT_TRUE(fake.settle());
    return result;
  }
  Events year(double lat, double lon, std::int64_t year) {
    Events result;
    service->fetchGlobalTidesWithLat(lat, lon, year, into(result));
    EXPECT_TRUE(fake.settle());
    return result;
  }

  std::string kept(const std::string& name) {
    const Data data = files->loadFileInContainer(kGroupContainerName, name);
    return data ? *data : "none";
  }

  std::shared_ptr<Application> application = std::make_shared<Application>();
  std::shared_ptr<FileAccess> files;
  std::unique_ptr<PelagoraService> service;
};

// --- The documents ---

std::string pointWith(const std::string& fields) {
  return R"([{"id":5,"lat":1,"lon":2)" + fields + "}]";
}

TEST(TidePointsTest, APointBecomesAStation) {
  JsonReaders readers;
  const auto stations = tide_points::stationsOf(
      "\xEF\xBB\xBF"
      R"( [{"id":-3,"lat":-33.8688,"lon":151.2093,"name":" \u00a0\n","city":null,"extra":[1]},
         {"id":51.0,"lat":900,"lon":7.5,"name":" a\u0000b\u3000","city":" C\t","country":"\u2009U K ",
          "timezone":" Europe/London\r","name":7},
         {"id":9223372036854775807,"lat":1234567890123456789012345678901234567890,"lon":-0.0,
          "x":[1e400,-9e999,123456789012345678901234567890]}] )",
      readers);
  ASSERT_TRUE(stations);
  ASSERT_EQ(stations->size(), 3U);
  const TideStation& bare = *stations->at(0);
  EXPECT_EQ(bare.stationId, "global_-3");
  EXPECT_EQ(bare.stationName, "33.869°S 151.209°E");
  EXPECT_EQ(bare.timezoneName, "Etc/GMT-10");
  EXPECT_EQ(bare.coordinate, (Coordinate{-33.8688, 151.2093}));
  EXPECT_TRUE(bare.isGlobal && !bare.hasResolvedName && !bare.isSubordinate && !bare.stationAreaId);
  const TideStation& full = *stations->at(1);
  EXPECT_EQ(full.stationName, std::string("a\0b", 3));
  EXPECT_EQ(full.country, "U K");
  EXPECT_EQ(full.timezoneName, "Europe/London");
  EXPECT_TRUE(full.hasResolvedName);
  EXPECT_EQ(stations->at(2)->stationExtId, "9223372036854775807");
}

TEST(TidePointsTest, OneBadPointSpoilsTheList) {
  JsonReaders readers;
  EXPECT_TRUE(tide_points::stationsOf(pointWith(""), readers));
  EXPECT_TRUE(tide_points::stationsOf(pointWith(R"(,"name":")" + std::string(1 << 20, 'n') + '"'), readers));
  EXPECT_EQ(tide_points::stationsOf("[]", readers)->size(), 0U);
  for (const char* const fields :
       {R"("id":5,"lon":2)", R"("id":5.5,"lat":1,"lon":2)", R"("id":9223372036854775808,"lat":1,"lon":2)",
        R"("id":5,"lat":1,"lon":1e400)", R"("id":5,"lat":1,"lon":2,"name":1)",
        "\"id\":5,\"lat\":1,\"lon\":2,\"name\":\"\xff\"", R"("id":5,"lat":1,"lon":2,"x":1.e999)"})
    EXPECT_FALSE(tide_points::stationsOf("[{" + std::string(fields) + "}]", readers)) << fields;
  const std::string spoiled[] = {"{}", "[null]", pointWith("") + "x",
                                 pointWith(R"(,"x":)" + std::string(2000, '[') + std::string(2000, ']'))};
  for (const auto& text : spoiled) EXPECT_FALSE(tide_points::stationsOf(text, readers)) << text.substr(0, 80);
}

TEST(TidePointsTest, ALongitudeHasAZone) {
  const std::pair<double, const char*> zones[] = {{7.4, ""},  {7.5, "-1"},   {-7.4, ""},     {-7.5, "+1"},
                                                  {75, "-5"}, {-190, "+12"}, {1e300, "-12"}, {-0.0, ""}};
  for (const auto& [longitude, zone] : zones) {
    EXPECT_EQ(tide_points::zoneOfLongitude(longitude), std::string("Etc/GMT") + zone) << longitude;
  }
}

TEST(TidePointsTest, ALabelRoundsAsThePlainFormatterDoes) {
  EXPECT_EQ(tide_points::coordinateLabel({-0.0, -1e-9}), "0.000°N 0.000°W");
  const auto plain = [](double latitude) {
    std::array<char, 400> room{};
    std::snprintf(room.data(), room.size(), "%.3f", latitude);
    return std::string(room.data()) + "°N 12.000°E";
  };
  std::mt19937_64 random(3);
  for (int i = 0; i < 20'000; ++i) {
    const double near = static_cast<double>(random() % 360'000) / 2000;  // ties, and what lies beside them
    for (const double latitude : {near, std::nextafter(near, 0.0), std::nextafter(near, 200.0)}) {
      ASSERT_EQ(tide_points::coordinateLabel({latitude, 12}), plain(latitude));
    }
  }
  EXPECT_EQ(tide_points::coordinateLabel({1e300, 12}), plain(1e300));
}

TEST(GlobalTidesTest, EventsKeepTheirOrderAndUnits) {
  JsonReaders readers;
  const auto events = global_tides::eventsOf(
      R"({"source":"x","level_in_meters":false,"tide_events":[
         {"time":"2025-01-01T03:04:05.123Z","level":-1e-3,"is_high":true,"level_in_meters":true},
         {"time":"2025-02-30T00:00:00Z","level":1},
         {"time":"2025-01-01T03:04:05+05:30","level":2,"is_high":null,"level":"x"}],"tide_events":7})",
      readers);
  ASSERT_EQ(events.size(), 2U);
  TideEvent first(1'735'700'645, -0.001, true);
  first.tideLevelInMeters = true;
  EXPECT_EQ(events[0], first);
  EXPECT_EQ(events[1], TideEvent(1'735'700'645 - 19'800, 2, false));
  EXPECT_TRUE(global_tides::eventsOf(twoEvents, readers)[1].tideLevelInMeters) << "metres unless told";
}

TEST(GlobalTidesTest, WhatIsNotAsItMustBeHasNoEvents) {
  JsonReaders readers;
  const std::string good = R"({"time":"2025-01-01T00:00:00Z","level":1})";
  const auto count = [&](const std::string& text) { return global_tides::eventsOf(text, readers).size(); };
  ASSERT_EQ(count(R"({"tide_events":[)" + good + "]}"), 1U);
  for (const char* const rest : {R"("source":1)", R"("level_in_meters":1)"}) {
    EXPECT_EQ(count(std::string("{") + rest + R"(,"tide_events":[)" + good + "]}"), 0U) << rest;
  }
  for (const char* const bad :
       {"null", R"({"level":1})", R"({"time":1,"level":1})", R"({"time":"2025-01-01T00:00:00Z"})"}) {
    EXPECT_EQ(count(R"({"tide_events":[)" + good + "," + bad + "]}"), 0U) << bad;
  }
  for (const char* const text : {"", "[]", "{}", R"({"tide_events":{}})"}) EXPECT_EQ(count(text), 0U) << text;
}

// --- The service ---

TEST_F(PelagoraServiceTest, TheBaseAddressComesFromTheFirstThatTellsOne) {
  fake.settings.globalTidesBaseURL = "https://own.test//";
  const auto base = [&](std::optional<std::string> told) {
    application->baseURL = std::move(told);
    return make()->baseURL;
  };
  EXPECT_EQ(base("https://a.test/x/"), "https://a.test/x");
  EXPECT_EQ(base(std::nullopt), "https://own.test");
  fake.settings.servicesBaseURL = "http://local.test:1/";
  EXPECT_EQ(base(""), "http://local.test:1");
  fake.settings = {};
  EXPECT_EQ(base(""), "https://global-tides.marlune.example");
  for (const char* const wrong : {"ftp://a.test", "https:///x", "tides"}) {
    application->baseURL = wrong;
    service = make();
    EXPECT_FALSE(points()) << wrong;
    EXPECT_TRUE(year(1, 2, 2025).empty());
  }
  EXPECT_TRUE(fake.http->requests().empty());
}

TEST_F(PelagoraServiceTest, PointsAreStoredAsTheyCame) {
  EXPECT_TRUE(service->cachedTidePoints().empty());
  const std::string body = " " + pointWith("") + "\n";
  fake.http->script(pointsUrl, answerOf(body));
  ASSERT_TRUE(points());
  EXPECT_EQ(kept("pelagora_points.json"), body);
  for (const auto& bad : {answerOf("[]", 201), answerOf("[]", 500), answerOf("[{}]"), failedAnswer("cut")}) {
    fake.http->script(pointsUrl, bad);
    EXPECT_FALSE(points());
    EXPECT_EQ(kept("pelagora_points.json"), body);
  }
  EXPECT_EQ(service->cachedTidePoints().size(), 1U);
  fake.http->script(pointsUrl, answerOf("[]"));
  ASSERT_TRUE(points());
  EXPECT_EQ(kept("pelagora_points.json"), "[]");
  EXPECT_TRUE(service->cachedTidePoints().empty());
  EXPECT_EQ(fake.http->requests().back().maximumBodySize, std::size_t{64} << 20);
}

TEST_F(PelagoraServiceTest, AYearIsAskedForUntilItHasEvents) {
  for (const auto& bad : {answerOf(R"({"tide_events":[]})"), answerOf(twoEvents, 404), answerOf("<html>"),
                          failedAnswer("unreachable")}) {
    fake.http->script(londonUrl, bad);
    EXPECT_TRUE(year(51.5, -0.1275, 2025).empty());
    EXPECT_EQ(kept(londonFile), "none");
  }
  ASSERT_TRUE(files->saveFileInContainer(kGroupContainerName, londonFile, R"({"tide_events":[]})"));
  fake.http->script(londonUrl, answerOf(twoEvents));
  EXPECT_EQ(year(51.5, -0.1275, 2025).size(), 2U);
  EXPECT_EQ(kept(londonFile), twoEvents);
  EXPECT_EQ(fake.http->requests().size(), 5U);
  EXPECT_EQ(year(51.5, -0.1275, 2025).size(), 2U);
  EXPECT_EQ(year(51.50001, -0.12749, 2025).size(), 2U) << "the same to four decimals";
  EXPECT_EQ(fake.http->requests().size(), 5U);
}

TEST_F(PelagoraServiceTest, RequestsAndFileNamesAreLetterForLetter) {
  struct Case {
    const char* region;
    double lat, lon;
    std::int64_t year;
    const char *query, *file;
  };
  const Case cases[] = {
      {"worldwide", 10, -0.0, 2025, "lat=10.0&lon=-0.0&year=2025&agencies=noaa,ukho,aus",
       "noaa,ukho,aus_10.0000_-0.0000_2025"},
      {"aus", -33.86885, 151.20929999999998, -1,
       "lat=-33.86885&lon=151.20929999999998&year=-1&agencies=noaa,aus", "noaa,aus_-33.8689_151.2093_-1"},
      {"usa", 0.00001, 1.5e17, 0, "lat=1e-05&lon=1.5e%2B17&year=0&agencies=none",
       "none_0.0000_150000000000000000.0000_0"}};
  for (const Case& one : cases) {
    application->regionName = one.region;
    service = make();
    const std::string url = std::string("https://tides.test/tides?") + one.query;
    fake.http->script(url, answerOf(twoEvents));
    EXPECT_EQ(year(one.lat, one.lon, one.year).size(), 2U);
    EXPECT_EQ(fake.http->requests().back().url, url);
    EXPECT_EQ(kept(std::string("pelagora_tides_v2_") + one.file + ".json"), twoEvents);
  }
}

Task<std::string> both(PelagoraService* service) {
  const auto stations = co_await service->fetchTidePoints();
  const auto events = co_await service->fetchGlobalTides(51.5, -0.1275, 2025);
  co_return std::to_string(stations ? stations->size() : 0) + " " + std::to_string(events.size());
}

TEST_F(PelagoraServiceTest, TasksWaitForTheSameRequests) {
  fake.http->hold(pointsUrl);
  fake.http->script(londonUrl, answerOf(twoEvents));
  std::atomic<int> right = 0;
  for (int i = 0; i < 3; ++i) {
    start(both(service.get()), [&, once = completions.once("task")](const std::string& counts) {
      if (counts == "1 2" && !fake.mainThread->isMainThread()) ++right;
      once();
    });
  }
  ASSERT_TRUE(fake.http->waitForRequests(1));
  service->fetchTidePointsWithCompletionHandler(nullptr);
  ASSERT_TRUE(fake.http->answer(pointsUrl, answerOf(pointWith(""))));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(right, 3);
  EXPECT_FALSE(fake.http->answer(pointsUrl, answerOf("[]"))) << "one request for all";
}

TEST_F(PelagoraServiceTest, ItsEndEndsEveryWait) {
  for (const bool fromWithin : {false, true}) {
    service = make();
    fake.http->hold(pointsUrl);
    fake.http->hold(londonUrl);
    fake.http->script("https://tides.test/tides?lat=1.0&lon=2.0&year=2025&agencies=none",
                      answerOf(twoEvents));
    for (int i = 0; i < 3; ++i) {
      start(both(service.get()), [once = completions.once("task")](const std::string&) { once(); });
      service->fetchGlobalTidesWithLat(51.5, -0.1275, 2025,
                                       [once = completions.once("year")](const Events& events) {
                                         EXPECT_TRUE(events.empty());
                                         once();
                                       });
    }
    if (fromWithin) {
      std::promise<void> ended;
      service->fetchGlobalTidesWithLat(1, 2, 2025, [&](const Events& events) {
        EXPECT_EQ(events.size(), 2U);
        service.reset();
        EXPECT_EQ(completions.outstanding(), 0U);
        ended.set_value();
      });
      ended.get_future().wait();
    } else {
      service.reset();
    }
    EXPECT_EQ(completions.outstanding(), 0U);
  }
}

}  // namespace
}  // namespace marlune::testing
