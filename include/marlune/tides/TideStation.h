#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Export.h"
#include "marlune/geo/Coordinate.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

class KeyedEncoder;
class KeyedDecoder;

/// A place for which tides are predicted. Stations are held by `std::shared_ptr` and known by `stationId`.
/// Those of the catalogue are written only while it is loaded and read from any thread afterwards; whoever
/// changes a record must be the only one to use it meanwhile. getTimezone() may be called from any thread.
class MARLUNE_API TideStation {
 public:
  /// Does the id belong to a worldwide point? No id does not.
  static bool isGlobalStationId(const std::optional<std::string_view>& stationId) {
    return stationId && stationId->starts_with("global_");
  }

  /// No texts, the coordinate 0, 0 and every flag off.
  TideStation() = default;

  /// `isGlobal`, `hasResolvedName` and `stationAreaId` are left for the caller to set. Degrees.
  TideStation(std::optional<std::string> id, std::optional<std::string> externalId, bool subordinate,
              double latitude, double longitude, std::optional<std::string> name,
              std::optional<std::string> state, std::optional<std::string> countryName,
              std::optional<std::string> zoneName);

  /// From an archive, by the keys that encodeWithCoder() writes. An absent text is none, an absent number 0,
  /// an absent flag off, save that a record without "IsSubordinate" is subordinate.
  explicit TideStation(const KeyedDecoder& decoder);

  std::optional<std::string> stationId;     ///< primary key; equality of stations is equality of this text
  std::optional<std::string> stationExtId;  ///< number at the national service
  std::optional<std::string> stationName;   ///< for people
  std::optional<std::string> stateId;       ///< groups stations
  std::optional<std::string> timezoneName;  ///< IANA name; may be empty
  bool isSubordinate = false;               ///< predicted by offsets from a reference station
  std::optional<std::string> country;
  Coordinate coordinate;                     ///< WGS-84, degrees
  bool isGlobal = false;                     ///< a worldwide point
  bool hasResolvedName = false;              ///< a name for people was found for a worldwide point
  std::optional<std::string> stationAreaId;  ///< area product of an Australian station

  /// Same, present `stationId`; nothing else takes part. Two records without id are not equal. There is no
  /// hash to match: key sets and maps by `stationId`.
  bool isEqual(const TideStation* other) const {
    return other != nullptr && stationId && other->stationId && *stationId == *other->stationId;
  }
  bool operator==(const TideStation& other) const { return isEqual(&other); }

  /// The zone of `timezoneName`; nothing when that is absent, empty or no zone. The first zone found is kept
  /// for the life of the record, whatever `timezoneName` becomes.
  std::optional<TimeZone> getTimezone() const;

  /// Writes the ten keys of the archive form; "IsSubordinate" is stored inverted, 1 for a reference station.
  void encodeWithCoder(KeyedEncoder& encoder) const;

 private:
  mutable TimeZoneSlot _timezone;
};

}  // namespace marlune
