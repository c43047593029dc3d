#include "marlune/ocean/source/SeriesDiskCache.h"

#include <cmath>

#include "ocean/OceanHostTest.h"

namespace marlune::testing {
namespace {

class SeriesDiskCacheTest : public OceanHostTest {
 protected:
  static std::shared_ptr<const TimeSeriesData> sample(double date, double value) {
    return std::make_shared<const TimeSeriesData>(dateFromSeconds(date), value);
  }

  SeriesDiskCache cache{fake.host()};
};

TEST_F(SeriesDiskCacheTest, GivesBackWhatItSaved) {
  const TimeSeries samples = {
      sample(1741132800, 12.5), sample(1741136400.25, -3),
      std::make_shared<const TimeSeriesData>(
          dateFromSeconds(0), 0.1,
          TimeSeriesData::Attributes{{"url", "http://a/b\"\\\n\u00e9"}, {"gust", "1.0"}}, "Wind"),
      std::make_shared<const TimeSeriesData>(dateFromSeconds(0), 1e300, TimeSeriesData::Attributes{}, "")};
  cache.save(samples, "a.json");
  EXPECT_EQ(
      kept("a.json"),
      R"([{"t":1741132800,"v":12.5},{"t":1741136400.25,"v":-3},)"
      R"({"t":0,"v":0.1,"a":{"gust":"1.0","url":"http://a/b\"\\\u000aé"},"s":"Wind"},{"t":0,"v":1e+300,"s":""}])");
  const auto loaded = cache.load("a.json", std::nullopt);
  ASSERT_TRUE(loaded);
  ASSERT_EQ(loaded->size(), 4U);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_EQ((*loaded)[i]->date, samples[i]->date);
    EXPECT_EQ((*loaded)[i]->value, samples[i]->value);
    EXPECT_EQ((*loaded)[i]->series, samples[i]->series);
    EXPECT_EQ((*loaded)[i]->attributes, i < 3 ? samples[i]->attributes : std::nullopt)
        << "none is absent, not empty";
  }
  cache.save({}, "a.json");
  EXPECT_EQ(kept("a.json"), "[]");
  EXPECT_EQ(cache.load("a.json", 0)->size(), 0U) << "an empty list is one";
}

TEST_F(SeriesDiskCacheTest, WhatIsNoSeriesIsNothing) {
  for (const char* text : {"", "{}", "[1]", "[{}]", R"([{"t":"1","v":2}])", R"([{"t":1,"v":null}])",
                           R"([{"t":1,"v":2,"a":{"b":1}}])", R"([{"t":1,"v":2,"s":1}])",
                           R"([{"t":1,"v":2},{"t":1}])", R"([{"t":1,"v":2})", R"([{"t":1,"v":1e999}])"}) {
    put("a.json", text);
    EXPECT_FALSE(cache.load("a.json", std::nullopt)) << text;
  }
  put("a.json", R"([{"t":1,"v":2,"a":null,"s":null,"more":[1]}])");
  ASSERT_TRUE(cache.load("a.json", std::nullopt));
  EXPECT_FALSE(cache.load("missing.json", std::nullopt));
  EXPECT_FALSE(cache.load("../a.json", std::nullopt));
  expectLog("Series cache: there is no folder for ../a.json");
  expectLog("Series cache: b.json has a number or a text that JSON cannot hold");
  cache.save({sample(1, 2)}, "../a.json");
  cache.save({sample(1, std::nan(""))}, "b.json");
  EXPECT_EQ(kept("b.json"), "none");
}

TEST_F(SeriesDiskCacheTest, TheFirstLoadSweepsWhatIsOlderThanThirtyDays) {
  EXPECT_FALSE(cache.load("nws_points_a.json", std::nullopt)) << "there is no container to sweep yet";
  ASSERT_TRUE(fake.settle());
  const char* const swept[] = {"noaa_water_temperature_1_20250305.json", "noaa_air_temperature_x",
                               "noaa_wind_", "nws_wind_a"};
  const char* const staying[] = {"nws_points_a.json", "noaa_currents_a.json", "ukho_streams_a.json",
                                 "anoaa_wind_"};
  for (const char* name : swept) put(name, "[]");
  for (const char* name : staying) put(name, "[]");
  fake.clock->advance(std::chrono::duration<double>(1));
  put("noaa_wind_young", "[]");
  fake.clock->advance(std::chrono::duration<double>(2'592'000));
  EXPECT_TRUE(cache.load("nws_points_a.json", std::nullopt));
  ASSERT_TRUE(fake.settle());
  for (const char* name : swept) EXPECT_EQ(kept(name), "none") << name;
  for (const char* name : staying) EXPECT_EQ(kept(name), "[]") << name;
  EXPECT_EQ(kept("noaa_wind_young"), "[]") << "exactly thirty days are not more";
  put("noaa_wind_later", "[]");
  fake.clock->advance(std::chrono::duration<double>(2'592'001));
  EXPECT_TRUE(cache.load("nws_points_a.json", std::nullopt));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(kept("noaa_wind_later"), "[]") << "only once";
}

}  // namespace
}  // namespace marlune::testing
