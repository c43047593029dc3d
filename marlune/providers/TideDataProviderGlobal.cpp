#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "marlune/global/PelagoraService.h"
#include "marlune/providers/GlobalPoints.h"
#include "marlune/providers/JoinedWork.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/ProviderRequests.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/tasks/AnswerWaits.h"
#include "marlune/tasks/OutstandingCompletions.h"
#include "marlune/tasks/WorkScope.h"

// The section of worldwide points of the provider.

namespace marlune {

// --- Points ---

bool TideDataProvider::shouldHideUSGlobalPoints() const {
  return globalPoints_->hidesUS();
}

TideDataProvider::Stations TideDataProvider::globalPointsFilteredForRegion(Stations stations) const {
  return globalPoints_->filtered(std::move(stations));
}

void TideDataProvider::registerGlobalStation(const StationPtr& station) {
  if (station && station->isGlobal) _cache.addStationToCache(station);
}

void TideDataProvider::registerIfUnknown(const StationPtr& station) {
  // Looks without loading the catalogue.
  if (station->isGlobal && !_cache.getTideStationById(*station->stationId)) _cache.addStationToCache(station);
}

void TideDataProvider::loadGlobalStationPointsIfNeeded() {
  globalPoints_->loadIfNeeded(nullptr);
}

void TideDataProvider::loadGlobalStationPointsIfNeeded(UniqueFunction<void()> ended) {
  globalPoints_->loadIfNeeded(std::move(ended));
}

std::optional<TideDataProvider::Stations> TideDataProvider::globalStations() const {
  const auto points = globalPoints_->published();
  return points ? std::optional(points->all()) : std::nullopt;
}

bool TideDataProvider::globalStationsLoading() const {
  return globalPoints_->isLoading();
}

TideDataProvider::Stations TideDataProvider::getGlobalStationsInMapVisibleRect(const MapRect& rect) const {
  const auto points = globalPoints_->published();
  return points ? points->inMapRect(rect) : Stations();
}

TideDataProvider::Stations TideDataProvider::getSearchableGlobalStations() const {
  return globalStations().value_or(Stations());
}

TideDataProvider::StationPtr TideDataProvider::globalStationById(std::string_view stationId) const {
  const auto points = globalPoints_->published();
  return points ? points->byId(stationId) : nullptr;
}

// --- Years ---

std::chrono::nanoseconds TideDataProvider::globalYearLimit() const {
  return std::chrono::seconds(30);
}

std::optional<TideDataProvider::Events> TideDataProvider::fetchGlobalYearEventsBlocking(
    const StationPtr& station, std::int64_t year) {
  if (!station || !station->stationId) return std::nullopt;
  const auto entered = WorkScope::enter(work_);
  if (!entered) return std::nullopt;
  registerIfUnknown(station);
  if (!globalService_ || host_.mainThread->isMainThread()) return std::nullopt;
  return yearWaits_->wait(globalYearLimit(), [&](PelagoraService::EventsCompletion answered) {
    globalService_->fetchGlobalTidesWithLat(station->coordinate.latitude, station->coordinate.longitude, year,
                                            std::move(answered));
  });
}

void TideDataProvider::cacheGlobalYearEvents(const Events& events, const StationPtr& station,
                                             std::int64_t year) {
  if (events.empty() || !station || !station->stationId) return;
  registerIfUnknown(station);
  const auto months = TideDataCache::groupByMonth(events, calendarForStation(station));
  _cache.addTideData(*station->stationId, months);
  for (const MonthEvents& month : months) {
    if (month.year == year) diskCache_->cacheEvents(*month.events, *station->stationId, year, month.month);
  }
}

bool TideDataProvider::ensureGlobalYearCached(const StationPtr& station, std::int64_t year) {
  const auto entered = WorkScope::enter(work_);
  if (!entered) return false;
  FailedYears failed;
  return ensureGlobalYear(station, year, failed);
}

bool TideDataProvider::ensureGlobalYear(const StationPtr& station, std::int64_t year, FailedYears& failed) {
  if (!station || !station->stationId) return false;
  registerIfUnknown(station);
  const auto isPresent = [&](int month) { return _cache.containsTideData(*station->stationId, year, month); };
  if (isPresent(1) && isPresent(12)) return true;
  const Calendar calendar = calendarForStation(station);
  bool any = false;
  for (int month = 1; month <= 12; ++month) {
    if (isPresent(month)) {
      any = true;
    } else if (const auto stored = diskCache_->cachedEvents(*station->stationId, year, month);
               stored && !stored->empty()) {
      _cache.addTideData(station->stationId, stored, calendar);
      any = true;
    }
  }
  if (any && isPresent(1)) return true;
  const bool askedInVain = std::find(failed.begin(), failed.end(), year) != failed.end();
  if (askedInVain || host_.mainThread->isMainThread()) return isPresent(1);
  const auto events = fetchGlobalYearEventsBlocking(station, year);
  if (!events || events->empty()) {
    failed.push_back(year);
    return false;
  }
  cacheGlobalYearEvents(*events, station, year);
  return true;
}

// --- Requests ---

void TideDataProvider::queueGlobalYear(const StationPtr& station, Date date, std::int64_t year, int month,
                                       bool notify) {
  const std::string key = fmt::format("global_{}_{}", *station->stationId, year);
  auto mark = _pendingOperations->begin(fmt::format("{}:{}", key, month), notify);
  if (!mark) return;
  auto take = [this, scope = work_, station, date, mark, notify](const JoinedWork<bool>::Share& present) {
    // First, so that a caller that asks again when told is not taken for a double.
    mark->end();
    const auto entered = WorkScope::enter(scope);
    if (!entered || !notify) return;
    postOnMain(present.answer() ? &TideDataProvider::notifyHighLowDataFetchComplete
                                : &TideDataProvider::notifyHighLowDataFetchError,
               station, date);
  };
  const auto joined = globalYears_->join(key, {.completion = std::move(take)});
  if (!joined.ticket) return;
  enqueue(_downloadqueue, [this, station, year, ticket = joined.ticket] {
    ticket->answer(ensureGlobalYearCached(station, year));
  });
}

void TideDataProvider::refreshGlobalStation(const RefreshRequest& request) {
  const StationPtr& station = request.station;
  const std::int64_t year = calendarForStation(station).components(request.now).year;
  diskCache_->evictForStation(*station->stationId);
  for (int month = 1; month <= 12; ++month) _cache.removeTideData(*station->stationId, year, month);
  const bool present = ensureGlobalYearCached(station, year);
  request.mark->end();
  if (present) postOnMain(&TideDataProvider::notifyHighLowDataFetchComplete, station, request.now);
}

void TideDataProvider::fetchGlobalTideEventsForStation(const StationPtr& station, Date from, Date to,
                                                       EventsCompletion completion) {
  if (!station || !station->stationId) return completion(std::nullopt);
  FailedYears failed;
  std::optional<Events> cached;
  {
    const auto entered = WorkScope::enter(work_);
    if (!entered) return completion(std::nullopt);
    registerIfUnknown(station);
    loadStationData();
    cached = rangeFromMemory(station, *station->stationId, wholeSecondsOf(from), wholeSecondsOf(to), failed);
  }
  if (cached && cached->size() > 1) return completion(std::move(cached));

  const auto number = outstanding_->add(std::move(completion));
  enqueue(utilityQueue_, [this, station, from, to, number, failed = std::move(failed)]() mutable {
    const Calendar calendar = calendarForStation(station);
    const std::int64_t first = calendar.components(from).year;
    const std::int64_t last = calendar.components(to).year;
    ensureGlobalYear(station, first, failed);
    if (last != first) ensureGlobalYear(station, last, failed);
    auto events =
        rangeFromMemory(station, *station->stationId, wholeSecondsOf(from), wholeSecondsOf(to), failed);
    if (events && events->empty()) events = std::nullopt;
    enqueue(host_.mainThread, [outstanding = outstanding_, number, found = std::move(events)]() mutable {
      outstanding->call(number, std::move(found));
    });
  });
}

}  // namespace marlune
