#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "marlune/platform/linux/CurlHttpClient.h"
#include "marlune/providers/AdmiraltyEvents.h"
#include "marlune/providers/BOMTideParser.h"
#include "marlune/providers/TideDataArchiver.h"
#include "services/LocalServices.h"

namespace marlune::services {
namespace {

std::int64_t seconds(int year, int month, int day, int hour = 0, int minute = 0) {
  const std::chrono::sys_seconds date = std::chrono::sys_days(std::chrono::year(year) / month / day);
  return date.time_since_epoch().count() + hour * 3600 + minute * 60;
}

std::size_t countOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; at += part.size()) ++count;
  return count;
}

struct Received {
  int status = 0;
  std::string text;
};

class RegionalServicesTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(services.start(), "") << services.error(); }

  Received get(const std::string& target, bool withKey = true, const std::string& key = "") {
    HttpRequest request{.url = services.address() + target};
    if (withKey) request.headers.emplace_back("Ocp-Apim-Subscription-Key", key);
    std::promise<Received> promise;
    auto received = promise.get_future();
    client.send(std::move(request), [&](const HttpAnswer& answer) {
      promise.set_value({answer.status, answer.body ? std::string(*answer.body) : ""});
    });
    return received.get();
  }

  std::string forecast(int year, const std::string& id) {
    const Received archive = get(fmt::format("/{0}/IDO59001_{0}_{1}.archive", year, id));
    EXPECT_EQ(archive.status, 200);
    return TideDataArchiver::unarchive(archive.text).value_or("");
  }

  Received events(const std::string& id, const std::string& begin, const std::string& end,
                  bool withKey = true, const std::string& key = "") {
    return get(
        fmt::format("/uktidalapi-premium/api/V2/Stations/{}/TidalEventsForDateRange?StartDate={}&EndDate={}",
                    id, begin, end),
        withKey, key);
  }

  LocalServices services{{MARLUNE_SOURCE_RESOURCES, "", 0}};
  CurlHttpClient client;
};

TEST_F(RegionalServicesTest, aForecastHoldsItsPortsYear) {
  const struct {
    const char* id;
    int year;
    bool semidiurnal;    // a high water every 12 h 25 min, or at times only one a day
    std::int64_t begin;  // of the year at the port
    std::int64_t end;
  } cases[] = {
      {"VIC_TP002", 2024, true, seconds(2023, 12, 31, 13), seconds(2024, 12, 31, 13)},
      {"WA_TP015", 2025, false, seconds(2024, 12, 31, 16), seconds(2025, 12, 31, 16)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    const std::string xml = forecast(c.year, c.id);
    EXPECT_EQ(countOf(xml, "<forecast-period index="), c.year == 2024 ? 366U : 365U);
    EXPECT_EQ(countOf(xml, "<element type=\"tide_forecast_datum\">LAT</element>"), 1U);
    EXPECT_TRUE(countOf(xml, "moon_phase") == 49 || countOf(xml, "moon_phase") == 50);
    EXPECT_EQ(countOf(xml, "NOT FOR NAVIGATION"), 1U);
    BOMTideParser parser;
    const auto events = parser.getTideEventsFromData(xml);
    EXPECT_FALSE(parser.error);
    EXPECT_GT(events.size(), c.semidiurnal ? 1405U : 705U);
    EXPECT_LT(events.size(), c.semidiurnal ? 1418U : 1300U);
    EXPECT_GE(events.front().timestamp, c.begin);
    EXPECT_LT(events.back().timestamp, c.end);
    for (std::size_t i = 1; i < events.size(); ++i) {
      ASSERT_GT(events[i].timestamp, events[i - 1].timestamp);
      ASSERT_NE(events[i].isHighTide, events[i - 1].isHighTide);
    }
    const auto next = BOMTideParser().getTideEventsFromData(forecast(c.year + 1, c.id));
    EXPECT_GE(next.front().timestamp, c.end);
    EXPECT_LT(next.front().timestamp - events.back().timestamp, 86400);
    EXPECT_NE(next.front().isHighTide, events.back().isHighTide) << "the years meet without gap or overlap";
  }
}

TEST_F(RegionalServicesTest, daysOfAForecastFollowTheClocksOfThePlace) {
  const std::string xml = forecast(2025, "NSW_TP003");
  // Lord Howe turns by half an hour: days of 24.5 and 23.5 hours.
  for (const char* period : {"index=\"95\" start-time-local=\"2025-04-05T00:00:00+11:00\" "
                             "end-time-local=\"2025-04-05T23:59:59+11:00\" "
                             "start-time-utc=\"2025-04-04T13:00:00Z\" end-time-utc=\"2025-04-05T12:59:00Z\"",
                             "index=\"96\" start-time-local=\"2025-04-06T00:00:00+11:00\" "
                             "end-time-local=\"2025-04-06T23:59:59+10:30\" "
                             "start-time-utc=\"2025-04-05T13:00:00Z\" end-time-utc=\"2025-04-06T13:29:00Z\"",
                             "index=\"278\" start-time-local=\"2025-10-05T00:00:00+10:30\" "
                             "end-time-local=\"2025-10-05T23:59:59+11:00\" "
                             "start-time-utc=\"2025-10-04T13:30:00Z\" end-time-utc=\"2025-10-05T12:59:00Z\""})
    EXPECT_EQ(countOf(xml, period), 1U) << period;
  // An element, its time both ways: the local one agrees with its day and with the other.
  EXPECT_EQ(
      countOf(xml,
              "sequence=\"1\" time-local=\"2025-04-06T03:20:00+10:30\" time-utc=\"2025-04-05T16:50:00Z\" "
              "units=\"metres\">"),
      1U);
}

TEST_F(RegionalServicesTest, theShippedArchiveIsTheForecastOf2024) {
  std::ifstream in(std::string(MARLUNE_SOURCE_RESOURCES) + "/2024VIC_TP002.archive", std::ios::binary);
  const std::string file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const auto document = TideDataArchiver::unarchive(file);
  ASSERT_TRUE(document);
  EXPECT_TRUE(*document == forecast(2024, "VIC_TP002")) << "run tools/make-year-files";
  EXPECT_LT(file.size(), 30000U);
}

TEST_F(RegionalServicesTest, whatTheStoreDoesNotHaveIsNotFound) {
  for (const char* path : {"/2025/IDO59001_2024_VIC_TP002.archive", "/2025/IDO59001_2025_.archive", "/20",
                           "/2101/IDO59001_2101_VIC_TP002.archive", "/2025/IDO59001_2025_%3C&.archive"}) {
    const Received answer = get(path);
    EXPECT_EQ(answer.status, 404) << path;
    EXPECT_EQ(countOf(answer.text, "<Code>NoSuchKey</Code>"), 1U) << path;
  }
}

TEST_F(RegionalServicesTest, eventsAreOfTheRange) {
  const Received year = events("0082", "2025-01-01%2000:00:00", "2025-12-31%2000:00:00");
  const auto reading = admiralty_events::read(year.text);
  ASSERT_TRUE(reading.events);
  EXPECT_TRUE(reading.events->size() > 1400 && reading.events->size() < 1414) << "in 364 days";
  EXPECT_GE(reading.events->front().timestamp, seconds(2025, 1, 1));
  EXPECT_LT(reading.events->back().timestamp, seconds(2025, 12, 31));
  for (std::size_t i = 1; i < reading.events->size(); ++i) {
    const TideEvent &before = (*reading.events)[i - 1], &after = (*reading.events)[i];
    ASSERT_TRUE(before.timestamp < after.timestamp && before.isHighTide != after.isHighTide);
  }
}

TEST_F(RegionalServicesTest, whatTheEventsAreNotGivenFor) {
  const struct {
    const char* id;
    const char* begin;
    const char* end;
    bool withKey;
    int status;
  } cases[] = {
      {"0082", "2025-01-01", "2025-01-02", false, 401}, {"9999", "2025-01-01", "2025-01-02", true, 404},
      {"0082", "2025-01-02", "2025-01-01", true, 400},  {"0082", "2025-02-29", "2025-03-01", true, 400},
      {"0082", "1900-01-01", "2100-12-31", true, 400},
  };
  for (const auto& c : cases) {
    const Received answer = events(c.id, c.begin, c.end, c.withKey);
    EXPECT_EQ(answer.status, c.status) << c.begin;
    EXPECT_LT(answer.text.size(), 251U);
    rapidjson::Document object;
    object.Parse(answer.text.data(), answer.text.size());
    ASSERT_TRUE(object.IsObject());
    EXPECT_EQ(object["statusCode"].GetInt(), c.status);
  }
  EXPECT_EQ(events("0082", "2025-01-01", "2025-01-02", true, "3f9c").status, 200);
}

}  // namespace
}  // namespace marlune::services
