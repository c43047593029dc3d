#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "marlune/geo/SpacePoint.h"
#include "marlune/ocean/source/BoundedCache.h"

namespace marlune {

/// A list of stations that is loaded when it is first needed, and which of them is nearest to each place that
/// was asked for, by the application's name of the place. That there is none is remembered too, and the
/// answer stays with the name, whatever coordinates come with it later; but only for the latest
/// `maximumRemembered` names. Nothing is remembered of an empty list. Used by one thread at a time.
///
/// A station has `SpacePoint point() const`.
template <class Station>
class NearestStationMemo {
 public:
  using StationPointer = std::shared_ptr<const Station>;
  using Stations = std::vector<StationPointer>;

  static constexpr double farthest = 50.0;  ///< kilometres of a straight line
  static constexpr std::size_t maximumRemembered = 4096;

  /// `load` is called once at most; it may come back empty-handed.
  explicit NearestStationMemo(std::function<Stations()> load) : load_(std::move(load)) {}

  /// The nearest station within 50 km, the limit included; of equally near ones the first.
  StationPointer find(const std::string& locationId, double lat, double lng) {
    if (const auto* known = nearestStationCache_.find(locationId)) return *known;
    auto nearest = search(lat, lng);
    if (!stations_->empty()) nearestStationCache_.store(locationId, nearest);
    return nearest;
  }

  /// The same without remembering.
  StationPointer search(double lat, double lng) {
    if (!stations_) {
      stations_ = load_();
      points_.reserve(stations_->size());
      for (const auto& station : *stations_) points_.push_back(station->point());
    }
    const auto nearest = nearestWithin(spacePoint(lat, lng), points_, farthest);
    return nearest ? (*stations_)[*nearest] : nullptr;
  }

 private:
  const std::function<Stations()> load_;
  std::optional<Stations> stations_;
  std::vector<SpacePoint> points_;  // of the stations, packed
  BoundedCache<StationPointer> nearestStationCache_{maximumRemembered};
};

}  // namespace marlune
