#include <gtest/gtest.h>

#include <cmath>

#include "marlune/ocean/source/OceanSource.h"
#include "marlune/ocean/source/OceanTimes.h"
#include "marlune/ocean/source/WaterTemperatureDataProvider.h"

namespace marlune {
namespace {

std::shared_ptr<const TimeSeriesData> sample(double date, double value = 1) {
  return std::make_shared<const TimeSeriesData>(dateFromSeconds(date), value);
}

TEST(OceanRecordsTest, ThePickedSampleIsTheNearestWithinAnHourAndAHalf) {
  const auto day = std::make_shared<const WaterTempData>(
      1, 2, TimeSeries{sample(0, 10), sample(3600, 11), sample(7200, 12)}, true);
  const auto at = [&](double seconds) {
    const auto picked = sampleNearestTo(dateFromSeconds(seconds), day);
    return picked ? picked->timeSeries.at(0)->value : -1.0;
  };
  EXPECT_EQ(at(-5400), 10);
  EXPECT_EQ(at(-5401), -1);
  EXPECT_EQ(at(1800), 10) << "of two the earlier";
  EXPECT_EQ(at(1801), 11);
  EXPECT_EQ(at(7200 + 5400), 12);
  EXPECT_EQ(at(7200 + 5400.001), -1);
  EXPECT_EQ(at(std::nan("")), -1);
  EXPECT_EQ(sampleNearestTo(dateFromSeconds(0), nullptr), nullptr);
}

TEST(OceanRecordsTest, DaysAreThoseOfTheZonesCalendar) {
  const struct {
    const char* zone;
    double instant;
    const char* name;
    std::int64_t start, end;
  } days[] = {
      {"UTC", 1741132800, "2025-03-05", 1741132800, 1741219200},
      {"America/Los_Angeles", 1741510800, "2025-03-09", 1741507200, 1741507200 + 23 * 3600},
      {"Australia/Lord_Howe", 1743870000, "2025-04-06", 1743858000, 1743858000 + 24 * 3600 + 1800},
      {"Africa/Cairo", 1745540000, "2025-04-25", 1745532000, 1745532000 + 23 * 3600},  // no midnight
      {"UTC", -0.5, "1969-12-31", -86400, 0},
  };
  for (const auto& [zone, instant, name, start, end] : days) {
    const auto day = ocean_times::dayOf(dateFromSeconds(instant), *TimeZone::named(zone));
    ASSERT_TRUE(day) << zone;
    EXPECT_EQ(day->name, name);
    EXPECT_EQ(day->start, start) << zone;
    EXPECT_EQ(day->end, end) << zone;
    EXPECT_EQ(ocean_times::dayAfter(*day, 1, *TimeZone::named(zone)).start, end);
    EXPECT_EQ(ocean_times::dayAfter(ocean_times::dayAfter(*day, 40, *TimeZone::named(zone)), -40,
                                    *TimeZone::named(zone))
                  .name,
              name);
  }
  for (const double beyond : {1e12, -1e12, 1e300, std::nan(""), -HUGE_VAL}) {
    EXPECT_FALSE(ocean_times::dayOf(dateFromSeconds(beyond), TimeZone())) << beyond;
  }
}

TEST(OceanRecordsTest, AttributesAreDecimalsWithAFraction) {
  const std::pair<double, std::string> written[] = {{270, "270.0"},
                                                    {12.5, "12.5"},
                                                    {-0.0, "0.0"},
                                                    {1e-5, "0.00001"},
                                                    {-2.5e-7, "-0.00000025"},
                                                    {0x1p54, "18014398509481984.0"},
                                                    {1e17, "100000000000000000.0"}};
  for (const auto& [value, text] : written) EXPECT_EQ(numberAttribute(value), text);
  for (const double value : {5e-324, -2.2250738585072011e-308, 1.7976931348623157e308})
    EXPECT_EQ(std::strtod(numberAttribute(value).c_str(), nullptr), value);
}

TEST(OceanRecordsTest, TimesAreReadStrictly) {
  using namespace ocean_times;
  EXPECT_EQ(utcInstant("2025-03-05 14:30"), 1741185000);
  for (const char* text : {"", "2025-03-05T14:30", "2025-02-29 14:30", "2025-03-05 24:00", "2025-03-05 14:60",
                           "2025-03-05 14:3", "2025-03-05 14:300", "2025-13-05 14:30", "10000-03-05 14:30"}) {
    EXPECT_FALSE(utcInstant(text)) << text;
  }
  const TimeZone zone = *TimeZone::named("America/New_York");
  EXPECT_EQ(localInstant("2025-03-09T01:30", zone), 1741501800);
  EXPECT_FALSE(localInstant("2025-03-09T02:30", zone)) << "skipped by the clock change";
  EXPECT_EQ(localInstant("2025-11-02T01:30", zone), 1762061400) << "the first of two";
}

TEST(OceanRecordsTest, OnlyPlacesOfTheEarthAreAskedFor) {
  EXPECT_TRUE(ocean::isPlace(-90, 1000));
  for (const double bad : {90.1, std::nan(""), HUGE_VAL}) EXPECT_FALSE(ocean::isPlace(bad, 0)) << bad;
  EXPECT_FALSE(ocean::isPlace(0, std::nan("")));
}

}  // namespace
}  // namespace marlune
