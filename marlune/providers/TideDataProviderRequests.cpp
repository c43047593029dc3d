#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "marlune/platform/HttpFetcher.h"
#include "marlune/platform/Text.h"
#include "marlune/platform/WorkScope.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/providers/YearFileRules.h"

// The request section of the provider.

namespace marlune {

using namespace year_file_rules;

namespace {

UserInfo outcome(const std::shared_ptr<TideStation>& station, Date date) {
  return {{"tidestation", station}, {"date", date}};
}

}  // namespace

// --- Month requests ---

void TideDataProvider::beginGetHighLowTideData(const StationPtr& station, const std::optional<Date>& date,
                                               const std::shared_ptr<void>& /*tag*/, bool notify) {
  if (!station || !date) {
    host_.log->line("[TideDataProvider] Error: Nil parameter passed to beginGetHighLowTideData");
    return;
  }
  if (!station->stationId) return;  // nothing could be asked for it
  registerIfUnknown(station);
  if (isTideDataCachedForStation(station, date)) {
    if (notify) notifyHighLowDataFetchComplete(outcome(station, *date));
    return;
  }
  if (notify) host_.notifications->post({notifications::fetchBegun, nullptr, std::nullopt});

  const CivilTime when = calendarForStation(station).components(*date);
  if (station->isGlobal) return queueGlobalYear(station, when.year, *date, notify);
  MonthRequest request{.fileName = fileNameForStation(*station->stationId, when.year),
                       .station = station,
                       .year = when.year,
                       .month = when.month,
                       .date = *date,
                       .key = {},
                       .notify = notify};
  const bool onDisk = files_->fileExistsInContainer(kGroupContainerName, request.fileName) ||
                      files_->fileExists(request.fileName);
  request.key = onDisk ? fmt::format("{}:{}", request.fileName, request.month) : request.fileName;
  if (!_pendingOperations->begin(request.key)) return;
  if (onDisk) {
    enqueue(_loadqueue, [this, request = std::move(request)] { loadFromFile(request); });
  } else {
    enqueue(_downloadqueue, [this, request = std::move(request)] { downloadFromUrl(request); });
  }
}

bool TideDataProvider::isTideDataCachedForStation(const StationPtr& station,
                                                  const std::optional<Date>& date) const {
  if (!station || !station->stationId || !date) return false;
  const CivilTime when = calendarForStation(station).components(*date);
  const MonthList list = _cache.getTideData(*station->stationId, when.year, when.month);
  return list && list->size() > eventsCachedAbove;
}

void TideDataProvider::loadFromFile(const MonthRequest& request) {
  const StationPtr& station = request.station;
  Data data;
  bool tooShort = false;
  if (files_->fileExistsInContainer(kGroupContainerName, request.fileName)) {
    data = loadDataAtFilePath(request.fileName);
    tooShort = !data || data->size() < bytesOfStoredYear;
  } else {
    const Data bytes = files_->loadFile(request.fileName);
    data = bytes ? documentOfFile(bytes) : nullptr;
    files_->moveFileToSharedContainer(kGroupContainerName, request.fileName);
  }
  std::optional<Events> events;
  if (!tooShort) events = getHighLowTideDataFromNSData(data, station, request.year, request.month);
  if (!events || events->size() <= eventsToUseMonth) {
    files_->removeFileInContainer(kGroupContainerName, request.fileName);
    _pendingOperations->end(request.key);
    queueRefreshDataTaskForStation(station);
    return;
  }

  const Calendar calendar = calendarForStation(station);
  _cache.addTideData(station->stationId, events, calendar);
  if (request.month < 12) {
    _cache.addTideData(station->stationId,
                       getHighLowTideDataFromNSData(data, station, request.year, request.month + 1),
                       calendar);
  }
  // Two months on lies in the next year, whose file is wanted before it is asked for.
  if (request.month == 11) {
    beginGetHighLowTideData(station, calendar.addingMonths(request.date, 2), nullptr, false);
  }
  _pendingOperations->end(request.key);
  if (request.notify) postOnMain(&TideDataProvider::notifyHighLowDataFetchComplete, station, request.date);
}

void TideDataProvider::downloadFromUrl(const MonthRequest& request) {
  const StationPtr& station = request.station;
  downloadAndWait(
      getTideDataEndpointForStation(station, request.year), request.fileName, [&](const Data& data) {
        const bool usable = data && data->size() >= bytesToKeepDownload;
        if (usable) {
          diskCache_->evictForStation(*station->stationId);
          _cache.addTideData(station->stationId,
                             getHighLowTideDataFromNSData(data, station, request.year, request.month),
                             calendarForStation(station));
        }
        if (request.notify) {
          postOnMain(usable ? &TideDataProvider::notifyHighLowDataFetchComplete
                            : &TideDataProvider::notifyHighLowDataFetchError,
                     station, request.date);
        }
        _pendingOperations->end(request.key);
      });
}

void TideDataProvider::notifyHighLowDataFetchComplete(UserInfo userInfo) {
  host_.notifications->post({notifications::fetchCompleted, nullptr, std::move(userInfo)});
}

void TideDataProvider::notifyHighLowDataFetchError(UserInfo userInfo) {
  host_.notifications->post({notifications::fetchError, nullptr, std::move(userInfo)});
}

void TideDataProvider::postOnMain(void (TideDataProvider::*operation)(UserInfo), const StationPtr& station,
                                  Date date) {
  enqueue(host_.mainThread,
          [this, operation, userInfo = outcome(station, date)] { (this->*operation)(userInfo); });
}

// --- Days and ranges ---

std::optional<TideDataProvider::Events> TideDataProvider::loadTideEventsForStation(const StationPtr& station,
                                                                                   Date date) {
  constexpr std::int64_t secondsOfDay = 86'400;  // also on the day of a clock change
  const Calendar calendar = calendarForStation(station);
  const CivilTime when = calendar.components(date);
  const std::int64_t begin = calendar.instant({when.year, when.month, when.day, 0, 0, 0});
  return tideEventsForStation(station, when.year, when.month, begin, begin + secondsOfDay);
}

void TideDataProvider::fetchTideEventsForStation(const StationPtr& station, Date from, Date to,
                                                 EventsCompletion completion) {
  if (!station || !station->stationId) return completion(std::nullopt);
  if (station->isGlobal) return fetchGlobalTideEventsForStation(station, from, to, std::move(completion));
  const Calendar calendar = calendarForStation(station);
  const std::int64_t fromYear = calendar.components(from).year;
  const std::int64_t toYear = calendar.components(to).year;
  if (toYear != fromYear) {
    const std::string toFile = fileNameForStation(*station->stationId, toYear);
    if (!files_->fileExistsInContainer(kGroupContainerName, toFile)) prefetchYear(station, toYear, toFile);
  }
  auto events = getTideDataByTimestamp(station, wholeSecondsOf(from), wholeSecondsOf(to));
  if (events && events->size() > 1) return completion(std::move(events));

  fetcher_->fetch(
      getTideDataEndpointForStation(station, fromYear),
      [this, scope = work_, station, from, to, done = std::move(completion)](const Data& data) mutable {
        const auto entered = WorkScope::enter(scope);
        if (!entered || !data || data->size() < bytesOfRangeTransfer) return done(std::nullopt);
        finishRangeFetch(station, from, to, data, std::move(done));
      });
}

void TideDataProvider::prefetchYear(const StationPtr& station, std::int64_t year,
                                    const std::string& fileName) {
  fetcher_->fetch(getTideDataEndpointForStation(station, year),
                  [this, scope = work_, fileName](const Data& data) {
                    const auto entered = WorkScope::enter(scope);
                    if (!entered || !data || data->size() < bytesOfRangeTransfer) return;
                    files_->saveFileInContainer(kGroupContainerName, fileName, *data);
                  });
}

void TideDataProvider::finishRangeFetch(const StationPtr& station, Date from, Date to, const Data& data,
                                        EventsCompletion completion) {
  const std::string& stationId = *station->stationId;
  const Calendar calendar = calendarForStation(station);
  const CivilTime first = calendar.components(from);
  const CivilTime last = calendar.components(to);
  files_->saveFileInContainer(kGroupContainerName, fileNameForStation(stationId, first.year), *data);
  diskCache_->evictForStation(stationId);
  const Data document = documentOfFile(data);
  const auto take = [&](std::int64_t year, int month) {
    const auto events = getHighLowTideDataFromNSData(document, station, year, month);
    _cache.addTideData(station->stationId, events, calendar);
    // Of another year the document holds the margin at most, and a month file of that would hide the month.
    if (events && !events->empty() && year == first.year) {
      diskCache_->cacheEvents(*events, stationId, year, month);
    }
  };
  take(first.year, first.month);
  if (!isSameMonth(first, last)) take(last.year, last.month);
  auto events = eventsOfMonths(stationId, first, last, wholeSecondsOf(from), wholeSecondsOf(to));
  completion(events.empty() ? std::nullopt : std::optional(std::move(events)));
}

// --- Refreshes and favourites ---

void TideDataProvider::queueRefreshDataTaskForStation(const StationPtr& station) {
  if (!station || !station->stationId) return;
  registerIfUnknown(station);
  const std::string key = *station->stationId;
  if (!_pendingOperations->begin(key)) return;
  enqueue(_downloadqueue, [this, station, key] {
    if (station->isGlobal) {
      refreshGlobalStation(station, key);
    } else {
      refreshDataForStation(station, key);
    }
  });
}

void TideDataProvider::refreshDataForStation(const StationPtr& station, const std::string& key) {
  const Date now = host_.clock->now();
  const Calendar calendar = calendarForStation(station);
  const CivilTime when = calendar.components(now);
  const std::string url = getTideDataEndpointForStation(station, when.year);
  downloadAndWait(url, fileNameForStation(*station->stationId, when.year), [&](const Data& data) {
    if (data && data->size() >= bytesToUseDownload) {
      diskCache_->evictForStation(*station->stationId);
      const auto events = getHighLowTideDataFromNSData(data, station, when.year, when.month);
      _cache.removeTideData(*station->stationId, when.year, when.month);
      if (events) forgetFilledMonths(*station->stationId, *events, when.year, calendar);
      _cache.addTideData(station->stationId, events, calendar);
      postOnMain(&TideDataProvider::notifyHighLowDataFetchComplete, station, now);
    } else {
      std::string message =
          fmt::format("Error refreshing tide data for station id '{}'. Size:{}. Contact {} for support.",
                      *station->stationId, data ? data->size() : 0, host_.settings.supportEmail);
      host_.notifications->post(
          {notifications::refreshFailed, nullptr, UserInfo{{"error", std::move(message)}}});
    }
    _pendingOperations->end(key);
  });
}

void TideDataProvider::forgetFilledMonths(const std::string& stationId, const Events& events,
                                          std::int64_t year, const Calendar& calendar) {
  // A month and its margins alone fill no other month.
  if (events.size() <= 2 * TideDataCache::containedAbove) return;
  for (int month = 1; month <= 12; ++month) {
    const std::int64_t begin = calendar.instant({year, month, 1, 0, 0, 0});
    const std::int64_t end = calendar.instant({month < 12 ? year : year + 1, month % 12 + 1, 1, 0, 0, 0});
    const auto within = std::count_if(events.begin(), events.end(), [&](const TideEvent& event) {
      return event.timestamp >= begin && event.timestamp < end;
    });
    if (static_cast<std::size_t>(within) > TideDataCache::containedAbove) {
      _cache.removeTideData(stationId, year, month);
    }
  }
}

std::vector<std::string> TideDataProvider::yearsForFavoriteDownload() const {
  const Calendar calendar(host_.deviceTimeZone->current());
  const std::int64_t year = calendar.components(host_.clock->now()).year;
  return {std::to_string(year), std::to_string(year + 1)};
}

void TideDataProvider::verifyAndDownloadFavoriteStationData(const StationPtr& station) {
  if (!station || !station->stationId) return;
  registerIfUnknown(station);
  for (const std::string& yearText : yearsForFavoriteDownload()) {
    const std::int64_t year = lenientInteger(yearText);
    if (station->isGlobal) {
      queueGlobalYear(station, year, host_.clock->now(), false);
      continue;
    }
    const std::string fileName = fileNameForStation(*station->stationId, year);
    if (files_->fileExistsInContainer(kGroupContainerName, fileName) || files_->fileExists(fileName))
      continue;
    if (!_pendingOperations->begin(fileName)) continue;
    enqueue(_downloadqueue,
            [this, fileName, station, year] { downloadForFavorite(fileName, station, year); });
  }
}

void TideDataProvider::downloadForFavorite(const std::string& fileName, const StationPtr& station,
                                           std::int64_t year) {
  const Data data = fetcher_->fetchAndWait(getTideDataEndpointForStation(station, year));
  if (data && data->size() >= bytesOfFavorite) {
    files_->saveFileInContainer(kGroupContainerName, fileName, *data);
  }
  _pendingOperations->end(fileName);
}

}  // namespace marlune
