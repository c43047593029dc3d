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
  const double chord = std::sqrt(squaredChord(spherePoint(a), spherePoint(b)));
  return 2 * earthRadiusInMeters * std::asin(std::min(1.0, chord / 2));
}

}  // namespace marlune
