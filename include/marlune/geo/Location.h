#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/geo/SpacePoint.h"

namespace marlune {

/// A named point that carries its place on the Earth also as a point in space, ready-made, so that distances
/// to it cost no trigonometry. Shared freely between threads once it is no longer changed.
struct MARLUNE_API Location {
  double lat = 0.0;  ///< degrees north
  double lng = 0.0;  ///< degrees east
  std::string name;  ///< for people
  std::string id;
  /// "x", "y" and "z" in kilometres, by spacePoint(); see there for the axes.
  std::map<std::string, double, std::less<>> coord;

  /// `coord` as a point. A coordinate that lacks one of the three is a fault in the data that stops the
  /// process.
  SpacePoint point() const;

  struct Reading {
    std::vector<std::shared_ptr<Location>> locations;
    std::optional<std::string> error;  ///< why there are none
  };
  /// Reads a JSON array of objects, each with the numbers "lat" and "lng", the texts "name" and "id" and
  /// "coord", an object of numbers. One that lacks any of them spoils the whole list.
  static Reading readList(std::string_view json);
};

/// Locations in an order of their own, with their points packed for searching. Never changes.
class MARLUNE_API LocationList {
 public:
  explicit LocationList(std::vector<std::shared_ptr<Location>> locations = {});

  bool empty() const { return locations_.empty(); }
  const std::vector<std::shared_ptr<Location>>& locations() const { return locations_; }

  /// As NearestLocationFinder finds it, only quicker where one list is asked often.
  std::shared_ptr<Location> closestTo(double lat, double lng, double withinDistance) const;

 private:
  std::vector<std::shared_ptr<Location>> locations_;
  std::vector<SpacePoint> points_;
};

}  // namespace marlune
