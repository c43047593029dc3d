#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "marlune/geo/Coordinate.h"
#include "marlune/geo/Distance.h"
#include "marlune/geo/MapProjection.h"
#include "marlune/platform/Export.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// Lets text-keyed tables be asked with views.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

/// The stations of a catalogue and the tables over them: never changed once made, so safe from any thread.
/// It requires that nobody changes id, state or coordinate of a station that is in it.
class MARLUNE_API StationTables {
 public:
  using Stations = std::vector<std::shared_ptr<TideStation>>;

  StationTables() = default;
  StationTables(const StationTables&) = delete;
  StationTables& operator=(const StationTables&) = delete;
  ~StationTables() = default;

  /// These tables with more stations, in order. One without state or id is skipped; a later station takes the
  /// id of an earlier one, but both stay in their states' lists.
  std::shared_ptr<const StationTables> adding(const Stations& stations) const;

  std::shared_ptr<TideStation> byId(std::string_view stationId) const;

  /// Every station once, in the order in which its id was first added.
  const Stations& all() const { return all_; }

  std::size_t stateCount() const { return byState_.size(); }
  /// Ascending by UTF-16 code unit.
  std::vector<std::string> states() const;
  /// Ascending by name, by UTF-16 code unit, equal names as added; nothing for an unknown state.
  std::optional<Stations> ofState(std::string_view state) const;

  /// Every station, nearest first.
  Stations byDistance(Coordinate from) const;

  /// The stations inside a rectangle of the projected world.
  Stations inMapRect(const MapRect& rect) const;

 private:
  struct Geometry {
    std::vector<SpherePoint> onSphere;
    std::vector<MapPoint> onMap;
  };
  const Geometry& geometry() const;

  Stations all_;
  std::unordered_map<std::string_view, std::uint32_t> byId_;  // into all_; keys lie in the stations
  std::unordered_map<std::string, Stations, TextHash, std::equal_to<>> byState_;
  mutable std::once_flag geometryMade_;  // made late: many processes never ask
  mutable Geometry geometry_;
};

}  // namespace marlune
