#pragma once

#include <memory>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/geo/Location.h"

namespace marlune {

/// Picks the nearest of a list of named points. Has no state: safe from any thread.
class MARLUNE_API NearestLocationFinder {
 public:
  NearestLocationFinder() = delete;

  /// The location of `from` with the shortest straight line through the sphere to the place in degrees, of
  /// those within `withinDistance` kilometres, the limit included; of equal ones the first. An empty pointer
  /// when there is none. Requires that no pointer of the list is empty; a location whose `coord` lacks "x",
  /// "y" or "z" stops the process.
  static std::shared_ptr<Location> findClosestTo(double lat, double lng,
                                                 const std::vector<std::shared_ptr<Location>>& from,
                                                 double withinDistance);
};

}  // namespace marlune
