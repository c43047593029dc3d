#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/geo/Coordinate.h"
#include "marlune/geo/Distance.h"
#include "marlune/geo/MapProjection.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// Lets text-keyed tables be asked with views.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

/// A list of stations and what it is asked by id and by place: never changed once made, so safe from any
/// thread. What a question needs is made at the first such question: many processes never ask. It requires
/// that the list holds no empty pointer and that nobody changes id or coordinate of a station in it.
///
///     const StationList points(std::move(stations));
///     show(points.inMapRect(visible));
class MARLUNE_API StationList {
 public:
  using Stations = std::vector<std::shared_ptr<TideStation>>;
  /// Positions in the list by id; the keys lie in stations that the list's owner keeps.
  using Index = std::unordered_map<std::string_view, std::uint32_t, TextHash, std::equal_to<>>;

  StationList() = default;
  explicit StationList(Stations stations) : all_(std::move(stations)) {}
  /// For who has the index already.
  StationList(Stations stations, Index byId);
  StationList(const StationList&) = delete;
  StationList& operator=(const StationList&) = delete;
  ~StationList() = default;

  const Stations& all() const { return all_; }
  const Index& index() const;

  /// Of several stations with the id the last; an empty pointer where there is none.
  std::shared_ptr<TideStation> byId(std::string_view stationId) const;

  /// Every station, nearest first. Stations that share an id stand where the last of them lies.
  Stations byDistance(Coordinate from) const;

  /// The stations inside a rectangle of the projected world, in the list's order.
  Stations inMapRect(const MapRect& rect) const;

 private:
  const std::vector<SpherePoint>& onSphere() const;
  struct Placed {
    MapPoint at;
    std::uint32_t index;  // in the list
  };
  const std::vector<Placed>& onMap() const;
  Stations at(const std::vector<std::uint32_t>& positions) const;

  const Stations all_{};
  mutable std::once_flag indexMade_;
  mutable std::once_flag sphereMade_;
  mutable std::once_flag mapMade_;
  mutable Index index_;
  mutable std::vector<SpherePoint> onSphere_;
  mutable std::vector<Placed> onMap_;  // by x, without those that lie nowhere
};

}  // namespace marlune
