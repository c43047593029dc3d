#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/geo/Coordinate.h"
#include "marlune/geo/MapProjection.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/platform/Host.h"
#include "marlune/providers/ProviderNotifications.h"
#include "marlune/tasks/UniqueFunction.h"
#include "marlune/tides/MonthRange.h"
#include "marlune/tides/TideCurve.h"
#include "marlune/tides/TideDataCache.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideEventDiskCache.h"
#include "marlune/tides/TideStation.h"
#include "marlune/time/Calendar.h"
#include "marlune/time/Date.h"

namespace marlune {

class GlobalPoints;
class PelagoraService;
class PendingOperations;
class StationList;
class WorkScope;
class YearDownloads;
template <class Answer>
class JoinedWork;
template <class Answer>
class AnswerWaits;
template <class... Answer>
class OutstandingCompletions;
class YearFileMemo;

/// The user default that shows worldwide points inside the United States in that country's build.
inline constexpr const char* kPreferencesShowUSGlobalPoints = "Stations_ShowUSGlobalPoints";

/// What the provider asks of the favourites; either may be empty. Called without a lock held.
struct FavoriteHooks {
  std::function<void()> load;  ///< after the catalogue was loaded, on the loading thread
  std::function<void()> save;
};

/// The tide provider: a catalogue of stations, their predictions from memory, disk and network, and what a
/// chart asks of them. This class serves the United States' stations, in feet; regional providers derive from
/// it and replace single steps.
///
/// Every operation may be called from any thread. Those that may wait for the network say so and do not
/// belong on the main thread. What is absent or fails is an empty answer; nothing throws.
///
///     auto& provider = TideDataProvider::Instance();
///     auto station = provider.getDefaultTideStation();
///     provider.fetchTideEventsForStation(station, from, to, [](auto events) { if (events) draw(*events); });
///
/// Equal questions that are open at the same time share one transfer; a caller that gives up fails no other.
///
/// A provider made with a constructor may be destroyed with work in flight, also by an observer or a
/// completion of its own, once no other thread calls it. Work that has not begun is dropped, transfers are
/// cancelled, waits end, and what runs is waited for, except what destroys the provider. Every completion has
/// been called when the destructor returns.
///
/// An application may derive its own provider. A deriving class calls stopWork() first in its own destructor.
/// What it overrides may be called on any thread, and is called without a lock held.
class MARLUNE_API TideDataProvider {
 public:
  using StationPtr = std::shared_ptr<TideStation>;
  using Stations = std::vector<StationPtr>;
  using Events = std::vector<TideEvent>;
  /// Called exactly once, with no list where nothing was found.
  using EventsCompletion = UniqueFunction<void(std::optional<Events>)>;
  using DataCompletion = UniqueFunction<void(Data)>;

  /// The provider of the process, made at the first call over the installed host (see marlune.h).
  static TideDataProvider& Instance();

  /// Without a service there are no worldwide points, and years of theirs only as far as the disk has them.
  TideDataProvider(Host host, std::shared_ptr<FileAccess> files,
                   std::shared_ptr<TideEventDiskCache> diskCache,
                   std::shared_ptr<PelagoraService> globalService, FavoriteHooks favorites = {});
  virtual ~TideDataProvider();
  TideDataProvider(const TideDataProvider&) = delete;
  TideDataProvider& operator=(const TideDataProvider&) = delete;

  // --- Catalogue ------------------------------------------------------------------------------------------
  // Queries load the catalogue first where it is not loaded, unless they say otherwise. A thread that asks
  // during the first load waits for it and sees the catalogue full.

  /// Loads the station list, once, and then the favourites, where there was a list. A second thread that asks
  /// meanwhile waits for the load to end; the loading thread itself sees what is there by then.
  virtual void loadStationData();
  virtual bool hasLoadedStations() const;
  /// Was every list of the catalogue read, and was there a station in each? Only then does an id without a
  /// station belong to none. Loads nothing.
  bool isCatalogueWhole() const;
  virtual void setHasLoadedStations(bool loaded);

  /// The station of one line of the station file, or none when it is no station line.
  StationPtr parseLineFromStationFile(std::string_view line) const;

  /// The station of that id straight from the station file, added to the catalogue; does not load the rest.
  StationPtr loadStationDataForStationId(std::string_view stationId);

  /// A station of the catalogue, else a registered worldwide point, else none.
  StationPtr getTideStationById(std::string_view stationId);
  /// In no defined order.
  Stations getAllTideStations();
  std::size_t getTideStationGroupCount();
  /// Ascending by UTF-16 code unit.
  std::vector<std::string> getTideStationStates();
  /// Ascending by name, by UTF-16 code unit; nothing for an unknown state.
  std::optional<Stations> getTideStationsForState(std::string_view state);
  /// Every station of the catalogue and every searchable worldwide point known by now, nearest first.
  /// Stations that share an id stand where the last of them lies. Does not load the catalogue, but has the
  /// worldwide points loaded for later.
  Stations getStationsByNearest(Coordinate coordinate);
  /// The catalogue's stations inside a rectangle of projected map points. Does not load the catalogue.
  Stations getStationsInMapVisibleRect(const MapRect& rect);
  /// The catalogue's stations strictly inside a box of degrees. Despite its name the first corner is the
  /// south-west one; corners the other way round give nothing. Does not load the catalogue.
  Stations getStationsByRegionBoundary(Coordinate southWest, Coordinate northEast);

  /// A new record of the station that an application starts with.
  virtual StationPtr getDefaultTideStation() const;
  virtual bool tideLevelUnitInMeters() const;
  virtual bool defaultUnitIsMeters() const;

  /// Drops every month list in memory; stations stay.
  void clearCache();

  /// Has the favourites saved.
  void savePrefs();

  /// For clients that need to serialise their own use of the provider; the provider does not take it.
  std::mutex& lock() { return _lock; }

  // --- Prediction documents -------------------------------------------------------------------------------

  /// The events of a month out of a year's document, with the whole last day of the month before and the
  /// first day of the month after up to 23:59, station time. Nothing for bytes that are no document; no bytes
  /// or no station are logged.
  virtual std::optional<Events> getHighLowTideDataFromNSData(const Data& data, const StationPtr& station,
                                                             std::int64_t year, int month);
  int GetNumberOfDaysInMonth(std::int64_t month, std::int64_t year) const;
  /// The events from begin to end, both inclusive, in seconds, ascending.
  Events filterEventsToDate(const Events& events, std::int64_t beginTs, std::int64_t endTs) const;

  // --- Year files and months ------------------------------------------------------------------------------

  /// "2024398997177.xml"
  virtual std::string fileNameForStation(std::string_view stationId, std::int64_t year) const;
  /// The published address of a station's year; encodedAddress() makes it fit to travel.
  virtual std::string getTideDataEndpointForStation(const StationPtr& station, std::int64_t year) const;
  /// Gregorian, in the station's zone; in the device's without a station or a zone of that name.
  Calendar calendarForStation(const StationPtr& station) const;
  /// The content of a year file in the container, or an empty pointer. The bytes of a file that has not
  /// changed are handed out again.
  virtual Data loadDataAtFilePath(std::string_view fileName);
  /// Waits for a download; keeps it as `fileName` when it has at least 2501 bytes. Posts "downloadedTideData"
  /// or "downloadTideDataFailed" and calls the completion, with no bytes on failure, before it returns.
  ///
  /// Every path that downloads a year for its months calls this. An override may call the completion inside
  /// the call or later, on any thread; the first call counts, and to drop it uncalled is a failure.
  virtual void loadDataAtURL(const std::string& url, const std::string& fileName, DataCompletion completion);
  /// Puts the default station's year file of the current year into the container, if one is shipped and none
  /// is there.
  virtual void saveDefaultStationFileFromBundle();

  /// Makes a month present in memory from what lies on the disk; false when nothing does. No network, save
  /// for a worldwide point off the main thread: see ensureGlobalYearCached().
  bool populateCacheForStation(const StationPtr& station, std::int64_t year, int month);
  /// The events of a month between two instants (seconds, inclusive), ascending. May wait for a download.
  std::optional<Events> tideEventsForStation(const StationPtr& station, std::int64_t year, int month,
                                             std::int64_t beginTs, std::int64_t endTs);
  /// The month's list in memory as it stands.
  MonthList getTideData(std::string_view stationId, std::int64_t year, int month) const;
  /// The events between two instants (seconds, inclusive), ascending, from memory and disk, for a worldwide
  /// point off the main thread also from its service. The months of the two instants are looked at, months
  /// between them are not.
  std::optional<Events> getTideDataByTimestamp(std::string_view stationId, std::int64_t begin,
                                               std::int64_t end);
  /// The same for a station at hand.
  std::optional<Events> getTideDataByTimestamp(const StationPtr& station, std::int64_t begin,
                                               std::int64_t end);
  std::optional<TideEvent> firstCachedTideEvent() const;
  std::optional<TideEvent> lastCachedTideEvent() const;

  // --- Requests -------------------------------------------------------------------------------------------

  /// Asks for the month of `date`; the answer is a notification: completed at once on this thread when the
  /// month is cached, else begun on this thread and completed or error on the main thread. Without `notify`
  /// nothing is posted. Equal requests, of one month, share one answer; other months of a year that is being
  /// downloaded have an answer each. Who is told may ask again at once. The tag is ignored.
  void beginGetHighLowTideData(const StationPtr& station, const std::optional<Date>& date,
                               const std::shared_ptr<void>& tag, bool notify);
  /// Does memory hold more than 30 events of the month of `date`?
  bool isTideDataCachedForStation(const StationPtr& station, const std::optional<Date>& date) const;
  /// The 86,400 seconds from the station's midnight on; may wait for a download.
  std::optional<Events> loadTideEventsForStation(const StationPtr& station, Date date);
  /// The events of a range; downloads the year where memory and disk have at most one. The completion runs at
  /// once on this thread, or on a background thread after the download. Of a worldwide point, see
  /// fetchGlobalTideEventsForStation().
  virtual void fetchTideEventsForStation(const StationPtr& station, Date from, Date to,
                                         EventsCompletion completion);
  /// Post the two outcomes of a month request; on the main thread.
  void notifyHighLowDataFetchComplete(UserInfo userInfo);
  void notifyHighLowDataFetchError(UserInfo userInfo);
  /// Downloads the station's current year again, in the background.
  void queueRefreshDataTaskForStation(const StationPtr& station);
  /// Downloads what is missing of the years worth keeping for a favourite, in the background.
  void verifyAndDownloadFavoriteStationData(const StationPtr& station);
  /// Decimal years, this year and the next.
  virtual std::vector<std::string> yearsForFavoriteDownload() const;

  // --- Worldwide points -----------------------------------------------------------------------------------
  // A worldwide point that is handed to an operation that fetches, caches or refreshes, above or here, and is
  // not known by its id is registered first.

  /// Are worldwide points inside the United States hidden? Only in that country's build, where the region is
  /// absent or "usa", unless the user default asks for them.
  bool shouldHideUSGlobalPoints() const;
  /// The stations without the worldwide points that are hidden, in their order.
  Stations globalPointsFilteredForRegion(Stations stations) const;
  /// Makes a worldwide point known by its id; anything else is ignored.
  void registerGlobalStation(const StationPtr& station);
  /// Loads the worldwide points unless they are published or being loaded: those on the disk are published at
  /// once, those of the service replace them. "TideData_GlobalTidePointsLoaded" is posted on the main thread
  /// each time. After a failed load the next call tries again. Returns before the load ends.
  void loadGlobalStationPointsIfNeeded();
  /// The same; `ended` is called once on the main thread when no load is under way any more, neither from the
  /// disk nor from the service; where none is, within this call on the main thread. A provider that is
  /// destroyed before calls it in its destructor.
  void loadGlobalStationPointsIfNeeded(UniqueFunction<void()> ended);
  /// The published points; absent until a load has brought some.
  std::optional<Stations> globalStations() const;
  /// Is the service being asked for the points?
  bool globalStationsLoading() const;
  /// The published points inside a rectangle of projected map points, in their order.
  Stations getGlobalStationsInMapVisibleRect(const MapRect& rect) const;
  /// The published points; none while there are none. Starts no load.
  Stations getSearchableGlobalStations() const;
  /// The published point of that id, of several the last, else none.
  StationPtr globalStationById(std::string_view stationId) const;
  /// A year of a worldwide point from the service, empty when that fails; absent when it takes more than 30
  /// seconds. Waits; on the main thread it is absent at once, and nothing is asked.
  std::optional<Events> fetchGlobalYearEventsBlocking(const StationPtr& station, std::int64_t year);
  /// Files a year's events in memory under the months they lie in, and those of `year`, by the station's
  /// calendar, on the disk.
  void cacheGlobalYearEvents(const Events& events, const StationPtr& station, std::int64_t year);
  /// Makes a year of a worldwide point present in memory from memory, disk and service; true when it is. A
  /// January of which memory or disk has more than 25 events stands for the year. Waits for the network, save
  /// on the main thread, which gets what memory and disk have.
  bool ensureGlobalYearCached(const StationPtr& station, std::int64_t year);
  /// The range fetch of a worldwide point. The completion runs at once on this thread when two or more events
  /// are at hand, else on the main thread after the years were made present. What is at hand is asked as
  /// getTideDataByTimestamp() does, so off the main thread this may wait for the service.
  void fetchGlobalTideEventsForStation(const StationPtr& station, Date from, Date to,
                                       EventsCompletion completion);

  // --- Curve (see TideCurve.h) ----------------------------------------------------------------------------

  std::optional<TideEvent> previousEventImmediatelyBeforeTimestamp(double t, const Events& events) const;
  std::int64_t nextEventTimestampImmediatelyAfterTimestamp(double t, const Events& events) const;
  std::optional<TideEvent> nextEventAfterTimestamp(double t, const Events& events) const;
  Events interopolateTideLevelsBetweenStartEvent(const TideEvent& startEvent, const TideEvent& endEvent,
                                                 std::int64_t interval) const;
  std::optional<curve::CurvePoints> interopolateTideLevelsWithEvents(const Events& events,
                                                                     std::int64_t interval,
                                                                     std::string stationName) const;
  std::optional<std::vector<curve::CurvePoint>> orderedTideLevelsWithEvents(const Events& events,
                                                                            std::int64_t interval,
                                                                            std::string stationName,
                                                                            Date afterTime,
                                                                            std::int64_t maxCount) const;
  double interopolateTideLevel(const Events& events, double timestamp) const;
  std::optional<std::vector<Date>> getOccurancesOfReferenceTideLevel(double level,
                                                                     const Events& events) const;
  bool checkTideLevel(double level, const TideEvent& a, const TideEvent& b) const;

 protected:
  enum class ReadCatalogue {
    nothing,  ///< no favourites are loaded over it
    part,     ///< some list is missing, unreadable or empty
    whole
  };
  /// Reads the station list into the cache: the step of loadStationData() that regional providers replace.
  virtual ReadCatalogue readStationList();
  /// Adds one list of the catalogue to the cache. Returns false if there is no station in it.
  bool addStationList(const Stations& stations);

  /// Events of a month file, which another build may have kept in its own unit, in the unit of this provider.
  /// Here feet for the United States' stations; all others are as they were kept.
  virtual Events inProviderUnit(const TideStation& station, Events events) const;

  /// The instants that a month cut out of a year's document covers, margins included.
  InstantRange monthRangeForStation(const StationPtr& station, std::int64_t year, int month) const;

  /// How long a year of a worldwide point is waited for.
  virtual std::chrono::nanoseconds globalYearLimit() const;

  /// The document in the bytes of a year file, or an empty pointer; here those bytes. A step of every path
  /// that has the bytes at hand; loadDataAtFilePath() gives what is open already.
  virtual Data documentOfFile(const Data& bytes);

  /// Waits for a download, keeps it as `fileName` when it has at least `atLeast` bytes and posts
  /// "downloadedTideData", else "downloadTideDataFailed". The bytes, or an empty pointer on failure.
  Data downloadAndKeep(const std::string& url, const std::string& fileName, std::size_t atLeast);
  /// The same without waiting; the completion is called on the callback thread. Where the provider ends
  /// before, it is called with no bytes.
  void downloadAndKeepLater(const std::string& url, const std::string& fileName, std::size_t atLeast,
                            DataCompletion completion);

  /// The range fetch of a station that is no worldwide point: the completion gets what memory and disk have
  /// if that is `enough` events, on this thread. Else the year of `from` is transferred, and from 251 bytes
  /// on `take` stores them and gives the events, for a completion on the callback thread.
  void fetchRange(const StationPtr& station, Date from, Date to, std::size_t enough,
                  UniqueFunction<std::optional<Events>(const Data&)> take, EventsCompletion completion);

  /// Ends all work in flight, as the destructor does; nothing starts afterwards.
  void stopWork();

  const Host& host() const { return host_; }
  TideDataCache& cache() { return _cache; }
  const TideDataCache& cache() const { return _cache; }
  FileAccess& files() const { return *files_; }
  const std::shared_ptr<FileAccess>& sharedFiles() const { return files_; }
  /// For work that comes back later: entered before the provider is touched. Closed once the provider ends,
  /// which an observer may have brought about: who has posted looks, at a copy of the pointer.
  const std::shared_ptr<WorkScope>& workScope() const { return work_; }
  YearFileMemo& yearFiles() const { return *yearFiles_; }

 private:
  struct MonthRequest;
  struct RefreshRequest;
  /// Years that the service was asked for in vain, so that one question does not ask it twice.
  using FailedYears = std::vector<std::int64_t>;

  std::optional<Bytes> readStationFile() const;

  bool loadMonthFromContainer(const StationPtr& station, const std::string& fileName, std::int64_t year,
                              int month, std::optional<Events>& events);
  bool loadMonthFromDocuments(const StationPtr& station, const std::string& fileName, std::int64_t year,
                              int month, std::optional<Events>& events);
  bool populateMonth(const StationPtr& station, std::int64_t year, int month, FailedYears& failed);
  /// `station` may be none: then only what memory holds under the id is looked at.
  std::optional<Events> rangeFromMemory(const StationPtr& station, std::string_view stationId,
                                        std::int64_t begin, std::int64_t end, FailedYears& failed);
  /// The events in memory of the months of two local times, between two instants.
  Events eventsOfMonths(std::string_view stationId, const CivilTime& first, const CivilTime& last,
                        std::int64_t begin, std::int64_t end) const;

  void loadFromFile(const MonthRequest& request);
  /// Joins the download of the year, or begins it; false when the disk is to be looked at again.
  bool downloadMonth(const MonthRequest& request);
  /// Are the bytes a year? Its month is in memory then.
  bool takeMonth(const MonthRequest& request, const Data& data);
  /// Drops the months of a year that `events` fill from memory: what stood there must not mix with them.
  void forgetFilledMonths(const std::string& stationId, const Events& events, std::int64_t year,
                          const Calendar& calendar);
  void refreshDataForStation(const RefreshRequest& request);
  bool takeRefresh(const RefreshRequest& request, const Data& data);
  void tellOfFailedRefresh(const std::string& stationId, std::size_t size);
  void downloadForFavorite(const std::string& url, const std::string& fileName);
  std::optional<Events> takeRange(const StationPtr& station, Date from, Date to, const Data& data);
  void prefetchYear(const StationPtr& station, std::int64_t year, const std::string& fileName);

  /// The catalogue followed by the published points.
  std::shared_ptr<const StationList> everyStation() const;
  void registerIfUnknown(const StationPtr& station);
  bool ensureGlobalYear(const StationPtr& station, std::int64_t year, FailedYears& failed);
  /// Queues a load of a year, or joins one that is queued or running.
  void queueGlobalYear(const StationPtr& station, Date date, std::int64_t year, int month, bool notify);
  void refreshGlobalStation(const RefreshRequest& request);

  /// Posts; false when an observer has destroyed the provider.
  bool post(const char* name, const void* object, std::optional<UserInfo> userInfo);
  double secondsSince(std::chrono::nanoseconds begun) const;
  /// The bytes, stored, or an empty pointer.
  Data keepDownload(const Data& data, const std::string& fileName, std::size_t atLeast);
  /// Tells what became of a download; the provider may be gone afterwards.
  void downloadEnded(const std::string& url, const std::string& fileName, bool kept, double seconds);
  void postOnMain(void (TideDataProvider::*operation)(UserInfo), const StationPtr& station, Date date);
  /// Runs `job` on a queue unless the provider is being destroyed by then.
  void enqueue(const std::shared_ptr<Executor>& queue, UniqueFunction<void()> job);

  const Host host_;
  const std::shared_ptr<FileAccess> files_;
  const std::shared_ptr<TideEventDiskCache> diskCache_;
  const std::shared_ptr<PelagoraService> globalService_;  // may be none
  const FavoriteHooks favorites_;
  TideDataCache _cache;
  const std::shared_ptr<PendingOperations> _pendingOperations;
  const std::unique_ptr<YearFileMemo> yearFiles_;
  const std::shared_ptr<WorkScope> work_;
  const std::shared_ptr<AnswerWaits<Events>> yearWaits_;
  const std::shared_ptr<OutstandingCompletions<std::optional<Events>>> outstanding_;
  std::mutex _lock;

  std::atomic<bool> _hasLoadedStations = false;  // set when a load begins
  std::atomic<bool> isCatalogueWhole_ = false;   // set before the favourites are loaded
  std::atomic<bool> loading_ = false;
  std::mutex loadMutex_;  // guards loadingThread_
  std::condition_variable loadEnded_;
  std::thread::id loadingThread_;  // of a load under way

  std::shared_ptr<Executor> _loadqueue;      // year files that lie on disk, years that have come
  std::shared_ptr<Executor> _downloadqueue;  // downloads, refreshes, favourite downloads, worldwide years
  std::shared_ptr<Executor> utilityQueue_;   // stored worldwide points, range fetches of worldwide points
  const std::shared_ptr<GlobalPoints> globalPoints_;

  mutable std::mutex everyStationMutex_;
  // Guarded by the mutex: the last answer of everyStation() and what it was made of.
  mutable std::shared_ptr<const StationList> everyStation_;
  mutable std::shared_ptr<const StationList> everyStationCatalogue_;
  mutable std::shared_ptr<const StationList> everyStationPoints_;
  const std::shared_ptr<YearDownloads> downloads_;
  const std::shared_ptr<JoinedWork<bool>> globalYears_;  // loads of worldwide years, by point and year
};

}  // namespace marlune
