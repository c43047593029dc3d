#include "fuzz/Target.h"
#include "marlune/ocean/noaa/CurrentStation.h"

/// A list has no station when it has an error; its numbers are finite. It can be read behind a good station.
MARLUNE_FUZZ_TARGET(bytes) {
  const std::string text(bytes);
  const auto reading = CurrentStation::readList(text);
  MARLUNE_FUZZ_REQUIRE(!reading.error || reading.stations.empty());
  for (const auto& station : reading.stations) {
    MARLUNE_FUZZ_REQUIRE(std::isfinite(station->lat) && std::isfinite(station->lng));
    for (const auto& [axis, value] : station->coord) MARLUNE_FUZZ_REQUIRE(std::isfinite(value));
  }
  if (reading.stations.empty()) return;
  const std::string good = R"([{"id":"A","lat":1,"lng":2,"name":"N","bin":3,"coord":{"x":1,"y":2,"z":3}},)";
  const auto longer = CurrentStation::readList(good + text.substr(text.find('[') + 1));
  MARLUNE_FUZZ_REQUIRE(longer.stations.size() == reading.stations.size() + 1);
  MARLUNE_FUZZ_REQUIRE(longer.stations[0]->point().z == 3);
  MARLUNE_FUZZ_REQUIRE(longer.stations[1]->id == reading.stations[0]->id);
}
