#include <cstdint>
#include <string_view>

#include "fuzz/Require.h"
#include "marlune/providers/AustralianStationFile.h"

using namespace marlune;

/// Text that is no JSON holds no stations; every other station belongs to the country.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto reading =
      australian_station_file::read(std::string_view(reinterpret_cast<const char*>(data), size));
  MARLUNE_FUZZ_REQUIRE(!reading.error || reading.stations.empty());
  for (const auto& station : reading.stations) {
    MARLUNE_FUZZ_REQUIRE(station->country == "Australia" && station->stationId == station->stationExtId);
  }
  return 0;
}
