#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/tides/TideStation.h"

/// The text catalogue of United States stations: UTF-8, one station a line, eight fields between "~". See
/// docs/formats.md. Pure functions, safe from any thread.
namespace marlune::station_file {

/// The station of a line, with country "United States"; none when the line has not exactly eight fields.
MARLUNE_API std::shared_ptr<TideStation> stationOfLine(std::string_view line);

/// Every station of a file, in file order; nothing when the file is not UTF-8 and so cannot be read at all.
MARLUNE_API std::optional<std::vector<std::shared_ptr<TideStation>>> stationsOf(std::string_view text);

/// The first station whose first field is that id, or none. Makes no record of any other.
MARLUNE_API std::shared_ptr<TideStation> stationOf(std::string_view text, std::string_view stationId);

}  // namespace marlune::station_file
