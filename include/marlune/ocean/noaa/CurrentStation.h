#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/geo/SpacePoint.h"

namespace marlune {

/// A current station of the United States, of the list that is shipped as a resource.
struct MARLUNE_API CurrentStation {
  std::string id;
  double lat = 0.0;      ///< degrees north
  double lng = 0.0;      ///< degrees east
  std::string name;      ///< for people
  std::int64_t bin = 0;  ///< depth bin of its predictions
  /// "x", "y" and "z" in kilometres, by spacePoint().
  std::map<std::string, double, std::less<>> coord;

  /// `coord` as a point. A coordinate that lacks one of the three is a fault in the data that stops the
  /// process.
  SpacePoint point() const;

  struct Reading {
    std::vector<std::shared_ptr<const CurrentStation>> stations;
    std::optional<std::string> error;  ///< why there are none
  };
  /// Reads a JSON array of objects, each with the texts "id" and "name", the numbers "lat" and "lng", the
  /// whole number "bin" and "coord", an object of numbers. One that lacks any of them spoils the whole list.
  static Reading readList(std::string_view json);
};

}  // namespace marlune
