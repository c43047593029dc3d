#pragma once

#include "marlune/base/Export.h"
#include "marlune/geo/Coordinate.h"

namespace marlune {

/// Radius of the sphere that distances are taken on, in metres.
constexpr double earthRadiusInMeters = 6'371'000.0;

/// A point on the unit sphere, axes toward (0 N, 0 E), (0 N, 90 E) and the north pole.
struct SpherePoint {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

MARLUNE_API SpherePoint spherePoint(Coordinate coordinate);

/// Square of the straight line between two points of the unit sphere, 0 to 4. It orders like the distance
/// along the surface and costs no trigonometry.
constexpr double squaredChord(SpherePoint a, SpherePoint b) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  const double dz = a.z - b.z;
  return dx * dx + dy * dy + dz * dz;
}

/// Distance along the surface in metres, great circle. Made from the chord, so that it orders exactly as
/// squaredChord() does.
MARLUNE_API double distanceInMeters(Coordinate a, Coordinate b);

}  // namespace marlune
