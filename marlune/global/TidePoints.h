#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/geo/Coordinate.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

class JsonReaders;

/// The list of worldwide points as the service sends it; docs/formats.md has its form. Pure functions, safe
/// from any thread.
namespace tide_points {

/// The points as stations, in their order; nothing when the document, or one point in it, is not as it must
/// be.
MARLUNE_API std::optional<std::vector<std::shared_ptr<TideStation>>> stationsOf(std::string_view json,
                                                                                JsonReaders& readers);

/// A place for people, where it has no name: "33.869°S 151.209°E".
MARLUNE_API std::string coordinateLabel(Coordinate place);

/// The name of the zone of whole hours that a longitude lies in: "Etc/GMT-5" at 75 degrees east. These names
/// count hours west of Greenwich.
MARLUNE_API std::string zoneOfLongitude(double longitude);

}  // namespace tide_points

}  // namespace marlune
