#include "marlune/tides/StationList.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace marlune {

StationList::StationList(Stations stations, Index byId) : all_(std::move(stations)), index_(std::move(byId)) {
  std::call_once(indexMade_, [] {});
}

const StationList::Index& StationList::index() const {
  std::call_once(indexMade_, [this] {
    index_.reserve(all_.size());
    for (std::uint32_t i = 0; i < all_.size(); ++i) {
      if (all_[i]->stationId) index_.insert_or_assign(*all_[i]->stationId, i);
    }
  });
  return index_;
}

std::shared_ptr<TideStation> StationList::byId(std::string_view stationId) const {
  const auto found = index().find(stationId);
  return found == index().end() ? nullptr : all_[found->second];
}

const std::vector<SpherePoint>& StationList::onSphere() const {
  std::call_once(sphereMade_, [this] {
    const bool shareIds = index().size() < all_.size();
    onSphere_.reserve(all_.size());
    for (const auto& station : all_) {
      const bool shares = shareIds && station->stationId;
      const auto& placed = shares ? all_[index().find(*station->stationId)->second] : station;
      onSphere_.push_back(spherePoint(placed->coordinate));
    }
  });
  return onSphere_;
}

const std::vector<StationList::Placed>& StationList::onMap() const {
  std::call_once(mapMade_, [this] {
    onMap_.reserve(all_.size());
    for (std::uint32_t i = 0; i < all_.size(); ++i) {
      const MapPoint at = mapPoint(all_[i]->coordinate);
      if (at.x == at.x) onMap_.push_back({at, i});
    }
    std::sort(onMap_.begin(), onMap_.end(), [](const Placed& a, const Placed& b) { return a.at.x < b.at.x; });
  });
  return onMap_;
}

StationList::Stations StationList::byDistance(Coordinate from) const {
  struct Ranked {
    double distance;
    std::uint32_t index;
  };
  const SpherePoint center = spherePoint(from);
  const auto& points = onSphere();
  std::vector<Ranked> ranked(points.size());
  for (std::uint32_t i = 0; i < ranked.size(); ++i) {
    const double distance = squaredChord(center, points[i]);
    // A coordinate that is no number has no distance; it goes last, and the order stays a strict one.
    ranked[i] = {distance == distance ? distance : 5.0, i};
  }
  std::sort(ranked.begin(), ranked.end(),
            [](const Ranked& a, const Ranked& b) { return a.distance < b.distance; });
  std::vector<std::uint32_t> positions(ranked.size());
  std::transform(ranked.begin(), ranked.end(), positions.begin(),
                 [](const Ranked& entry) { return entry.index; });
  return at(positions);
}

StationList::Stations StationList::inMapRect(const MapRect& rect) const {
  const auto& points = onMap();
  const auto from = [&](double x) {
    return std::lower_bound(points.begin(), points.end(), x,
                            [](const Placed& point, double edge) { return point.at.x < edge; });
  };
  // A bit for each station of the list, so that the answer has the list's order without being sorted, and no
  // branch on whether a point lies inside, which nobody can guess.
  constexpr std::size_t wordBits = 64;
  std::vector<std::uint64_t> inside((all_.size() + wordBits - 1) / wordBits);
  std::size_t count = 0;
  const auto end = from(rect.x + rect.width);
  for (auto point = from(rect.x); point < end; ++point) {
    const std::uint64_t hit = rect.contains(point->at) ? 1 : 0;
    inside[point->index / wordBits] |= hit << (point->index % wordBits);
    count += hit;
  }
  std::vector<std::uint32_t> positions;
  positions.reserve(count);
  for (std::size_t word = 0; word < inside.size(); ++word) {
    for (std::uint64_t left = inside[word]; left != 0; left &= left - 1) {
      positions.push_back(static_cast<std::uint32_t>(word * wordBits) +
                          static_cast<std::uint32_t>(std::countr_zero(left)));
    }
  }
  return at(positions);
}

StationList::Stations StationList::at(const std::vector<std::uint32_t>& positions) const {
  // To hand out a pointer is to count it in the station's own memory, which a large list has seldom at hand.
  constexpr std::size_t ahead = 12;
  Stations stations;
  stations.reserve(positions.size());
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (i + 2 * ahead < positions.size()) __builtin_prefetch(&all_[positions[i + 2 * ahead]]);
    if (i + ahead < positions.size()) __builtin_prefetch(all_[positions[i + ahead]].get());
    stations.push_back(all_[positions[i]]);
  }
  return stations;
}

}  // namespace marlune
