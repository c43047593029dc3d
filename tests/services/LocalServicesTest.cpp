#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "services/ServicesTest.h"

namespace marlune::services {
namespace {

using LocalServicesTest = ServicesTest;

// Beside those with shorter or like prefixes, and all have one clock.
TEST_F(LocalServicesTest, eachPathReachesItsService) {
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
      {"/v1/tideapi.php?op=x", "unknown operation"},
      {"/v1/tideapi.php?op=highlowtide&version=1&format=xml&id=1&year=2026", "<error"}};
  for (const auto& [target, part] : cases)
    EXPECT_NE(get(target).text.find(part), std::string::npos) << target;
}

}  // namespace
}  // namespace marlune::services
