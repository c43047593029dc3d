#include "marlune/tides/StationTables.h"

#include <algorithm>

#include "marlune/platform/Text.h"

namespace marlune {

namespace {

std::string_view nameOf(const std::shared_ptr<TideStation>& station) {
  return station->stationName ? std::string_view(*station->stationName) : std::string_view();
}

}  // namespace

std::shared_ptr<const StationTables> StationTables::adding(const Stations& stations) const {
  auto result = std::make_shared<StationTables>();
  result->all_.reserve(all_.size() + stations.size());
  result->byId_.reserve(all_.size() + stations.size());
  result->all_ = all_;
  result->byId_ = byId_;
  result->byState_ = byState_;
  Stations* list = nullptr;  // catalogues come grouped by state
  const std::string* listState = nullptr;
  for (const auto& station : stations) {
    if (!station || !station->stateId || !station->stationId) continue;
    const auto next = static_cast<std::uint32_t>(result->all_.size());
    const auto [entry, added] = result->byId_.try_emplace(*station->stationId, next);
    if (added) {
      result->all_.push_back(station);
    } else {
      // The key must lie in the station that the table keeps.
      const std::uint32_t index = entry->second;
      result->byId_.erase(entry);
      result->byId_.emplace(*station->stationId, index);
      result->all_[index] = station;
    }
    if (listState == nullptr || *listState != *station->stateId) {
      const auto state = result->byState_.try_emplace(*station->stateId).first;
      listState = &state->first;
      list = &state->second;
    }
    list->push_back(station);
  }
  return result;
}

std::shared_ptr<TideStation> StationTables::byId(std::string_view stationId) const {
  const auto found = byId_.find(stationId);
  return found == byId_.end() ? nullptr : all_[found->second];
}

std::vector<std::string> StationTables::states() const {
  std::vector<std::string> names;
  names.reserve(byState_.size());
  for (const auto& [state, stations] : byState_) names.push_back(state);
  std::sort(names.begin(), names.end(),
            [](const std::string& a, const std::string& b) { return comparePlain(a, b) < 0; });
  return names;
}

std::optional<StationTables::Stations> StationTables::ofState(std::string_view state) const {
  const auto found = byState_.find(state);
  if (found == byState_.end()) return std::nullopt;
  Stations stations = found->second;
  std::stable_sort(stations.begin(), stations.end(),
                   [](const auto& a, const auto& b) { return comparePlain(nameOf(a), nameOf(b)) < 0; });
  return stations;
}

const StationTables::Geometry& StationTables::geometry() const {
  std::call_once(geometryMade_, [this] {
    geometry_.onSphere.reserve(all_.size());
    geometry_.onMap.reserve(all_.size());
    for (const auto& station : all_) {
      geometry_.onSphere.push_back(spherePoint(station->coordinate));
      geometry_.onMap.push_back(mapPoint(station->coordinate));
    }
  });
  return geometry_;
}

StationTables::Stations StationTables::byDistance(Coordinate from) const {
  struct Ranked {
    double distance;
    std::uint32_t index;
  };
  const SpherePoint center = spherePoint(from);
  const auto& points = geometry().onSphere;
  std::vector<Ranked> ranked(points.size());
  for (std::uint32_t i = 0; i < ranked.size(); ++i) {
    const double distance = squaredChord(center, points[i]);
    // A coordinate that is no number has no distance; it goes last, and the order stays a strict one.
    ranked[i] = {distance == distance ? distance : 5.0, i};
  }
  std::sort(ranked.begin(), ranked.end(),
            [](const Ranked& a, const Ranked& b) { return a.distance < b.distance; });
  Stations stations;
  stations.reserve(ranked.size());
  for (const Ranked& entry : ranked) stations.push_back(all_[entry.index]);
  return stations;
}

StationTables::Stations StationTables::inMapRect(const MapRect& rect) const {
  Stations stations;
  const auto& points = geometry().onMap;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (rect.contains(points[i])) stations.push_back(all_[i]);
  }
  return stations;
}

}  // namespace marlune
