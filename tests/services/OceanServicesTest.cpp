#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "marlune/ocean/nws/NWSGridpoint.h"
#include "services/AskService.h"
#include "services/NwsService.h"
#include "services/OpenMeteoService.h"
#include "services/StreamRatesService.h"

namespace marlune::services {
namespace {

using rapidjson::Value;

class OceanServicesTest : public ::testing::Test {
 protected:
  std::int64_t now = at("2025-03-05 12:34");
  const std::function<std::int64_t()> clock = [this] { return now; };
  const NwsService nws{clock};
  const OpenMeteoService openMeteo{clock};
};

TEST_F(OceanServicesTest, aPlaceLeadsToItsForecast) {
  const Answer moved = ask(nws, "/points/36.6000,-121.9000");
  EXPECT_EQ(moved.status(), 301);
  EXPECT_EQ(moved.plain.headers.at("Location"), "/points/36.6,-121.9");
  const Answer point = ask(nws, "/points/36.6,-121.9");
  ASSERT_EQ(point.status(), 200);
  EXPECT_EQ(point.plain.contentType, "application/geo+json");
  const Value& properties = point.json["properties"];
  EXPECT_STREQ(properties["gridId"].GetString(), "MTR");
  const std::string address = properties["forecastGridData"].GetString();
  EXPECT_EQ(address, fmt::format("http://here:80/gridpoints/MTR/{},{}", properties["gridX"].GetInt(),
                                 properties["gridY"].GetInt()));
  EXPECT_EQ(ask(nws, address.substr(14)).status(), 200);

  EXPECT_EQ(ask(nws, "/points/36.6,-121.9", false).status(), 403);
  for (const char* path :
       {"/points/0,0", "/points/45.5,-63.5", "/gridpoints/MTR/9999,1", "/gridpoints/XYZ/1,1"}) {
    const Answer none = ask(nws, path);
    EXPECT_EQ(none.status(), 404) << path;
    EXPECT_EQ(none.plain.contentType, "application/problem+json");
    EXPECT_EQ(none.json["status"].GetInt(), 404);
  }
  for (const char* path : {"/points/91,0", "/points/1,2,3", "/points/nan,0"})
    EXPECT_EQ(ask(nws, path).status(), 400) << path;
}

TEST_F(OceanServicesTest, layersOfAForecastHaveTheServicesForms) {
  const Answer answer = ask(nws, "/gridpoints/MTR/699,450");
  const Value& properties = answer.json["properties"];
  EXPECT_STREQ(properties["validTimes"].GetString(), "2025-03-05T06:00:00+00:00/P7DT16H");
  EXPECT_EQ(properties.MemberCount(), 62U);
  // The library's own reader takes each layer for what it is, hour by hour to the end.
  JsonReaders readers;
  const auto wind = nws_gridpoint::windOf(answer.plain.body, readers);
  ASSERT_TRUE(wind);
  const std::int64_t begin = at("2025-03-05 06:00");
  const auto samples = nws_gridpoint::samplesOf(*wind, begin, begin + 10 * 86400);
  ASSERT_TRUE(samples);
  EXPECT_EQ(samples->size(), 184U);
  for (const auto& sample : *samples) {
    ASSERT_TRUE(sample->attributes);
    EXPECT_EQ(sample->attributes->size(), 2U) << "a direction and a gust";
  }
  const std::pair<const char*, const char*> units[] = {{"windSpeed", "wmoUnit:km_h-1"},
                                                       {"windGust", "wmoUnit:km_h-1"},
                                                       {"windDirection", "wmoUnit:degree_(angle)"}};
  for (const auto& [layer, unit] : units) EXPECT_STREQ(properties[layer]["uom"].GetString(), unit);
  const std::string first = properties["windSpeed"]["values"][0]["validTime"].GetString();
  EXPECT_TRUE(first.starts_with("2025-03-05T06:00:00+00:00/PT")) << first;
  EXPECT_NE(answer.plain.body.find("+00:00/P1D"), std::string::npos) << "an interval with days";
}

TEST_F(OceanServicesTest, marineHoursAreThoseOfWholeDays) {
  const std::string place = "/v1/marine?latitude=36.600000&longitude=-121.900000";
  const std::string units = "&length_unit=imperial&wind_speed_unit=mph&timezone=America/Los_Angeles&apikey=";
  const Answer answer =
      ask(openMeteo, place + "&hourly=sea_surface_temperature,swell_wave_height,swell_wave_direction," +
                         "ocean_current_velocity" + units + "&forecast_days=9");
  ASSERT_EQ(answer.status(), 200) << answer.plain.body;
  EXPECT_TRUE(
      answer.plain.body.starts_with(R"({"latitude":36.625,"longitude":-121.875,"generationtime_ms":)"));
  EXPECT_NE(
      answer.plain.body.find(
          R"("utc_offset_seconds":-28800,"timezone":"America/Los_Angeles","timezone_abbreviation":"GMT-8",)"
          R"("elevation":0.0,"hourly_units":{"time":"iso8601","sea_surface_temperature":"°C",)"
          R"("swell_wave_height":"ft","swell_wave_direction":"°","ocean_current_velocity":"mp/h"},"hourly":)"),
      std::string::npos);
  const Value& hourly = answer.json["hourly"];
  EXPECT_EQ(hourly.MemberCount(), 5U) << "only what was asked for";
  for (const auto& [name, values] : hourly.GetObject()) EXPECT_EQ(values.Size(), 216U) << name.GetString();
  EXPECT_STREQ(hourly["time"][0].GetString(), "2025-03-05T00:00");
  // The clocks go on on 9 March at two; the list does not know.
  EXPECT_STREQ(hourly["time"][98].GetString(), "2025-03-09T02:00");
  EXPECT_STREQ(hourly["time"][215].GetString(), "2025-03-13T23:00");
  // Half an hour before midnight it is still the old day.
  now = at("2025-03-07 07:30");
  const Answer later = ask(openMeteo, place + "&hourly=swell_wave_height" + units + "&forecast_days=2");
  ASSERT_STREQ(later.json["hourly"]["time"][0].GetString(), "2025-03-06T00:00");
}

TEST_F(OceanServicesTest, nullsAndReasonsOfOpenMeteo) {
  const auto nulls = [&](const std::string& place, const std::string& name) {
    const Answer answer = ask(openMeteo, "/v1/marine?" + place + "&forecast_days=1&hourly=" + name);
    std::size_t count = 0;
    for (const Value& value : answer.json["hourly"][name.c_str()].GetArray())
      count += value.IsNull() ? 1U : 0U;
    return count;
  };
  EXPECT_EQ(nulls("latitude=40&longitude=-100", "swell_wave_height"), 24U) << "land";
  EXPECT_EQ(nulls("latitude=36.6&longitude=-122.05", "sea_surface_temperature"), 3U) << "inside the array";
  const Answer wind = ask(openMeteo,
                          "/v1/forecast?latitude=40&longitude=-100&wind_speed_unit=mph&timezone=Asia/Kolkata"
                          "&hourly=wind_speed_10m,wind_direction_10m,wind_gusts_10m&forecast_days=2");
  EXPECT_EQ(wind.json["utc_offset_seconds"].GetInt(), 19800);
  EXPECT_STREQ(wind.json["timezone_abbreviation"].GetString(), "GMT+5:30");
  const std::pair<const char*, const char*> refusals[] = {
      {"/v1/marine?latitude=36&longitude=-122&hourly=wave_hight",
       "Cannot initialize WeatherVariable from invalid String value wave_hight for key hourly"},
      {"/v1/forecast?latitude=91&longitude=0", "Latitude must be in range of -90 to 90°. Given: 91.0."},
      {"/v1/forecast?latitude=1&longitude=0&timezone=Mars/Base", "Invalid timezone"},
      {"/v1/forecast?latitude=1&longitude=0&forecast_days=17", "Forecast days is invalid"}};
  for (const auto& [target, reason] : refusals) {
    const Answer answer = ask(openMeteo, target);
    EXPECT_EQ(answer.status(), 400) << target;
    EXPECT_TRUE(answer.json["error"].GetBool());
    EXPECT_TRUE(std::string(answer.json["reason"].GetString()).starts_with(reason)) << answer.plain.body;
  }
}

TEST_F(OceanServicesTest, streamsHaveTheServicesFormsAndRefusals) {
  const StreamRatesService streams(std::make_shared<const ListedStations>(MARLUNE_SOURCE_RESOURCES));
  const auto rates = [&](const std::string& target, bool withKey = true) {
    return ask(streams, "/uktidalapi-premium/api/V2/Streams/" + target, withKey);
  };
  const std::string good = "/TidalStreamRates?dateTime=2025-03-05T00:00:00Z&duration=24&interval=30";
  const Answer day = rates("own-alderney-race" + good);
  ASSERT_EQ(day.json.Size(), 48U);
  EXPECT_TRUE(day.plain.body.starts_with(R"([{"DateTime":"2025-03-05T00:00:00Z","Speed":)"));
  for (const Value& rate : day.json.GetArray()) {
    EXPECT_GE(rate["Bearing"].GetDouble(), 0);
    EXPECT_LT(rate["Bearing"].GetDouble(), 360);
  }
  EXPECT_EQ(rates("own-alderney-race" + good, false).status(), 401);
  EXPECT_EQ(rates("own-nowhere" + good).status(), 404);
  EXPECT_EQ(rates("own-alderney-race/TidalStreamRates?dateTime=2025-03-05&duration=24&interval=30").status(),
            400);
}

}  // namespace
}  // namespace marlune::services
