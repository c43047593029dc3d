#include "marlune/tides/TideStation.h"

#include <utility>

#include "marlune/formats/KeyedArchive.h"

namespace marlune {

TideStation::TideStation(std::optional<std::string> id, std::optional<std::string> externalId,
                         bool subordinate, double latitude, double longitude, std::optional<std::string> name,
                         std::optional<std::string> state, std::optional<std::string> countryName,
                         std::optional<std::string> zoneName)
    : stationId(std::move(id)),
      stationExtId(std::move(externalId)),
      stationName(std::move(name)),
      stateId(std::move(state)),
      timezoneName(std::move(zoneName)),
      isSubordinate(subordinate),
      country(std::move(countryName)),
      coordinate{latitude, longitude} {}

TideStation::TideStation(const KeyedDecoder& decoder)
    : TideStation(decoder.decodeText("StationId"), decoder.decodeText("StationExtId"),
                  decoder.decodeInt32("IsSubordinate") == 0, decoder.decodeDouble("Latitude"),
                  decoder.decodeDouble("Longitude"), decoder.decodeText("StationName"),
                  decoder.decodeText("StateId"), decoder.decodeText("Country"),
                  decoder.decodeText("Timezone")) {
  isGlobal = decoder.decodeBool("IsGlobal");
}

std::optional<TimeZone> TideStation::getTimezone() const {
  if (auto known = _timezone.get()) return known;
  if (!timezoneName || timezoneName->empty()) return std::nullopt;
  const auto zone = TimeZone::named(*timezoneName);
  if (zone) _timezone.set(*zone);
  return zone;
}

void TideStation::encodeWithCoder(KeyedEncoder& encoder) const {
  encoder.encodeText("StationId", stationId);
  encoder.encodeText("StationExtId", stationExtId);
  encoder.encodeInt32("IsSubordinate", isSubordinate ? 0 : 1);  // archives have always held it inverted
  encoder.encodeDouble("Latitude", coordinate.latitude);
  encoder.encodeDouble("Longitude", coordinate.longitude);
  encoder.encodeText("StationName", stationName);
  encoder.encodeText("StateId", stateId);
  encoder.encodeText("Country", country);
  encoder.encodeText("Timezone", timezoneName);
  encoder.encodeBool("IsGlobal", isGlobal);
}

}  // namespace marlune
