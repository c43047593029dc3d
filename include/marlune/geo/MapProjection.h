#pragma once

#include "marlune/base/Export.h"
#include "marlune/geo/Coordinate.h"

namespace marlune {

/// Side of the square that the world is projected to, in map points.
constexpr double mapWorldSize = 268'435'456.0;

/// A point of the projected world: origin in the north-west corner, x eastward, y southward.
struct MapPoint {
  double x = 0.0;
  double y = 0.0;
};

/// A rectangle of the projected world.
struct MapRect {
  double x = 0.0;
  double y = 0.0;
  double width = 0.0;
  double height = 0.0;

  /// The north and west edges belong to the rectangle, the south and east edges do not.
  constexpr bool contains(MapPoint point) const {
    return point.x >= x && point.x < x + width && point.y >= y && point.y < y + height;
  }
};

/// Spherical Web Mercator. A pole lies infinitely far north or south, so in no rectangle.
MARLUNE_API MapPoint mapPoint(Coordinate coordinate);

}  // namespace marlune
