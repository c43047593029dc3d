#include "fuzz/Target.h"
#include "marlune/providers/AdmiraltyEvents.h"
#include "marlune/providers/AdmiraltyStationFile.h"

/// Events have levels in metres that 32 bits hold, stations a place and a zone; what is no JSON is neither.
MARLUNE_FUZZ_TARGET(json) {
  const auto year = admiralty_events::read(json);
  const auto ports = admiralty_station_file::read(json);
  MARLUNE_FUZZ_REQUIRE(year.error.has_value() == ports.error.has_value() ||
                       json.size() > admiralty_events::maximumSize);
  MARLUNE_FUZZ_REQUIRE(!year.error || (!year.events && ports.stations.empty()));
  if (year.events) {
    for (const TideEvent& event : *year.events) {
      MARLUNE_FUZZ_REQUIRE(std::isfinite(event.tidelevel) && event.tideLevelInMeters);
      MARLUNE_FUZZ_REQUIRE(double{static_cast<float>(event.tidelevel)} == event.tidelevel);
      // Years 0 to 9999.
      MARLUNE_FUZZ_REQUIRE(event.timestamp >= -62'167'219'200 && event.timestamp <= 253'402'300'799);
    }
  }
  for (const auto& station : ports.stations) {
    MARLUNE_FUZZ_REQUIRE(station->getTimezone().has_value());
    MARLUNE_FUZZ_REQUIRE(std::isfinite(station->coordinate.latitude) &&
                         std::isfinite(station->coordinate.longitude));
  }
}
