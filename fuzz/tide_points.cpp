#include "fuzz/Target.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/formats/Text.h"
#include "marlune/global/TidePoints.h"

namespace {

void checkStation(const TideStation& station) {
  MARLUNE_FUZZ_REQUIRE(station.isGlobal && TideStation::isGlobalStationId(station.stationId));
  MARLUNE_FUZZ_REQUIRE(station.stationId == "global_" + *station.stationExtId);
  MARLUNE_FUZZ_REQUIRE(std::to_string(lenientInteger(*station.stationExtId)) == *station.stationExtId);
  MARLUNE_FUZZ_REQUIRE(!station.stationName->empty() && !station.timezoneName->empty());
  const bool labelled = *station.stationName == tide_points::coordinateLabel(station.coordinate);
  MARLUNE_FUZZ_REQUIRE(station.hasResolvedName || labelled);
  for (const auto& text : {*station.stationName, *station.stateId, *station.country, *station.timezoneName}) {
    MARLUNE_FUZZ_REQUIRE(trimmed(text) == text && isUtf8(text));
  }
}

}  // namespace

/// What is decoded holds what every worldwide point holds. A reader that was used before, and blanks and a
/// number that no double holds around the list, change nothing.
MARLUNE_FUZZ_TARGET(bytes) {
  const std::string text(bytes);
  JsonReaders readers;
  const auto stations = tide_points::stationsOf(text, readers);
  if (stations) {
    for (const auto& station : *stations) checkStation(*station);
  }
  const auto again = tide_points::stationsOf(text + " \n", readers);
  MARLUNE_FUZZ_REQUIRE(again.has_value() == stations.has_value());
  if (!stations || text.find(']') == std::string::npos) return;
  MARLUNE_FUZZ_REQUIRE(again->size() == stations->size());
  const std::string more = text.substr(0, text.rfind(']')) + (stations->empty() ? "" : ",") +
                           R"({"id":7,"lat":0,"lon":0,"x":[-1e999,12345678901234567890123]}])";
  const auto longer = tide_points::stationsOf(more, readers);
  MARLUNE_FUZZ_REQUIRE(longer && longer->size() == stations->size() + 1);
  for (std::size_t i = 0; i < stations->size(); ++i) {
    MARLUNE_FUZZ_REQUIRE((*longer)[i]->stationId == (*stations)[i]->stationId);
    MARLUNE_FUZZ_REQUIRE((*longer)[i]->coordinate == (*stations)[i]->coordinate);
    MARLUNE_FUZZ_REQUIRE((*longer)[i]->stationName == (*stations)[i]->stationName);
  }
}
