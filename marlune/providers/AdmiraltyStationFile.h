#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/tides/TideStation.h"

/// The catalogue of ports of the United Kingdom and Ireland: GeoJSON. See docs/formats.md. Pure functions,
/// safe from any thread.
namespace marlune::admiralty_station_file {

struct Reading {
  std::vector<std::shared_ptr<TideStation>> stations;  ///< in file order
  /// What keeps the text from being JSON, for people; there are no stations then.
  std::optional<std::string> error;
};

/// A feature whose position is not two numbers is passed over.
Reading read(std::string_view json);

/// The zone of a country or nation as the catalogue names it; London's for every other text.
std::string_view timeZoneOf(std::string_view country);

}  // namespace marlune::admiralty_station_file
