#pragma once

#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <numbers>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// A point in space, in kilometres from the centre of a sphere of 6371.0 km, axes toward (0 N, 0 E),
/// (0 N, 90 E) and the north pole.
struct SpacePoint {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

/// The point of a latitude and a longitude in degrees.
inline SpacePoint spacePoint(double lat, double lng) {
  constexpr double radius = 6371.0;
  constexpr double radian = std::numbers::pi / 180.0;
  const double phi = lat * radian;
  const double lambda = lng * radian;
  return {radius * std::cos(phi) * std::cos(lambda), radius * std::cos(phi) * std::sin(lambda),
          radius * std::sin(phi)};
}

/// The point of a station's "x", "y" and "z". Where one is missing the station's data are at fault, which
/// stops the process; why goes to standard error.
MARLUNE_API SpacePoint pointOf(const std::map<std::string, double, std::less<>>& coord,
                               std::string_view stationId);

/// Index of the point with the shortest straight line (chord) to `from`, of those within `limit` kilometres,
/// the limit included; of equal ones the first. Nothing when there is none, and for a `from` that is no
/// point.
inline std::optional<std::size_t> nearestWithin(SpacePoint from, std::span<const SpacePoint> points,
                                                double limit) {
  std::optional<std::size_t> best;
  constexpr double largest = std::numeric_limits<double>::max();
  // The limit's own, and a little more for what squares and roots round; nothing beyond it needs a root.
  double bestSquare = limit * limit * (1.0 + 1e-9) + 1e-300;
  if (!(bestSquare < largest)) bestSquare = largest;
  double bestDistance = largest;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const double dx = from.x - points[i].x;
    const double dy = from.y - points[i].y;
    const double dz = from.z - points[i].z;
    const double square = dx * dx + dy * dy + dz * dz;
    if (!(square < bestSquare)) continue;  // a root is only taken of what may be nearer
    const double distance = std::sqrt(square);
    if (!(distance < bestDistance) || distance > limit) continue;
    best = i;
    bestSquare = square;
    bestDistance = distance;
  }
  return best;
}

}  // namespace marlune
