#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/tides/TideStation.h"

/// Reads the list of Australian ports, a GeoJSON feature collection (see docs/formats.md). Needs no state:
/// safe from any thread.
namespace marlune::australian_station_file {

struct Reading {
  /// In file order. A feature without a port code is a station without id.
  std::vector<std::shared_ptr<TideStation>> stations;
  /// What keeps the text from being JSON, for people; there are no stations then.
  std::optional<std::string> error;
};

/// The stations of a text. Members that are absent or of another type than they should be are absent texts
/// and zeros; JSON of another shape holds no stations, which is no error.
Reading read(std::string_view json);

}  // namespace marlune::australian_station_file
