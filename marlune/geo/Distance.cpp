#include "marlune/geo/Distance.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace marlune {

namespace {
constexpr double radiansPerDegree = std::numbers::pi / 180.0;
}

SpherePoint spherePoint(Coordinate coordinate) {
  const double latitude = coordinate.latitude * radiansPerDegree;
  const double longitude = coordinate.longitude * radiansPerDegree;
  const double ring = std::cos(latitude);
  return {ring * std::cos(longitude), ring * std::sin(longitude), std::sin(latitude)};
}

double distanceInMeters(Coordinate a, Coordinate b) {
  const double halfLatitude = std::sin((b.latitude - a.latitude) * radiansPerDegree / 2);
  const double halfLongitude = std::sin((b.longitude - a.longitude) * radiansPerDegree / 2);
  const double haversine = halfLatitude * halfLatitude + std::cos(a.latitude * radiansPerDegree) *
                                                             std::cos(b.latitude * radiansPerDegree) *
                                                             halfLongitude * halfLongitude;
  return 2 * earthRadiusInMeters * std::asin(std::sqrt(std::min(1.0, haversine)));
}

}  // namespace marlune
