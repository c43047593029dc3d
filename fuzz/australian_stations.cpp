#include "fuzz/Target.h"
#include "marlune/providers/AustralianStationFile.h"

/// Text that is no JSON holds no stations; every other station belongs to the country.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto reading = australian_station_file::read(bytes);
  MARLUNE_FUZZ_REQUIRE(!reading.error || reading.stations.empty());
  for (const auto& station : reading.stations) {
    MARLUNE_FUZZ_REQUIRE(station->country == "Australia" && station->stationId == station->stationExtId);
  }
}
