#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "marlune/platform/linux/CurlHttpClient.h"
#include "services/AskService.h"
#include "services/LocalServices.h"
#include "services/NwsGrid.h"
#include "services/NwsService.h"
#include "services/OpenMeteoService.h"
#include "services/StreamRatesService.h"
#include "support/TemporaryFolder.h"

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
  EXPECT_EQ(ask(nws, "/points/36.60004,-121.0").plain.headers.at("Location"), "/points/36.6,-121");
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
       {"/points/0,0", "/points/45.5,-63.5", "/points/19.4,-99.1", "/gridpoints/MTR/9999,1",
        "/gridpoints/XYZ/1,1", "/gridpoints/MTR/1,1/stations", "/gridpoints/MTR"}) {
    const Answer none = ask(nws, path);
    EXPECT_EQ(none.status(), 404) << path;
    EXPECT_EQ(none.plain.contentType, "application/problem+json");
    EXPECT_EQ(none.json["status"].GetInt(), 404);
    EXPECT_FALSE(none.json.HasMember("properties"));
  }
  for (const char* path : {"/points/91,0", "/points/a,b", "/points/1", "/points/1,2,3", "/points/nan,0"})
    EXPECT_EQ(ask(nws, path).status(), 400) << path;
  // The middle of a cell is in the cell: islands, the far north, beyond the Aleutians' end.
  for (const NwsPlace& place : {NwsPlace{21.3, -157.9}, NwsPlace{70, -150}, NwsPlace{51.9, -176.6},
                                NwsPlace{25.8, -80.2}, NwsPlace{48.5, -123}, NwsPlace{44.8, -67}}) {
    const auto cell = nwsCellAt(place);
    ASSERT_TRUE(cell) << place.latitude;
    const auto middle = nwsPlaceOf(*cell);
    ASSERT_TRUE(middle) << place.latitude;
    EXPECT_NEAR(middle->latitude, place.latitude, 0.012);
    EXPECT_NEAR(middle->longitude, place.longitude, 0.04);
  }
}

// Seconds of "PT3H", "P1D" or "P1DT5H"; -1 for anything else.
std::int64_t durationOf(std::string_view text) {
  std::int64_t number = 0;
  std::int64_t sum = 0;
  for (const char c : text) {
    if (c >= '0' && c <= '9') {
      number = number * 10 + (c - '0');
    } else if (c == 'D' || c == 'H') {
      sum += number * std::int64_t{c == 'D' ? 86400 : 3600};
      number = 0;
    } else if (c != 'P' && c != 'T') {
      return -1;
    }
  }
  return sum;
}

TEST_F(OceanServicesTest, layersOfAForecastCoverItsTimes) {
  const auto hourly = [&](const Answer& answer, const char* name, std::size_t& intervals,
                          std::size_t& withDays) {
    std::map<std::int64_t, double> values;
    std::int64_t end = 0;
    intervals = withDays = 0;
    for (const Value& entry : answer.json["properties"][name]["values"].GetArray()) {
      const std::string text = entry["validTime"].GetString();
      const auto begin = instantOf(text.substr(0, 25), {"yyyy-MM-ddTHH:mm:ss+00:00"}).value();
      const std::int64_t duration = durationOf(text.substr(26));
      EXPECT_TRUE(values.empty() || begin == end) << text;
      EXPECT_GT(duration, 0) << text;
      end = begin + duration;
      for (std::int64_t hour = begin; hour < end; hour += 3600) values[hour] = entry["value"].GetDouble();
      ++intervals;
      if (text.find("/P") != std::string::npos && text.find('D') != std::string::npos) ++withDays;
    }
    return values;
  };
  const Answer first = ask(nws, "/gridpoints/MTR/699,450");
  EXPECT_GT(first.plain.body.size(), 140000U);
  EXPECT_LT(first.plain.body.size(), 220000U);
  EXPECT_STREQ(first.json["properties"]["validTimes"].GetString(), "2025-03-05T06:00:00+00:00/P7DT16H");
  EXPECT_EQ(first.json["properties"].MemberCount(), 62U);
  constexpr std::int64_t hours = 40;
  now += hours * 3600;
  const Answer later = ask(nws, "/gridpoints/MTR/699,450");
  const struct {
    const char* layer;
    const char* unit;
    double most;
  } layers[] = {{"windSpeed", "wmoUnit:km_h-1", 80},
                {"windGust", "wmoUnit:km_h-1", 110},
                {"windDirection", "wmoUnit:degree_(angle)", 350}};
  std::vector<std::size_t> counts;
  std::size_t days = 0;
  for (const auto& one : layers) {
    EXPECT_STREQ(first.json["properties"][one.layer]["uom"].GetString(), one.unit);
    std::size_t intervals = 0;
    std::size_t withDays = 0;
    const auto values = hourly(first, one.layer, intervals, withDays);
    ASSERT_EQ(values.size(), 184U);
    counts.push_back(intervals);
    days += withDays;
    const auto again = hourly(later, one.layer, intervals, withDays);
    for (const auto& [hour, value] : again) {
      EXPECT_GE(value, 0);
      EXPECT_LE(value, one.most);
      if (values.contains(hour)) {
        EXPECT_EQ(values.at(hour), value) << one.layer << " " << hour;
      }
    }
  }
  EXPECT_NE(counts[0], counts[1]);
  EXPECT_GE(days, 1U) << "an interval with days";
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
  // A day later the same instants have the same values; half an hour before midnight it is still the old day.
  now = at("2025-03-07 07:30");
  const Answer later = ask(openMeteo, place + "&hourly=swell_wave_height" + units + "&forecast_days=2");
  ASSERT_STREQ(later.json["hourly"]["time"][0].GetString(), "2025-03-06T00:00");
  for (rapidjson::SizeType i = 0; i < 48; ++i)
    EXPECT_EQ(later.json["hourly"]["swell_wave_height"][i], hourly["swell_wave_height"][24 + i]);
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
  EXPECT_EQ(nulls("latitude=36.6&longitude=-121.9", "sea_surface_temperature"), 0U);
  EXPECT_EQ(nulls("latitude=36.6&longitude=-122.05", "sea_surface_temperature"), 3U) << "inside the array";
  const Answer wind = ask(openMeteo,
                          "/v1/forecast?latitude=40&longitude=-100&wind_speed_unit=mph&timezone=Asia/Kolkata"
                          "&hourly=wind_speed_10m,wind_direction_10m,wind_gusts_10m&forecast_days=2");
  EXPECT_EQ(wind.json["utc_offset_seconds"].GetInt(), 19800);
  EXPECT_STREQ(wind.json["timezone_abbreviation"].GetString(), "GMT+5:30");
  for (rapidjson::SizeType i = 0; i < 48; ++i) {
    const Value& hourly = wind.json["hourly"];
    EXPECT_GT(hourly["wind_gusts_10m"][i].GetDouble(), hourly["wind_speed_10m"][i].GetDouble());
    EXPECT_LT(hourly["wind_direction_10m"][i].GetInt(), 360);
  }
  const std::pair<const char*, const char*> refusals[] = {
      {"/v1/marine?latitude=36&longitude=-122&hourly=wave_hight",
       "Cannot initialize WeatherVariable from invalid String value wave_hight for key hourly"},
      {"/v1/marine?latitude=36&longitude=-122&hourly=wind_speed_10m", "Cannot initialize"},
      {"/v1/forecast?latitude=91&longitude=0", "Latitude must be in range of -90 to 90°. Given: 91.0."},
      {"/v1/forecast?latitude=nan&longitude=0", "Latitude must"},
      {"/v1/forecast?longitude=0", "Parameter"},
      {"/v1/forecast?latitude=1&longitude=0&timezone=Mars/Base", "Invalid timezone"},
      {"/v1/forecast?latitude=1&longitude=0&forecast_days=17", "Forecast days is invalid"},
      {"/v1/forecast?latitude=1&longitude=0&wind_speed_unit=knots", "Cannot initialize"}};
  for (const auto& [target, reason] : refusals) {
    const Answer answer = ask(openMeteo, target);
    EXPECT_EQ(answer.status(), 400) << target;
    EXPECT_TRUE(answer.json["error"].GetBool());
    EXPECT_TRUE(std::string(answer.json["reason"].GetString()).starts_with(reason)) << answer.plain.body;
  }
}

TEST_F(OceanServicesTest, streamsTurnAndHaveSpringsAndNeaps) {
  testing::TemporaryFolder folder;
  const StreamRatesService everywhere(std::make_shared<const ListedStations>(folder.path()));
  const auto rates = [&](const Service& service, const std::string& id, const char* begin, int hours) {
    return ask(service,
               fmt::format("/uktidalapi-premium/api/V2/Streams/{}/TidalStreamRates?dateTime={}&duration={}"
                           "&interval=30",
                           id, begin, hours));
  };
  const Answer month = rates(everywhere, "TS_12", "2025-03-01T00:00:00Z", 720);
  ASSERT_EQ(month.json.Size(), 1440U);
  EXPECT_TRUE(month.plain.body.starts_with(R"([{"DateTime":"2025-03-01T00:00:00Z","Speed":)"));
  const Answer day = rates(everywhere, "TS_12", "2025-03-05T00:00:00Z", 24);
  ASSERT_EQ(day.json.Size(), 48U);
  for (rapidjson::SizeType i = 0; i < 48; ++i) EXPECT_EQ(day.json[i], month.json[4 * 48 + i]);
  // The greatest speed of each day: springs two days after the new moon of 29 March... and neaps a week
  // before.
  const auto greatest = [&](rapidjson::SizeType ofDay) {
    double most = 0;
    for (rapidjson::SizeType i = 0; i < 48; ++i) {
      const Value& rate = month.json[(ofDay - 1) * 48 + i];
      EXPECT_GE(rate["Bearing"].GetDouble(), 0);
      EXPECT_LT(rate["Bearing"].GetDouble(), 360);
      most = std::max(most, rate["Speed"].GetDouble());
    }
    return most;
  };
  EXPECT_GT(greatest(2), 1.6 * greatest(9));
  EXPECT_GT(greatest(16), 1.6 * greatest(9));

  const auto status = [&](const std::string& target, bool withKey = true) {
    return ask(everywhere, "/uktidalapi-premium/api/V2/Streams/" + target, withKey).status();
  };
  const std::string good = "/TidalStreamRates?dateTime=2025-03-05T00:00:00Z&duration=24&interval=30";
  EXPECT_EQ(status("A1" + good, false), 401);
  EXPECT_EQ(status("A 1" + good), 404);
  EXPECT_EQ(status(good.substr(1)), 404);
  EXPECT_EQ(status("A1/TidalStreamRates?dateTime=2025-03-05&duration=24&interval=30"), 400);
  EXPECT_EQ(status("A1/TidalStreamRates?dateTime=2025-03-05T00:00:00Z&duration=0&interval=30"), 400);
  EXPECT_EQ(status("A1/TidalStreamRates?dateTime=2025-03-05T00:00:00Z&duration=24"), 400);
  std::ofstream(folder.path() + "/stream_stations_uk.json")
      << R"({"features":[{"geometry":{"coordinates":[1.5,51]},"properties":{"Id":"A1","Name":"Off"}},{}]})";
  const StreamRatesService known(std::make_shared<const ListedStations>(folder.path()));
  EXPECT_EQ(rates(known, "A1", "2025-03-05T00:00:00Z", 24).status(), 200);
  EXPECT_EQ(rates(known, "A2", "2025-03-05T00:00:00Z", 24).status(), 404);
}

// Each path reaches its service, beside those with shorter or like prefixes, and all have one clock.
TEST(OceanServices, areAmongTheLocalServices) {
  LocalServices services(
      {.resourcesFolder = MARLUNE_SOURCE_RESOURCES, .now = [] { return at("2025-03-05 12:34"); }});
  ASSERT_NE(services.start(), "") << services.error();
  CurlHttpClient client;
  const std::pair<const char*, const char*> cases[] = {
      {"/api/prod/"
       "datagetter?begin_date=20250305%2010:00&end_date=20250306%2000:00&station=9413450&product=wind"
       "&time_zone=gmt&interval=h&units=english&application=any&format=json",
       "\"t\":\"2025-03-05 12:00\""},
      {"/points/36.6000,-121.9000", "/gridpoints/MTR/"},
      {"/gridpoints/MTR/699,450", "\"validTimes\": \"2025-03-05T06:00:00+00:00/P7DT16H\""},
      {"/v1/marine?latitude=1&longitude=2&hourly=wave_height&timezone=Asia/Tokyo", "[\"2025-03-05T00:00\""},
      {"/v1/forecast?latitude=1&longitude=2&hourly=wind_speed_10m&timezone=Pacific/Auckland",
       "[\"2025-03-06T00:00\""},
      {"/uktidalapi-premium/api/V2/Streams/None.Such/TidalStreamRates", "stream station"},
      {"/uktidalapi-premium/api/V2/Stations/None/TidalEventsForDateRange", "no station of this number"},
      {"/v1/tideapi.php?op=x", "unknown operation"}};
  for (const auto& [target, part] : cases) {
    HttpRequest request{.url = services.address() + target};
    request.headers = {{"Ocp-Apim-Subscription-Key", "any"}, {"User-Agent", "test"}};
    std::promise<std::string> promise;
    auto body = promise.get_future();
    client.send(std::move(request), [&](const HttpAnswer& answer) {
      promise.set_value(answer.body ? std::string(*answer.body) : answer.error);
    });
    EXPECT_NE(body.get().find(part), std::string::npos) << target;
  }
}

}  // namespace
}  // namespace marlune::services
