#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "marlune/formats/Text.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/providers/ProviderRequests.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/providers/YearDownloads.h"
#include "marlune/providers/YearFileRules.h"
#include "marlune/tasks/OutstandingCompletions.h"
#include "marlune/tasks/WorkScope.h"

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
  // What is queued from here on may be done, and an observer of it destroy the provider, before this returns.
  const auto entered = WorkScope::enter(work_);
  if (!entered) return;
  if (notify && !post(notifications::fetchBegun, nullptr, std::nullopt)) return;

  const CivilTime when = calendarForStation(station).components(*date);
  if (station->isGlobal) return queueGlobalYear(station, *date, when.year, when.month, notify);
  MonthRequest request{.fileName = fileNameForStation(*station->stationId, when.year),
                       .station = station,
                       .year = when.year,
                       .month = when.month,
                       .date = *date,
                       .mark = nullptr,
                       .notify = notify,
                       .looked = {}};
  request.mark = _pendingOperations->begin(fmt::format("{}:{}", request.fileName, request.month), notify);
  if (!request.mark) return;
  const auto isOnDisk = [&] {
    return files_->fileExistsInContainer(kGroupContainerName, request.fileName) ||
           files_->fileExists(request.fileName);
  };
  for (;;) {
    request.looked = downloads_->now();
    if (isOnDisk()) break;
    if (downloadMonth(request)) return;
  }
  enqueue(_loadqueue, [this, request = std::move(request)] { loadFromFile(request); });
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
    request.mark->end();
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
  request.mark->end();
  if (request.notify) postOnMain(&TideDataProvider::notifyHighLowDataFetchComplete, station, request.date);
}

bool TideDataProvider::downloadMonth(const MonthRequest& request) {
  const YearDownloads::Year year{getTideDataEndpointForStation(request.station, request.year),
                                 request.fileName};
  auto take = [this, scope = work_, request](YearDownloads::Share share) {
    const auto entered = WorkScope::enter(scope);
    if (!entered) return;
    enqueue(_loadqueue, [this, request, taken = std::move(share)]() mutable {
      const bool usable = takeMonth(request, taken.answer());
      taken.letGo();
      // First, so that a caller that asks again when told is not taken for a double.
      request.mark->end();
      if (!request.notify) return;
      postOnMain(usable ? &TideDataProvider::notifyHighLowDataFetchComplete
                        : &TideDataProvider::notifyHighLowDataFetchError,
                 request.station, request.date);
    });
  };
  const auto begin = [this, &year, &request](YearDownloads::Ticket ticket) {
    enqueue(_downloadqueue, [this, year, looked = request.looked, ticket = std::move(ticket)] {
      // A range fetch or a favourite's download may have brought the file while this waited its turn.
      if (downloads_->now().transfers != looked.transfers) {
        const Data data = loadDataAtFilePath(year.fileName);
        if (data && data->size() >= bytesToKeepDownload) return ticket->answer(data);
      }
      downloads_->run(year, ticket);
    });
  };
  return downloads_->download(year, std::move(take), request.mark, begin, request.looked);
}

bool TideDataProvider::takeMonth(const MonthRequest& request, const Data& data) {
  if (!data || data->size() < bytesToKeepDownload) return false;
  const StationPtr& station = request.station;
  diskCache_->evictForStation(*station->stationId);
  _cache.addTideData(station->stationId,
                     getHighLowTideDataFromNSData(data, station, request.year, request.month),
                     calendarForStation(station));
  return true;
}

void TideDataProvider::notifyHighLowDataFetchComplete(UserInfo userInfo) {
  post(notifications::fetchCompleted, nullptr, std::move(userInfo));
}

void TideDataProvider::notifyHighLowDataFetchError(UserInfo userInfo) {
  post(notifications::fetchError, nullptr, std::move(userInfo));
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
    prefetchYear(station, toYear, fileNameForStation(*station->stationId, toYear));
  }
  constexpr std::size_t enough = 2;
  fetchRange(
      station, from, to, enough,
      [this, station, from, to](const Data& data) { return takeRange(station, from, to, data); },
      std::move(completion));
}

void TideDataProvider::fetchRange(const StationPtr& station, Date from, Date to, std::size_t enough,
                                  UniqueFunction<std::optional<Events>(const Data&)> take,
                                  EventsCompletion completion) {
  auto before = downloads_->now();
  auto events = getTideDataByTimestamp(station, wholeSecondsOf(from), wholeSecondsOf(to));
  if (events && events->size() >= enough) return completion(std::move(events));

  const auto entered = WorkScope::enter(work_);
  if (!entered) return completion(std::nullopt);
  const auto outstanding = outstanding_;
  const auto number = outstanding->add(std::move(completion));
  const std::string url =
      getTideDataEndpointForStation(station, calendarForStation(station).components(from).year);
  // Shared with what is dropped when memory and disk have to be looked at again.
  const auto body = std::make_shared<decltype(take)>(std::move(take));
  const auto finish = [scope = work_, outstanding, number, body](YearDownloads::Share share) {
    std::optional<Events> found;
    if (const auto inside = WorkScope::enter(scope)) {
      const Data& data = share.answer();
      if (data && data->size() >= bytesOfRangeTransfer) found = (*body)(data);
      share.letGo();
    }
    if (found && found->empty()) found = std::nullopt;
    outstanding->call(number, std::move(found));
  };
  while (!downloads_->fetch(url, finish, before)) {
    before = downloads_->now();
    events = getTideDataByTimestamp(station, wholeSecondsOf(from), wholeSecondsOf(to));
    if (events && events->size() >= enough) return outstanding->call(number, std::move(events));
  }
}

void TideDataProvider::prefetchYear(const StationPtr& station, std::int64_t year,
                                    const std::string& fileName) {
  for (;;) {
    const auto before = downloads_->now();
    if (files_->fileExistsInContainer(kGroupContainerName, fileName)) return;
    const bool taken = downloads_->fetch(
        getTideDataEndpointForStation(station, year),
        [this, scope = work_, fileName](const YearDownloads::Share& share) {
          if (const auto entered = WorkScope::enter(scope)) {
            keepDownload(share.answer(), fileName, bytesOfRangeTransfer);
          }
        },
        before);
    if (taken) return;
  }
}

std::optional<TideDataProvider::Events> TideDataProvider::takeRange(const StationPtr& station, Date from,
                                                                    Date to, const Data& data) {
  const std::string& stationId = *station->stationId;
  const Calendar calendar = calendarForStation(station);
  const CivilTime first = calendar.components(from);
  const CivilTime last = calendar.components(to);
  files_->saveFileInContainer(kGroupContainerName, fileNameForStation(stationId, first.year), *data);
  diskCache_->evictForStation(stationId);
  const Data document = documentOfFile(data);
  const auto takeMonth = [&](std::int64_t year, int month) {
    const auto events = getHighLowTideDataFromNSData(document, station, year, month);
    _cache.addTideData(station->stationId, events, calendar);
    // Of another year the document holds the margin at most, and a month file of that would hide the month.
    if (events && !events->empty() && year == first.year) {
      diskCache_->cacheEvents(*events, stationId, year, month);
    }
  };
  takeMonth(first.year, first.month);
  if (!isSameMonth(first, last)) takeMonth(last.year, last.month);
  return eventsOfMonths(stationId, first, last, wholeSecondsOf(from), wholeSecondsOf(to));
}

// --- Refreshes and favourites ---

void TideDataProvider::queueRefreshDataTaskForStation(const StationPtr& station) {
  if (!station || !station->stationId) return;
  const auto entered = WorkScope::enter(work_);
  if (!entered) return;
  registerIfUnknown(station);
  const auto mark = _pendingOperations->begin(*station->stationId);
  if (!mark) return;
  enqueue(_downloadqueue, [this, request = RefreshRequest{station, mark, {}}]() mutable {
    request.now = host_.clock->now();
    if (request.station->isGlobal) {
      refreshGlobalStation(request);
    } else {
      refreshDataForStation(request);
    }
  });
}

void TideDataProvider::refreshDataForStation(const RefreshRequest& request) {
  const StationPtr& station = request.station;
  const CivilTime when = calendarForStation(station).components(request.now);
  const YearDownloads::Year year{getTideDataEndpointForStation(station, when.year),
                                 fileNameForStation(*station->stationId, when.year)};
  auto take = [this, scope = work_, request](YearDownloads::Share share) {
    const auto entered = WorkScope::enter(scope);
    if (!entered) return;
    enqueue(_loadqueue, [this, request, taken = std::move(share)]() mutable {
      const bool usable = takeRefresh(request, taken.answer());
      const std::size_t size = taken.answer() ? taken.answer()->size() : 0;
      taken.letGo();
      // First, so that a caller that asks again when told is not taken for a double.
      request.mark->end();
      if (usable) {
        postOnMain(&TideDataProvider::notifyHighLowDataFetchComplete, request.station, request.now);
      } else {
        tellOfFailedRefresh(*request.station->stationId, size);
      }
    });
  };
  YearDownloads::Ticket first;
  const auto downloads = downloads_;
  static_cast<void>(downloads->download(year, std::move(take), request.mark,
                                        [&](YearDownloads::Ticket ticket) { first = std::move(ticket); }));
  if (first) downloads->run(year, first);
}

bool TideDataProvider::takeRefresh(const RefreshRequest& request, const Data& data) {
  if (!data || data->size() < bytesToUseDownload) return false;
  const StationPtr& station = request.station;
  const std::string& stationId = *station->stationId;
  const Calendar calendar = calendarForStation(station);
  const CivilTime when = calendar.components(request.now);
  diskCache_->evictForStation(stationId);
  const auto events = getHighLowTideDataFromNSData(data, station, when.year, when.month);
  _cache.removeTideData(stationId, when.year, when.month);
  if (events) forgetFilledMonths(stationId, *events, when.year, calendar);
  _cache.addTideData(station->stationId, events, calendar);
  return true;
}

void TideDataProvider::tellOfFailedRefresh(const std::string& stationId, std::size_t size) {
  std::string message =
      fmt::format("Error refreshing tide data for station id '{}'. Size:{}. Contact {} for support.",
                  stationId, size, host_.settings.supportEmail);
  post(notifications::refreshFailed, nullptr, UserInfo{{"error", std::move(message)}});
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
  const auto entered = WorkScope::enter(work_);
  if (!entered) return;
  registerIfUnknown(station);
  for (const std::string& yearText : yearsForFavoriteDownload()) {
    const std::int64_t year = lenientInteger(yearText);
    if (station->isGlobal) {
      const Date now = host_.clock->now();
      queueGlobalYear(station, now, year, calendarForStation(station).components(now).month, false);
      continue;
    }
    const std::string fileName = fileNameForStation(*station->stationId, year);
    const std::string url = getTideDataEndpointForStation(station, year);
    if (files_->fileExistsInContainer(kGroupContainerName, fileName) || files_->fileExists(fileName))
      continue;
    if (downloads_->isUnderWay({url, fileName})) continue;
    auto mark = _pendingOperations->begin(fileName);
    if (!mark) continue;
    enqueue(_downloadqueue,
            [this, url, fileName, mark = std::move(mark)] { downloadForFavorite(url, fileName); });
  }
}

void TideDataProvider::downloadForFavorite(const std::string& url, const std::string& fileName) {
  for (;;) {
    const auto before = downloads_->now();
    // What was under way when this was asked for may have brought it.
    if (files_->fileExistsInContainer(kGroupContainerName, fileName)) return;
    if (auto share = downloads_->fetchAndWait(url, before)) {
      keepDownload(share->answer(), fileName, bytesOfFavorite);
      return;
    }
  }
}

}  // namespace marlune
