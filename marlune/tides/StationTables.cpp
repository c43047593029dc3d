#include "marlune/tides/StationTables.h"

#include <algorithm>

#include "marlune/formats/Text.h"

namespace marlune {

namespace {

std::string_view nameOf(const std::shared_ptr<TideStation>& station) {
  return station->stationName ? std::string_view(*station->stationName) : std::string_view();
}

}  // namespace

std::shared_ptr<const StationTables> StationTables::adding(const Stations& stations) const {
  Stations all;
  StationList::Index byId;
  all.reserve(list_->all().size() + stations.size());
  byId.reserve(list_->all().size() + stations.size());
  all = list_->all();
  byId = list_->index();
  StateTable byState = byState_;
  Stations* list = nullptr;  // catalogues come grouped by state
  const std::string* listState = nullptr;
  for (const auto& station : stations) {
    if (!station || !station->stateId || !station->stationId) continue;
    const auto next = static_cast<std::uint32_t>(all.size());
    const auto [entry, added] = byId.try_emplace(*station->stationId, next);
    if (added) {
      all.push_back(station);
    } else {
      // The key must lie in the station that the list keeps.
      const std::uint32_t index = entry->second;
      byId.erase(entry);
      byId.emplace(*station->stationId, index);
      all[index] = station;
    }
    if (listState == nullptr || *listState != *station->stateId) {
      const auto state = byState.try_emplace(*station->stateId).first;
      listState = &state->first;
      list = &state->second;
    }
    list->push_back(station);
  }
  return std::shared_ptr<const StationTables>(new StationTables(
      std::make_shared<const StationList>(std::move(all), std::move(byId)), std::move(byState)));
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

}  // namespace marlune
