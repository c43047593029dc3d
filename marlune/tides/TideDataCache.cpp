#include "marlune/tides/TideDataCache.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace marlune {

namespace {

bool isAscending(const std::vector<TideEvent>& events) {
  return std::is_sorted(events.begin(), events.end(),
                        [](const TideEvent& a, const TideEvent& b) { return a.timestamp < b.timestamp; });
}

// Appends the cached events whose time none of the incoming has.
void appendOthers(const std::vector<TideEvent>& cached, const std::vector<TideEvent>& incoming,
                  std::vector<TideEvent>& result) {
  if (isAscending(cached) && isAscending(incoming)) {
    auto next = incoming.begin();
    for (const TideEvent& event : cached) {
      while (next != incoming.end() && next->timestamp < event.timestamp) ++next;
      if (next == incoming.end() || next->timestamp != event.timestamp) result.push_back(event);
    }
    return;
  }
  std::unordered_set<std::int64_t> times;
  times.reserve(incoming.size());
  for (const TideEvent& event : incoming) times.insert(event.timestamp);
  for (const TideEvent& event : cached) {
    if (!times.contains(event.timestamp)) result.push_back(event);
  }
}

}  // namespace

TideDataCache::TideDataCache(std::shared_ptr<Log> log)
    : log_(std::move(log)), stations_(std::make_shared<const StationTables>()) {}

std::size_t TideDataCache::MonthKeyHash::operator()(const MonthKeyView& key) const {
  const auto months = static_cast<std::size_t>(key.year * 12 + key.month);
  return std::hash<std::string_view>{}(key.stationId) ^ (months * 0x9E3779B97F4A7C15U);
}

std::vector<MonthEvents> TideDataCache::groupByMonth(const std::vector<TideEvent>& events,
                                                     const Calendar& calendar) {
  std::vector<MonthEvents> months;
  std::vector<std::shared_ptr<std::vector<TideEvent>>> lists;  // of `months`, while they are written
  MonthSpan span;                                              // holds nothing yet
  std::size_t current = 0;
  for (const TideEvent& event : events) {
    if (!span.holds(event.timestamp)) {
      span = calendar.monthSpan(event.timestamp);
      const auto found = std::find_if(months.begin(), months.end(), [&](const MonthEvents& month) {
        return month.year == span.year && month.month == span.month;
      });
      current = static_cast<std::size_t>(found - months.begin());
      if (found == months.end()) {
        lists.push_back(std::make_shared<std::vector<TideEvent>>());
        months.push_back({span.year, span.month, lists.back()});
      }
    }
    lists[current]->push_back(event);
  }
  return months;
}

void TideDataCache::addTideData(const std::optional<std::string>& stationId,
                                const std::optional<std::vector<TideEvent>>& events,
                                const Calendar& calendar) {
  if (!stationId || !events) {
    log_->line("[TideDataCache] Error: Nil parameter passed to addTideData");
    return;
  }
  addTideData(*stationId, groupByMonth(*events, calendar));
}

void TideDataCache::addTideData(std::string_view stationId, const std::vector<MonthEvents>& months) {
  const std::lock_guard lock(_lock);
  for (const MonthEvents& month : months) {
    MonthList merged = month.events;
    if (const MonthList cached = getTideData(stationId, month.year, month.month)) {
      const auto both = std::make_shared<std::vector<TideEvent>>();
      both->reserve(cached->size() + month.events->size());
      appendOthers(*cached, *month.events, *both);
      both->insert(both->end(), month.events->begin(), month.events->end());
      merged = both;
    }
    const std::lock_guard tableLock(tableMutex_);
    _cache.insert_or_assign(MonthKey{std::string(stationId), month.year, month.month}, std::move(merged));
  }
  const std::lock_guard tableLock(tableMutex_);
  for (const MonthEvents& month : months) {
    for (const TideEvent& event : *month.events) {
      if (!firstEvent || event.timestamp < firstEvent->timestamp) firstEvent = event;
      if (!lastEvent || event.timestamp > lastEvent->timestamp) lastEvent = event;
    }
  }
}

bool TideDataCache::containsTideData(std::string_view stationId, std::int64_t year, int month) const {
  const std::lock_guard lock(tableMutex_);
  const auto found = _cache.find(MonthKeyView{stationId, year, month});
  return found != _cache.end() && found->second->size() > containedAbove;
}

MonthList TideDataCache::getTideData(std::string_view stationId, std::int64_t year, int month) const {
  const std::lock_guard lock(tableMutex_);
  const auto found = _cache.find(MonthKeyView{stationId, year, month});
  return found == _cache.end() ? nullptr : found->second;
}

void TideDataCache::removeTideData(std::string_view stationId, std::int64_t year, int month) {
  const std::lock_guard lock(_lock);
  const std::lock_guard tableLock(tableMutex_);
  if (const auto found = _cache.find(MonthKeyView{stationId, year, month}); found != _cache.end()) {
    _cache.erase(found);
  }
}

void TideDataCache::removeAllTideData() {
  const std::lock_guard lock(_lock);
  const std::lock_guard tableLock(tableMutex_);
  _cache.clear();
}

std::optional<TideEvent> TideDataCache::firstTideEvent() const {
  const std::lock_guard lock(tableMutex_);
  return firstEvent;
}

std::optional<TideEvent> TideDataCache::lastTideEvent() const {
  const std::lock_guard lock(tableMutex_);
  return lastEvent;
}

void TideDataCache::addStationsToCache(const std::vector<std::shared_ptr<TideStation>>& stations) {
  const std::lock_guard lock(stationMutex_);
  stations_ = stations_->adding(stations);
}

void TideDataCache::addStationToCache(const std::shared_ptr<TideStation>& station) {
  if (!station || !station->stationId) return;
  const std::lock_guard lock(stationMutex_);
  _globalStationTableById.insert_or_assign(*station->stationId, station);
}

std::shared_ptr<TideStation> TideDataCache::getTideStationById(std::string_view stationId) const {
  const std::lock_guard lock(stationMutex_);
  if (auto station = stations_->list()->byId(stationId)) return station;
  const auto found = _globalStationTableById.find(stationId);
  return found == _globalStationTableById.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<TideStation>> TideDataCache::getAllStations() const {
  return stationTables()->list()->all();
}

void TideDataCache::removeAllStations() {
  const std::lock_guard lock(stationMutex_);
  stations_ = std::make_shared<const StationTables>();
}

std::size_t TideDataCache::getTideStationGroupCount() const {
  return stationTables()->stateCount();
}

std::vector<std::string> TideDataCache::getTideStationStates() const {
  return stationTables()->states();
}

std::optional<std::vector<std::shared_ptr<TideStation>>> TideDataCache::getTideStationsForState(
    std::string_view state) const {
  return stationTables()->ofState(state);
}

std::shared_ptr<const StationTables> TideDataCache::stationTables() const {
  const std::lock_guard lock(stationMutex_);
  return stations_;
}

}  // namespace marlune
