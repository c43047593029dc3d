#pragma once

namespace marlune {

/// A position on the Earth in degrees, WGS-84: latitude north, longitude east.
struct Coordinate {
  double latitude = 0.0;
  double longitude = 0.0;

  bool operator==(const Coordinate&) const = default;
};

}  // namespace marlune
