#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/geo/SpacePoint.h"

namespace marlune {

/// The list of the United Kingdom's stream stations as it is shipped: a GeoJSON feature collection.
struct MARLUNE_API StreamStationsGeoJSON {
  struct Geometry {
    std::vector<double> coordinates;  ///< degrees, longitude first
  };
  struct Properties {
    std::string Id;
    std::string Name;
  };
  struct Feature {
    Geometry geometry;
    Properties properties;
  };
  std::vector<Feature> features;

  struct Reading;
  /// Every feature must have all of the above, or none is read.
  static Reading read(std::string_view json);
};

struct StreamStationsGeoJSON::Reading {
  StreamStationsGeoJSON document;
  std::optional<std::string> error;  ///< why it is empty
};

/// A tidal-stream station of the United Kingdom.
struct MARLUNE_API UKHOStreamStation {
  using List = std::vector<std::shared_ptr<const UKHOStreamStation>>;

  std::string id;
  std::string name;
  double lat = 0.0;  ///< degrees north
  double lng = 0.0;  ///< degrees east
  SpacePoint coord;

  const SpacePoint& point() const { return coord; }

  /// Those of the features that have at least two coordinates.
  static List listOf(const StreamStationsGeoJSON& document);
};

}  // namespace marlune
