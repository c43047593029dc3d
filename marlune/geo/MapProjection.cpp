#include "marlune/geo/MapProjection.h"

#include <cmath>
#include <numbers>

namespace marlune {

// x is linear in longitude; y = 1/2 - ln((1 + sin lat) / (1 - sin lat)) / 4 pi, both in world sizes.
MapPoint mapPoint(Coordinate coordinate) {
  const double sine = std::sin(coordinate.latitude * std::numbers::pi / 180.0);
  return {mapWorldSize * (coordinate.longitude + 180.0) / 360.0,
          mapWorldSize * (0.5 - std::log((1 + sine) / (1 - sine)) / (4 * std::numbers::pi))};
}

}  // namespace marlune
