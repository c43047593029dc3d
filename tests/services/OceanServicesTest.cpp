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
#include "services/CoopsService.h"
#include "services/Harmonics.h"
#include "services/LocalServices.h"
#include "services/NwsGrid.h"
#include "services/NwsService.h"
#include "services/OpenMeteoService.h"
#include "services/RequestValues.h"
#include "services/ServiceList.h"
#include "services/StreamRatesService.h"
#include "support/TemporaryFolder.h"

namespace marlune::services {
namespace {

using rapidjson::Value;

std::int64_t at(const char* text) {
  return instantOf(text, {"yyyy-MM-dd HH:mm"}).value();
}

// An answer with its body read.
struct Answer {
  explicit Answer(ServiceAnswer given) : plain(std::move(given)) {
    json.Parse<rapidjson::kParseFullPrecisionFlag>(plain.body.data(), plain.body.size());
    if (json.HasParseError()) json.SetNull();
  }

  int status() const { return plain.status; }
  std::string message() const {
    return json.IsObject() && json.HasMember("error") ? json["error"]["message"].GetString() : "";
  }

  ServiceAnswer plain;
  rapidjson::Document json;
};

class OceanServicesTest : public ::testing::Test {
 protected:
  // "path?name=value&..." with nothing escaped, and a header of every kind that is asked for.
  Answer get(const Service& service, const std::string& target, bool withHeaders = true) {
    ServiceRequest request;
    request.target = target;
    const auto mark = std::min(target.find('?'), target.size());
    request.path = target.substr(0, mark);
    for (std::size_t begin = mark + 1; begin < target.size();) {
      const auto end = std::min(target.find('&', begin), target.size());
      const auto equals = target.find('=', begin);
      request.query.emplace(target.substr(begin, equals - begin),
                            target.substr(equals + 1, end - equals - 1));
      begin = end + 1;
    }
    if (withHeaders)
      request.headers = {{"host", "here:80"}, {"user-agent", "test"}, {"ocp-apim-subscription-key", ""}};
    return Answer(service.answer(request));
  }

  Answer coops(const std::string& query) {
    return get(_coops, "/api/prod/datagetter?time_zone=gmt&application=any&format=json&" + query);
  }

  std::int64_t now = at("2025-03-05 12:34");
  const std::function<std::int64_t()> clock = [this] { return now; };
  const std::shared_ptr<const HarmonicDatabase> database{&harmonics(), [](const HarmonicDatabase*) {}};
  const CoopsService _coops{database, std::make_shared<const ListedStations>(MARLUNE_SOURCE_RESOURCES),
                            clock};
  const NwsService nws{clock};
  const OpenMeteoService openMeteo{clock};
};

TEST_F(OceanServicesTest, observationsEndNowAndAreTexts) {
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
  for (rapidjson::SizeType i = 0; i < wind.json["data"].Size(); ++i) {
    const Value& row = wind.json["data"][i];
    for (const char* key : {"t", "s", "d", "dr", "g", "f"}) ASSERT_TRUE(row[key].IsString()) << key;
    if (*row["s"].GetString() == '\0') continue;
    EXPECT_GE(numberOf<double>(std::string_view(row["g"].GetString())),
              numberOf<double>(std::string_view(row["s"].GetString())));
  }
  EXPECT_EQ(
      coops("begin_date=20250301&end_date=20250301&interval=h&product=wind&units=metric&station=9063020")
          .json["data"]
          .Size(),
      24U)
      << "a station of the list alone";
  // The same rows whatever the interval asked for, with some gaps among them.
  const std::string span = "&station=9413450&interval=h&product=air_temperature&units=metric";
  const Answer whole = coops("begin_date=20250201&end_date=20250228" + span);
  const Answer part = coops("begin_date=20250210 06:00&end_date=20250210 18:00" + span);
  ASSERT_EQ(whole.json["data"].Size(), 28U * 24U);
  ASSERT_EQ(part.json["data"].Size(), 13U);
  for (rapidjson::SizeType i = 0; i < 13; ++i)
    EXPECT_EQ(part.json["data"][i], whole.json["data"][9 * 24 + 6 + i]) << i;
  std::size_t gaps = 0;
  double before = 0;
  for (const Value& row : whole.json["data"].GetArray()) {
    const auto value = numberOf<double>(std::string_view(row["v"].GetString()));
    EXPECT_STREQ(row["f"].GetString(), value ? "0,0,0" : "1,1,1");
    if (!value) {
      ++gaps;
      continue;
    }
    EXPECT_TRUE(before == 0 || std::abs(*value - before) < 3) << "smooth";
    before = *value;
  }
  EXPECT_GT(gaps, 2U);
  EXPECT_LT(gaps, 30U);
}

TEST_F(OceanServicesTest, whatNoaaRefuses) {
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
      {"station=1&product=wind&units=metric&begin_date=20250301&end_date=20250301", 200, no},
      {wind + "begin_date=2025-03-01&end_date=20250302", 400, "Wrong date format"},
      {wind + "begin_date=20250302&end_date=20250301", 400, "The end date is before"},
      {wind + "begin_date=20230101&end_date=20250301", 400, "Range limit"},
      {"station=9413450&product=rain&units=metric&begin_date=20250301&end_date=20250301", 400,
       "Wrong product"},
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
  EXPECT_EQ(get(_coops, "/api/prod/datagetter?" + wind + "begin_date=20250301&end_date=20250301").status(),
            400);
}

TEST_F(OceanServicesTest, currentPredictionsHaveTheServicesForms) {
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
  // Each turn lies on the series: within a small step of it.
  for (const Value& turn : turns.json["current_predictions"]["cp"].GetArray()) {
    const std::int64_t time = at(turn["Time"].GetString());
    const auto row = static_cast<rapidjson::SizeType>((time - at("2025-03-01 00:00")) / 600);
    EXPECT_NEAR(turn["Velocity_Major"].GetDouble(), rows[row]["Velocity_Major"].GetDouble(), 0.25);
  }
  const Answer metric = coops(
      "product=currents_predictions&station=PUG1515&bin=12&units=metric&begin_date=20250301&end_date=20250301"
      "&interval=h");
  const auto& hours = metric.json["current_predictions"];
  EXPECT_STREQ(hours["units"].GetString(), "meters, cm/s");
  ASSERT_EQ(hours["cp"].Size(), 24U);
  EXPECT_STREQ(hours["cp"][0]["Depth"].GetString(), "11");
  for (rapidjson::SizeType i = 0; i < 24; ++i)
    EXPECT_NEAR(hours["cp"][i]["Velocity_Major"].GetDouble(),
                rows[i * 6]["Velocity_Major"].GetDouble() * 51.44, 0.4);
  // Without a bin the first; a subordinate station has turns alone and no depth.
  const Answer subordinate = coops(
      "product=currents_predictions&station=ACT1591&units=english&begin_date=20250301&end_date=20250301");
  ASSERT_GE(subordinate.json["current_predictions"]["cp"].Size(), 7U);
  for (const Value& row : subordinate.json["current_predictions"]["cp"].GetArray()) {
    EXPECT_TRUE(row["Type"].IsString());
    EXPECT_TRUE(row["Depth"].IsNull());
  }
}

TEST_F(OceanServicesTest, aPlaceLeadsToItsForecast) {
  const Answer moved = get(nws, "/points/36.6000,-121.9000");
  EXPECT_EQ(moved.status(), 301);
  EXPECT_EQ(moved.plain.headers.at("Location"), "/points/36.6,-121.9");
  EXPECT_EQ(get(nws, "/points/36.60004,-121.0").plain.headers.at("Location"), "/points/36.6,-121");
  const Answer point = get(nws, "/points/36.6,-121.9");
  ASSERT_EQ(point.status(), 200);
  EXPECT_EQ(point.plain.contentType, "application/geo+json");
  const Value& properties = point.json["properties"];
  EXPECT_STREQ(properties["gridId"].GetString(), "MTR");
  const std::string address = properties["forecastGridData"].GetString();
  EXPECT_EQ(address, fmt::format("http://here:80/gridpoints/MTR/{},{}", properties["gridX"].GetInt(),
                                 properties["gridY"].GetInt()));
  EXPECT_EQ(get(nws, address.substr(14)).status(), 200);

  EXPECT_EQ(get(nws, "/points/36.6,-121.9", false).status(), 403);
  for (const char* path :
       {"/points/0,0", "/points/45.5,-63.5", "/points/19.4,-99.1", "/gridpoints/MTR/9999,1",
        "/gridpoints/XYZ/1,1", "/gridpoints/MTR/1,1/stations", "/gridpoints/MTR"}) {
    const Answer none = get(nws, path);
    EXPECT_EQ(none.status(), 404) << path;
    EXPECT_EQ(none.plain.contentType, "application/problem+json");
    EXPECT_EQ(none.json["status"].GetInt(), 404);
    EXPECT_FALSE(none.json.HasMember("properties"));
  }
  for (const char* path : {"/points/91,0", "/points/a,b", "/points/1", "/points/1,2,3", "/points/nan,0"})
    EXPECT_EQ(get(nws, path).status(), 400) << path;
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
      sum += number * (c == 'D' ? 86400 : 3600);
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
  const Answer first = get(nws, "/gridpoints/MTR/699,450");
  EXPECT_GT(first.plain.body.size(), 140000U);
  EXPECT_LT(first.plain.body.size(), 220000U);
  EXPECT_STREQ(first.json["properties"]["validTimes"].GetString(), "2025-03-05T06:00:00+00:00/P7DT16H");
  EXPECT_EQ(first.json["properties"].MemberCount(), 62U);
  now += 40 * 3600;
  const Answer later = get(nws, "/gridpoints/MTR/699,450");
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
      get(openMeteo, place + "&hourly=sea_surface_temperature,swell_wave_height,swell_wave_direction," +
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
  const Answer later = get(openMeteo, place + "&hourly=swell_wave_height" + units + "&forecast_days=2");
  ASSERT_STREQ(later.json["hourly"]["time"][0].GetString(), "2025-03-06T00:00");
  for (rapidjson::SizeType i = 0; i < 48; ++i)
    EXPECT_EQ(later.json["hourly"]["swell_wave_height"][i], hourly["swell_wave_height"][24 + i]);
}

TEST_F(OceanServicesTest, nullsAndReasonsOfOpenMeteo) {
  const auto nulls = [&](const std::string& place, const std::string& name) {
    const Answer answer = get(openMeteo, "/v1/marine?" + place + "&forecast_days=1&hourly=" + name);
    std::size_t count = 0;
    for (const Value& value : answer.json["hourly"][name.c_str()].GetArray())
      count += value.IsNull() ? 1U : 0U;
    return count;
  };
  EXPECT_EQ(nulls("latitude=40&longitude=-100", "swell_wave_height"), 24U) << "land";
  EXPECT_EQ(nulls("latitude=36.6&longitude=-121.9", "sea_surface_temperature"), 0U);
  EXPECT_EQ(nulls("latitude=36.6&longitude=-122.05", "sea_surface_temperature"), 3U) << "inside the array";
  const Answer wind = get(openMeteo,
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
    const Answer answer = get(openMeteo, target);
    EXPECT_EQ(answer.status(), 400) << target;
    EXPECT_TRUE(answer.json["error"].GetBool());
    EXPECT_TRUE(std::string(answer.json["reason"].GetString()).starts_with(reason)) << answer.plain.body;
  }
}

TEST_F(OceanServicesTest, streamsTurnAndHaveSpringsAndNeaps) {
  testing::TemporaryFolder folder;
  const StreamRatesService everywhere(std::make_shared<const ListedStations>(folder.path()));
  const auto rates = [&](const Service& service, const std::string& id, const char* begin, int hours) {
    return get(service,
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
    return get(everywhere, "/uktidalapi-premium/api/V2/Streams/" + target, withKey).status();
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
