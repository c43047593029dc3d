#include <fmt/format.h>

#include <utility>

#include "marlune/providers/TideDataProvider.h"
#include "marlune/providers/YearDownloads.h"
#include "marlune/providers/YearFileMemo.h"
#include "marlune/providers/YearFileRules.h"
#include "marlune/tasks/OnceCompletion.h"
#include "marlune/tasks/WorkScope.h"
#include "marlune/tides/LevelUnits.h"
#include "marlune/tides/MonthRange.h"
#include "marlune/tides/TideHighLowParser.h"

// The sections of prediction documents, year files and months of the provider.

namespace marlune {

using namespace year_file_rules;

// --- Prediction documents ---

std::optional<TideDataProvider::Events> TideDataProvider::getHighLowTideDataFromNSData(
    const Data& data, const StationPtr& station, std::int64_t year, int month) {
  if (!data || !station) {
    host_.log->line("[TideDataProvider] Error: Nil parameter passed to getHighLowTideDataFromNSData");
    return std::nullopt;
  }
  const InstantRange range = monthRangeForStation(station, year, month);
  const auto document =
      yearFiles_->parsed(data, [](std::string_view text) { return TideHighLowParser().getElements(text); });
  if (!document) return std::nullopt;
  return document->between(range.begin, range.end);
}

InstantRange TideDataProvider::monthRangeForStation(const StationPtr& station, std::int64_t year,
                                                    int month) const {
  const auto zone = station->getTimezone();
  return monthRangeWithMargins(zone ? Calendar(*zone) : calendarForStation(station), year, month);
}

TideDataProvider::Events TideDataProvider::inProviderUnit(const TideStation& station, Events events) const {
  // The default station names no country.
  const bool ofTheUnitedStates =
      !station.isGlobal && station.country.value_or("United States") == "United States";
  if (ofTheUnitedStates && !tideLevelUnitInMeters()) convertToFeet(events);
  return events;
}

int TideDataProvider::GetNumberOfDaysInMonth(std::int64_t month, std::int64_t year) const {
  return daysInMonth(month, year);
}

TideDataProvider::Events TideDataProvider::filterEventsToDate(const Events& events, std::int64_t beginTs,
                                                              std::int64_t endTs) const {
  return curve::eventsBetween({events}, beginTs, endTs);
}

// --- Year files ---

std::string TideDataProvider::fileNameForStation(std::string_view stationId, std::int64_t year) const {
  return fmt::format("{}{}.xml", static_cast<std::int32_t>(year), stationId);
}

std::string TideDataProvider::getTideDataEndpointForStation(const StationPtr& station,
                                                            std::int64_t year) const {
  const DeploymentSettings& settings = host_.settings;
  std::string_view base = settings.servicesBaseURL;
  while (base.ends_with('/')) base.remove_suffix(1);
  const std::string ownHost = "http://" + settings.tideApiHost;
  return fmt::format("{}/v1/tideapi.php?op=highlowtide&id={}&year={}&version=1&format=xml",
                     base.empty() ? std::string_view(ownHost) : base,
                     station && station->stationId ? std::string_view(*station->stationId) : "",
                     static_cast<std::int32_t>(year));
}

Data TideDataProvider::loadDataAtFilePath(std::string_view fileName) {
  const auto path = files_->pathInContainer(kGroupContainerName, fileName);
  return path ? yearFiles_->load(*files_->files(), *path) : nullptr;
}

Data TideDataProvider::documentOfFile(const Data& bytes) {
  return bytes;
}

void TideDataProvider::loadDataAtURL(const std::string& url, const std::string& fileName,
                                     DataCompletion completion) {
  completion(downloadAndKeep(url, fileName, bytesToKeepDownload));
}

Data TideDataProvider::downloadAndKeep(const std::string& url, const std::string& fileName,
                                       std::size_t atLeast) {
  const auto entered = WorkScope::enter(work_);
  if (!entered) return nullptr;
  const auto begun = host_.clock->monotonic();
  auto share = downloads_->fetchAndWait(url);
  const double seconds = secondsSince(begun);
  Data kept = keepDownload(share->answer(), fileName, atLeast);
  share->letGo();
  downloadEnded(url, fileName, kept != nullptr, seconds);
  return kept;
}

void TideDataProvider::downloadAndKeepLater(const std::string& url, const std::string& fileName,
                                            std::size_t atLeast, DataCompletion completion) {
  auto take = [this, scope = work_, url, fileName, atLeast, begun = host_.clock->monotonic(),
               done = OnceCompletion<Data>(std::move(completion))](YearDownloads::Share share) mutable {
    const auto entered = WorkScope::enter(scope);
    if (!entered) return done(nullptr);
    const double seconds = secondsSince(begun);
    Data kept = keepDownload(share.answer(), fileName, atLeast);
    share.letGo();
    downloadEnded(url, fileName, kept != nullptr, seconds);
    done(std::move(kept));
  };
  static_cast<void>(downloads_->fetch(url, std::move(take)));  // not asked after a look: it is always taken
}

double TideDataProvider::secondsSince(std::chrono::nanoseconds begun) const {
  return std::chrono::duration<double>(host_.clock->monotonic() - begun).count();
}

Data TideDataProvider::keepDownload(const Data& data, const std::string& fileName, std::size_t atLeast) {
  if (!data || data->size() < atLeast) return nullptr;
  files_->saveFileInContainer(kGroupContainerName, fileName, *data);
  return data;
}

void TideDataProvider::downloadEnded(const std::string& url, const std::string& fileName, bool kept,
                                     double seconds) {
  // First, so that who is told and asks again is not taken for a double of what has failed, and does not wait
  // for this very thread.
  downloads_->ended({url, fileName}, !kept);
  post(kept ? notifications::downloaded : notifications::downloadFailed, this,
       UserInfo{{"filename", fileName}, {"duration", seconds}});
}

void TideDataProvider::saveDefaultStationFileFromBundle() {
  const Calendar calendar(host_.deviceTimeZone->current());
  const std::string name = fmt::format("{}398997177.xml", calendar.components(host_.clock->now()).year);
  if (files_->fileExistsInContainer(kGroupContainerName, name)) return;
  if (const auto bytes = host_.resources->read(name)) {
    files_->saveFileInContainer(kGroupContainerName, name, *bytes);
  }
}

// --- Months ---

bool TideDataProvider::loadMonthFromContainer(const StationPtr& station, const std::string& fileName,
                                              std::int64_t year, int month, std::optional<Events>& events) {
  Data data = loadDataAtFilePath(fileName);
  if (!data) {
    if (!files_->fileExistsInContainer(kGroupContainerName, fileName)) return false;
    data = loadDataAtFilePath(fileName);  // it may have come this moment
  }
  events = getHighLowTideDataFromNSData(data, station, year, month);
  _cache.addTideData(station->stationId, events, calendarForStation(station));
  return true;
}

bool TideDataProvider::loadMonthFromDocuments(const StationPtr& station, const std::string& fileName,
                                              std::int64_t year, int month, std::optional<Events>& events) {
  if (!files_->fileExists(fileName)) return false;
  const Data bytes = files_->loadFile(fileName);
  events = getHighLowTideDataFromNSData(bytes ? documentOfFile(bytes) : nullptr, station, year, month);
  _cache.addTideData(station->stationId, events, calendarForStation(station));
  files_->moveFileToSharedContainer(kGroupContainerName, fileName);
  return true;
}

bool TideDataProvider::populateCacheForStation(const StationPtr& station, std::int64_t year, int month) {
  const auto entered = WorkScope::enter(work_);
  if (!entered) return false;
  FailedYears failed;
  return populateMonth(station, year, month, failed);
}

bool TideDataProvider::populateMonth(const StationPtr& station, std::int64_t year, int month,
                                     FailedYears& failed) {
  if (!station || !station->stationId) return false;
  registerIfUnknown(station);
  if (_cache.containsTideData(*station->stationId, year, month)) return true;
  if (auto stored = diskCache_->cachedEvents(*station->stationId, year, month); stored && !stored->empty()) {
    _cache.addTideData(station->stationId, inProviderUnit(*station, std::move(*stored)),
                       calendarForStation(station));
    return true;
  }
  if (station->isGlobal) return ensureGlobalYear(station, year, failed);
  const std::string fileName = fileNameForStation(*station->stationId, year);
  std::optional<Events> events;
  if (!loadMonthFromContainer(station, fileName, year, month, events) &&
      !loadMonthFromDocuments(station, fileName, year, month, events)) {
    return false;
  }
  if (events && !events->empty()) diskCache_->cacheEvents(*events, *station->stationId, year, month);
  return true;
}

std::optional<TideDataProvider::Events> TideDataProvider::tideEventsForStation(const StationPtr& station,
                                                                               std::int64_t year, int month,
                                                                               std::int64_t beginTs,
                                                                               std::int64_t endTs) {
  if (!station || !station->stationId) return std::nullopt;
  const auto scope = work_;
  const auto entered = WorkScope::enter(scope);
  if (!entered) return std::nullopt;
  registerIfUnknown(station);
  for (;;) {
    const auto before = downloads_->now();
    std::optional<Events> events;
    MonthList cached = _cache.getTideData(*station->stationId, year, month);
    const bool usable = cached && cached->size() > eventsToUseMonth;
    if (!usable && station->isGlobal) {
      if (ensureGlobalYearCached(station, year))
        cached = _cache.getTideData(*station->stationId, year, month);
    } else if (!usable) {
      const std::string fileName = fileNameForStation(*station->stationId, year);
      const bool onDisk = loadMonthFromContainer(station, fileName, year, month, events) ||
                          loadMonthFromDocuments(station, fileName, year, month, events);
      // A file without a single event of the month is as good as none: an error page that was large enough to
      // be kept would otherwise stay for ever.
      if (!onDisk || !events || events->empty()) {
        auto share =
            downloads_->downloadAndWait({getTideDataEndpointForStation(station, year), fileName}, before);
        if (scope->isClosed()) return std::nullopt;
        if (!share) continue;  // something has come since the look at memory and disk
        const Data& data = share->answer();
        if (data && data->size() >= bytesToUseDownload) {
          events = getHighLowTideDataFromNSData(data, station, year, month);
          _cache.addTideData(station->stationId, events, calendarForStation(station));
        }
      }
      if (onDisk || events) {
        if (!events || events->empty()) return std::nullopt;
        return filterEventsToDate(*events, beginTs, endTs);
      }
    }
    if (!cached || cached->empty()) return std::nullopt;
    return filterEventsToDate(*cached, beginTs, endTs);
  }
}

MonthList TideDataProvider::getTideData(std::string_view stationId, std::int64_t year, int month) const {
  return _cache.getTideData(stationId, year, month);
}

std::optional<TideDataProvider::Events> TideDataProvider::getTideDataByTimestamp(std::string_view stationId,
                                                                                 std::int64_t begin,
                                                                                 std::int64_t end) {
  const auto entered = WorkScope::enter(work_);
  if (!entered) return std::nullopt;
  FailedYears failed;
  return rangeFromMemory(getTideStationById(stationId), stationId, begin, end, failed);
}

std::optional<TideDataProvider::Events> TideDataProvider::getTideDataByTimestamp(const StationPtr& station,
                                                                                 std::int64_t begin,
                                                                                 std::int64_t end) {
  if (!station || !station->stationId) return std::nullopt;
  const auto entered = WorkScope::enter(work_);
  if (!entered) return std::nullopt;
  loadStationData();
  FailedYears failed;
  return rangeFromMemory(station, *station->stationId, begin, end, failed);
}

std::optional<TideDataProvider::Events> TideDataProvider::rangeFromMemory(const StationPtr& station,
                                                                          std::string_view stationId,
                                                                          std::int64_t begin,
                                                                          std::int64_t end,
                                                                          FailedYears& failed) {
  const Calendar calendar = calendarForStation(station);
  const CivilTime first = calendar.components(begin);
  const CivilTime last = calendar.components(end);
  populateMonth(station, first.year, first.month, failed);
  if (isSameMonth(first, last)) {
    if (!_cache.getTideData(stationId, first.year, first.month)) return std::nullopt;
  } else {
    populateMonth(station, last.year, last.month, failed);
  }
  return eventsOfMonths(stationId, first, last, begin, end);
}

TideDataProvider::Events TideDataProvider::eventsOfMonths(std::string_view stationId, const CivilTime& first,
                                                          const CivilTime& last, std::int64_t begin,
                                                          std::int64_t end) const {
  static const Events nothing;
  const MonthList head = _cache.getTideData(stationId, first.year, first.month);
  const MonthList tail =
      isSameMonth(first, last) ? nullptr : _cache.getTideData(stationId, last.year, last.month);
  return curve::eventsBetween({head ? *head : nothing, tail ? *tail : nothing}, begin, end);
}

std::optional<TideEvent> TideDataProvider::firstCachedTideEvent() const {
  return _cache.firstTideEvent();
}

std::optional<TideEvent> TideDataProvider::lastCachedTideEvent() const {
  return _cache.lastTideEvent();
}

}  // namespace marlune
