#include "services/CoopsService.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <memory>
#include <string>

#include "services/AskService.h"
#include "services/Harmonics.h"

namespace marlune::services {
namespace {

using rapidjson::Value;

class CoopsServiceTest : public ::testing::Test {
 protected:
  Answer coops(const std::string& query) {
    return ask(service, "/api/prod/datagetter?time_zone=gmt&application=any&format=json&" + query);
  }

  const CoopsService service{{&harmonics(), [](const HarmonicDatabase*) {}},
                             std::make_shared<const ListedStations>(MARLUNE_SOURCE_RESOURCES),
                             [] { return at("2025-03-05 12:34"); }};
};

TEST_F(CoopsServiceTest, observationsEndNowAndAreTexts) {
  const std::string day = "begin_date=20250305 00:00&end_date=20250306 00:00&station=9413450&interval=h";
  const Answer water = coops(day + "&product=water_temperature&units=metric");
  EXPECT_TRUE(water.plain.body.starts_with(
      "\n{\"metadata\":{\"id\":\"9413450\",\"name\":\"Monterey\",\"lat\":\"36.6089\",\"lon\":\"-121.8914\"}, "
      "\"data\": [{\"t\":\"2025-03-05 00:00\", \"v\":\""))
      << water.plain.body.substr(0, 200);
  const auto& rows = water.json["data"];
  ASSERT_EQ(rows.Size(), 13U) << "up to 12:00";
  EXPECT_STREQ(rows[12]["t"].GetString(), "2025-03-05 12:00");
  const Answer wind = coops(day + "&product=wind&units=english");
  ASSERT_EQ(wind.json["data"].Size(), 13U);
  for (const char* key : {"t", "s", "d", "dr", "g", "f"})
    EXPECT_TRUE(wind.json["data"][0][key].IsString()) << key;
  const Answer month = coops(
      "begin_date=20250201&end_date=20250228&station=9413450&interval=h&product=air_temperature&units="
      "metric");
  EXPECT_EQ(month.json["data"].Size(), 28U * 24U);
  EXPECT_NE(month.plain.body.find(R"("v":"", "f":"1,1,1"})"), std::string::npos) << "a gap";
}

TEST_F(CoopsServiceTest, whatNoaaRefuses) {
  const std::string no =
      "No data was found. This product may not be offered at this station at the requested time.";
  const std::string wind = "station=9413450&product=wind&units=metric&interval=h&";
  const std::string current =
      "product=currents_predictions&units=english&begin_date=20250301&end_date=20250301&";
  const struct {
    std::string query;
    int status;
    std::string message;
  } cases[] = {
      {wind + "begin_date=20250305 13:00&end_date=20250306", 200, no},
      {wind + "begin_date=2025-03-01&end_date=20250302", 400, "Wrong date format"},
      {current + "station=XYZ0001&bin=1", 200,
       "Currents predictions are not available from the requested station."},
      {current + "station=PUG1501&bin=9", 400, "Available bin number of PUG1501: 8, 7, 6, 5, 4, 3, 2, 1, "},
      {current + "station=PUG1501&bin=1&interval=7", 400, "Wrong interval."},
  };
  for (const auto& c : cases) {
    const Answer answer = coops(c.query);
    EXPECT_EQ(answer.status(), c.status) << c.query;
    EXPECT_TRUE(answer.message().starts_with(c.message)) << c.query << answer.plain.body;
  }
  EXPECT_EQ(ask(service, "/api/prod/datagetter?" + wind + "begin_date=20250301&end_date=20250301").status(),
            400);
}

TEST_F(CoopsServiceTest, currentPredictionsHaveTheServicesForms) {
  const std::string query = "product=currents_predictions&station=PUG1515&bin=12&units=english&";
  const Answer series = coops(query + "begin_date=20250301&end_date=20250331");
  const auto& rows = series.json["current_predictions"]["cp"];
  ASSERT_EQ(rows.Size(), 31U * 144U) << "every ten minutes";
  EXPECT_TRUE(series.plain.body.starts_with(
      R"({"current_predictions":{"units":"feet, knots","cp":[{"meanFloodDir":230,"Bin":"12","meanEbbDir":357,)"
      R"("Time":"2025-03-01 00:00","Depth":"35","Velocity_Major":)"))
      << series.plain.body.substr(0, 200);
  const Answer turns = coops(query + "begin_date=20250301&end_date=20250331&interval=MAX_SLACK");
  EXPECT_TRUE(turns.plain.body.starts_with(
      R"({"current_predictions":{"units":"feet, knots","cp":[{"Type":"slack","meanFloodDir":230,"Bin":"12",)"))
      << turns.plain.body.substr(0, 200);
  const Answer metric = coops(
      "product=currents_predictions&station=PUG1515&bin=12&units=metric&begin_date=20250301&end_date=20250301"
      "&interval=h");
  const auto& hours = metric.json["current_predictions"];
  EXPECT_STREQ(hours["units"].GetString(), "meters, cm/s");
  ASSERT_EQ(hours["cp"].Size(), 24U);
  EXPECT_STREQ(hours["cp"][0]["Depth"].GetString(), "11");
  EXPECT_NEAR(hours["cp"][1]["Velocity_Major"].GetDouble(), rows[6]["Velocity_Major"].GetDouble() * 51.44,
              0.4);
  // Without a bin the first; a subordinate station has turns alone and no depth.
  const Answer subordinate = coops(
      "product=currents_predictions&station=ACT1591&units=english&begin_date=20250301&end_date=20250301");
  ASSERT_GE(subordinate.json["current_predictions"]["cp"].Size(), 7U);
  for (const Value& row : subordinate.json["current_predictions"]["cp"].GetArray()) {
    EXPECT_TRUE(row["Type"].IsString());
    EXPECT_TRUE(row["Depth"].IsNull());
  }
}

}  // namespace
}  // namespace marlune::services
