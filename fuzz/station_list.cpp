#include <algorithm>

#include "fuzz/Target.h"
#include "marlune/geo/NearestLocationFinder.h"

/// A list is read whole or not at all; the packed list finds what the finder finds.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto reading = Location::readList(bytes);
  MARLUNE_FUZZ_REQUIRE(!reading.error || (reading.locations.empty() && !reading.error->empty()));
  const auto hasPoint = [](const auto& location) {
    return location->coord.contains("x") && location->coord.contains("y") && location->coord.contains("z");
  };
  // Such data stop the process, as published.
  if (!std::all_of(reading.locations.begin(), reading.locations.end(), hasPoint)) return;
  const LocationList list(reading.locations);
  for (const double limit : {0.0, 100.0, 20'000.0}) {
    const auto found = list.closestTo(37.8, -122.4, limit);
    MARLUNE_FUZZ_REQUIRE(NearestLocationFinder::findClosestTo(37.8, -122.4, reading.locations, limit) ==
                         found);
    if (!found) continue;
    MARLUNE_FUZZ_REQUIRE(list.closestTo(37.8, -122.4, 1e300) == found);
  }
}
