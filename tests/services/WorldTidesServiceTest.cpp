#include "services/WorldTidesService.h"

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/global/GlobalTides.h"
#include "services/Harmonics.h"
#include "services/TidePredictor.h"

namespace marlune::services {
namespace {

std::shared_ptr<const WorldTable> tableOf(const std::string& file) {
  // The shared database lives as long as the process.
  return std::make_shared<const WorldTable>(
      file, std::shared_ptr<const HarmonicDatabase>(&harmonics(), [](const HarmonicDatabase*) {}));
}

class WorldTidesTest : public ::testing::Test {
 protected:
  static const WorldTable& table() {
    static const auto shared = tableOf(std::string(MARLUNE_SOURCE_RESOURCES) + "/world_stations.txt");
    return *shared;
  }

  ServiceAnswer get(const std::string& path, std::map<std::string, std::string> query = {}) const {
    static const WorldTidesService service{std::shared_ptr<const WorldTable>(&table(), [](const auto*) {})};
    return service.answer({{}, path, std::move(query), {}});
  }

  ServiceAnswer tides(const WorldStation& station, int year) const {
    return get("/tides", {{"lat", fmt::format("{}", station.latitude)},
                          {"lon", fmt::format("{}", station.longitude)},
                          {"year", std::to_string(year)},
                          {"agencies", "noaa,ukho,aus"}});
  }
};

TEST_F(WorldTidesTest, everyFormTellsTheSameTides) {
  // The form goes by the id's remainder; of each the station with the fewest constants, which is quickest.
  std::map<std::int64_t, const WorldStation*> chosen;
  for (const WorldStation& station : table().stations()->stations()) {
    const WorldStation*& best = chosen[station.id % 40];
    if (!station.components.empty() &&
        (best == nullptr || station.components.size() < best->components.size()))
      best = &station;
  }
  std::set<std::string> forms;
  const TidePredictor predictor(harmonics());
  JsonReaders readers;
  for (const auto& [remainder, found] : chosen) {
    const WorldStation& station = *found;
    SCOPED_TRACE(station.key);
    const ServiceAnswer answer = tides(station, 2026);
    ASSERT_EQ(answer.status, 200);
    const auto got = global_tides::eventsOf(answer.body, readers);
    ASSERT_FALSE(got.empty());
    std::string form;  // which of the signs are met
    for (const char* sign : {R"(.000)", R"(Z")", R"({"level_in_meters":true)", R"(,"level_in_meters":true)",
                             R"("level_in_meters":false)", R"("is_high":false)"})
      form += answer.body.find(sign) != std::string::npos ? '1' : '0';
    forms.insert(form);
    cctz::time_zone zone;
    ASSERT_TRUE(cctz::load_time_zone(station.zoneOrNautical(), &zone));
    const auto startOf = [&](int year) {
      return cctz::convert(cctz::civil_second(year, 1, 1), zone).time_since_epoch().count();
    };
    const auto expected =
        predictor.extremes(table().stations()->harmonics(station), startOf(2026), startOf(2026) + 30 * 86400);
    ASSERT_GT(got.size(), 10 * expected.size());
    ASSERT_GE(got.back().timestamp, startOf(2027) - 2 * 86400);
    ASSERT_LT(got.back().timestamp, startOf(2027));
    for (std::size_t e = 0; e < expected.size(); ++e) {
      ASSERT_EQ(got[e].timestamp, expected[e].time);
      ASSERT_EQ(got[e].isHighTide, expected[e].high);
      ASSERT_NEAR(got[e].tidelevel * (got[e].tideLevelInMeters ? 1 : 0.3048), expected[e].level, 0.0006);
    }
  }
  EXPECT_EQ(forms.size(), 32U) << "two times two of time, four of units, two of lows";
}

TEST_F(WorldTidesTest, everyPointIsListedOnceAndLeadsToItsTides) {
  const ServiceAnswer answer = get("/tide-points");
  EXPECT_EQ(answer.contentType, "application/json");
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(answer.body.data(), answer.body.size());
  ASSERT_TRUE(document.IsArray());
  const auto& stations = table().stations()->stations();
  ASSERT_EQ(document.Size(), stations.size());
  std::set<std::string> seen;
  for (rapidjson::SizeType i = 0; i < document.Size(); ++i) {
    const WorldStation& station = stations[i];
    const auto& point = document[i];
    ASSERT_EQ(point["id"].GetInt64(), station.id);
    ASSERT_EQ(point["lat"].GetDouble(), station.latitude);
    ASSERT_EQ(point["lon"].GetDouble(), station.longitude);
    const std::pair<const char*, const std::optional<std::string>*> texts[] = {{"name", &station.name},
                                                                               {"city", &station.city},
                                                                               {"country", &station.country},
                                                                               {"timezone", &station.zone}};
    for (const auto& [key, text] : texts) {
      const bool present = point.HasMember(key) && !point[key].IsNull();
      ASSERT_EQ(present, text->has_value()) << station.key << " " << key;
      ASSERT_EQ(present ? point[key].GetString() : "", text->value_or(""));
      seen.insert(std::string(key) + (present ? " is" : point.HasMember(key) ? " null" : " absent"));
    }
  }
  EXPECT_EQ(seen.size(), 12U) << "each of four texts present, null and absent";
}

TEST_F(WorldTidesTest, answersWithoutEventsAndRefusals) {
  const auto query = [&](const char* lat, const char* lon, const char* year) {
    return get("/tides", {{"lat", lat}, {"lon", lon}, {"year", year}});
  };
  for (const ServiceAnswer& answer :
       {query("0.5", "-30", "2026"), query("50.103", "-5.543", "1899"), query("50.103", "-5.543", "2101")}) {
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.body.find("\"tide_events\":[]"), std::string::npos) << answer.body;
  }

  for (const ServiceAnswer& answer :
       {query("90.1", "0", "2026"), query("nan", "0", "2026"), query("50", "5", "2026.5"), get("/tides")}) {
    EXPECT_EQ(answer.status, 400) << answer.body;
    EXPECT_TRUE(answer.body.starts_with("{\"error\":\"")) << answer.body;
  }
}

}  // namespace
}  // namespace marlune::services
