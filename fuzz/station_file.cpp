#include <algorithm>

#include "fuzz/Target.h"
#include "marlune/formats/Text.h"
#include "marlune/tides/StationFile.h"

/// Looking one station up finds what reading the whole file lists first under that id.
MARLUNE_FUZZ_TARGET(text) {
  const auto read = station_file::stationsOf(text);
  MARLUNE_FUZZ_REQUIRE(isUtf8(text) == read.has_value());
  if (!read) return;
  const auto& stations = *read;
  std::size_t looked = 0;
  for (const auto& station : stations) {
    MARLUNE_FUZZ_REQUIRE(station && station->stationId && station->country == "United States");
    if (++looked > 20) break;  // each look-up reads the file
    const auto found = station_file::stationOf(text, *station->stationId);
    const auto first = std::find_if(stations.begin(), stations.end(),
                                    [&](const auto& other) { return other->isEqual(station.get()); });
    MARLUNE_FUZZ_REQUIRE(found && first != stations.end());
    MARLUNE_FUZZ_REQUIRE(found->stationName == (*first)->stationName);
  }
}
