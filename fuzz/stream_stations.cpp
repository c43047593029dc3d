#include "fuzz/Target.h"
#include "marlune/ocean/ukho/UKHOStreamStation.h"

/// A collection has no feature when it has an error; stations are the features with a place, in their order,
/// each at its point of the sphere.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto reading = StreamStationsGeoJSON::read(bytes);
  const auto& features = reading.document.features;
  MARLUNE_FUZZ_REQUIRE(!reading.error || features.empty());
  const auto stations = UKHOStreamStation::listOf(reading.document);
  std::size_t next = 0;
  for (const auto& feature : features) {
    if (feature.geometry.coordinates.size() < 2) continue;
    MARLUNE_FUZZ_REQUIRE(next < stations.size());
    const UKHOStreamStation& station = *stations[next++];
    MARLUNE_FUZZ_REQUIRE(station.id == feature.properties.Id && station.name == feature.properties.Name);
    MARLUNE_FUZZ_REQUIRE(station.lng == feature.geometry.coordinates[0]);
    MARLUNE_FUZZ_REQUIRE(station.lat == feature.geometry.coordinates[1]);
    const auto [x, y, z] = station.point();
    MARLUNE_FUZZ_REQUIRE(std::fabs(std::sqrt(x * x + y * y + z * z) - 6371) < 1e-6);
  }
  MARLUNE_FUZZ_REQUIRE(next == stations.size());
}
