#include "marlune/geo/NearestLocationFinder.h"

namespace marlune {

std::shared_ptr<Location> NearestLocationFinder::findClosestTo(
    double lat, double lng, const std::vector<std::shared_ptr<Location>>& from, double withinDistance) {
  std::vector<SpacePoint> points;
  points.reserve(from.size());
  for (const auto& location : from) points.push_back(location->point());
  const auto nearest = nearestWithin(spacePoint(lat, lng), points, withinDistance);
  return nearest ? from[*nearest] : nullptr;
}

}  // namespace marlune
