#include <gtest/gtest.h>

#include <string>

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "marlune/providers/AdmiraltyEvents.h"
#include "marlune/providers/BOMTideParser.h"
#include "marlune/providers/TideDataArchiver.h"
#include "services/ResourceFiles.h"
#include "services/ServicesTest.h"

namespace marlune::services {
namespace {

std::size_t countOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; at += part.size()) ++count;
  return count;
}

class RegionalServicesTest : public ServicesTest {
 protected:
  std::string forecast(int year, const std::string& id) {
    const Received archive = get(fmt::format("/{0}/IDO59001_{0}_{1}.archive", year, id));
    EXPECT_EQ(archive.status, 200);
    return TideDataArchiver::unarchive(archive.text).value_or("");
  }

  Received events(const std::string& id, const std::string& begin, const std::string& end,
                  const Headers& headers = {{"Ocp-Apim-Subscription-Key", "3f9c"}}) {
    return get(
        fmt::format("/uktidalapi-premium/api/V2/Stations/{}/TidalEventsForDateRange?StartDate={}&EndDate={}",
                    id, begin, end),
        headers);
  }
};

TEST_F(RegionalServicesTest, aForecastHoldsItsPortsYear) {
  const struct {
    const char* id;
    int year;
    std::size_t days;
    std::int64_t begin;  // of the year at the port
    std::int64_t end;
  } cases[] = {
      {"VIC_TP002", 2024, 366, at("2023-12-31 13:00"), at("2024-12-31 13:00")},
      {"WA_TP015", 2025, 365, at("2024-12-31 16:00"), at("2025-12-31 16:00")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    const std::string xml = forecast(c.year, c.id);
    EXPECT_EQ(countOf(xml, "<forecast-period index="), c.days);
    EXPECT_EQ(countOf(xml, "<element type=\"tide_forecast_datum\">LAT</element>"), 1U);
    EXPECT_TRUE(countOf(xml, "moon_phase") == 49 || countOf(xml, "moon_phase") == 50);
    BOMTideParser parser;
    const auto events = parser.getTideEventsFromData(xml);
    EXPECT_FALSE(parser.error);
    EXPECT_GE(events.front().timestamp, c.begin);
    EXPECT_LT(events.front().timestamp, c.begin + 86400);
    EXPECT_LT(events.back().timestamp, c.end);
    EXPECT_GE(events.back().timestamp, c.end - 86400);
  }
}

TEST_F(RegionalServicesTest, daysOfAForecastFollowTheClocksOfThePlace) {
  const std::string xml = forecast(2025, "NSW_TP003");
  // Lord Howe turns by half an hour: a day of 24.5 hours.
  for (const char* period : {"index=\"95\" start-time-local=\"2025-04-05T00:00:00+11:00\" "
                             "end-time-local=\"2025-04-05T23:59:59+11:00\" "
                             "start-time-utc=\"2025-04-04T13:00:00Z\" end-time-utc=\"2025-04-05T12:59:00Z\"",
                             "index=\"96\" start-time-local=\"2025-04-06T00:00:00+11:00\" "
                             "end-time-local=\"2025-04-06T23:59:59+10:30\" "
                             "start-time-utc=\"2025-04-05T13:00:00Z\" end-time-utc=\"2025-04-06T13:29:00Z\""})
    EXPECT_EQ(countOf(xml, period), 1U) << period;
  // An element, its time both ways: the local one agrees with its day and with the other.
  EXPECT_EQ(
      countOf(xml,
              "sequence=\"1\" time-local=\"2025-04-06T03:20:00+10:30\" time-utc=\"2025-04-05T16:50:00Z\" "
              "units=\"metres\">"),
      1U);
}

TEST_F(RegionalServicesTest, theShippedArchiveIsTheForecastOf2024) {
  const auto document = TideDataArchiver::unarchive(fileText(resourceFile("2024VIC_TP002.archive")));
  ASSERT_TRUE(document);
  EXPECT_TRUE(*document == forecast(2024, "VIC_TP002")) << "run tools/make-year-files";
}

TEST_F(RegionalServicesTest, whatTheStoreDoesNotHaveIsNotFound) {
  for (const char* path : {"/2025/IDO59001_2024_VIC_TP002.archive", "/2101/IDO59001_2101_VIC_TP002.archive",
                           "/2025/IDO59001_2025_%3C&.archive"}) {
    const Received answer = get(path);
    EXPECT_EQ(answer.status, 404) << path;
    EXPECT_EQ(countOf(answer.text, "<Code>NoSuchKey</Code>"), 1U) << path;
  }
}

TEST_F(RegionalServicesTest, eventsAreOfTheRangeOrRefused) {
  EXPECT_EQ(events("0082", "2025-01-01", "2025-01-02", {}).status, 401);
  const struct {
    const char* id;
    const char* begin;
    const char* end;
    int status;
  } cases[] = {

      {"9999", "2025-01-01", "2025-01-02", 404},
      {"0082", "2025-02-29", "2025-03-01", 400},
      {"0082", "1900-01-01", "2100-12-31", 400},
  };
  for (const auto& c : cases) {
    const Received answer = events(c.id, c.begin, c.end);
    EXPECT_EQ(answer.status, c.status) << c.begin;
    EXPECT_LT(answer.text.size(), 251U);
    rapidjson::Document object;
    object.Parse(answer.text.data(), answer.text.size());
    ASSERT_TRUE(object.IsObject());
    EXPECT_EQ(object["statusCode"].GetInt(), c.status);
  }
  const Received year = events("0082", "2025-01-01%2000:00:00", "2025-12-31%2000:00:00");
  const auto reading = admiralty_events::read(year.text);
  ASSERT_TRUE(reading.events);
  EXPECT_TRUE(reading.events->size() > 1400 && reading.events->size() < 1414) << "in 364 days";
  EXPECT_GE(reading.events->front().timestamp, at("2025-01-01 00:00"));
  EXPECT_LT(reading.events->back().timestamp, at("2025-12-31 00:00"));
}

}  // namespace
}  // namespace marlune::services
