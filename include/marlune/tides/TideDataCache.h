#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/platform/Log.h"
#include "marlune/tides/StationTables.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideStation.h"
#include "marlune/time/Calendar.h"

namespace marlune {

/// The events of one station and month, a snapshot that never changes; an empty pointer is no list.
using MonthList = std::shared_ptr<const std::vector<TideEvent>>;

/// Events of one month, in the order in which they came.
struct MonthEvents {
  std::int64_t year = 0;
  int month = 0;
  MonthList events;
};

/// What a provider knows, in memory: its stations, and events by station and month. Safe from any thread: a
/// merge builds new month lists aside and publishes them, a reader keeps the list it was given.
class MARLUNE_API TideDataCache {
 public:
  explicit TideDataCache(std::shared_ptr<Log> log);

  /// More events than this make a month contained.
  static constexpr std::size_t containedAbove = 25;

  // --- Months ---

  /// Merges events into the lists of the months that they lie in by `calendar`, the station's. Cached events
  /// of an incoming event's time are dropped first; then the incoming are appended in their order, all of
  /// them, also where two share a time. No id or no list is logged and changes nothing.
  void addTideData(const std::optional<std::string>& stationId,
                   const std::optional<std::vector<TideEvent>>& events, const Calendar& calendar);
  /// The same for events that groupByMonth() has grouped.
  void addTideData(std::string_view stationId, const std::vector<MonthEvents>& months);

  /// The months that events lie in by `calendar`, each once, in the order of their first events.
  static std::vector<MonthEvents> groupByMonth(const std::vector<TideEvent>& events,
                                               const Calendar& calendar);

  /// Does the month's list hold more than 25 events?
  bool containsTideData(std::string_view stationId, std::int64_t year, int month) const;

  /// The month's list as it stands, in the order of its merges.
  MonthList getTideData(std::string_view stationId, std::int64_t year, int month) const;

  void removeTideData(std::string_view stationId, std::int64_t year, int month);
  void removeAllTideData();

  /// The earliest and the latest event ever added; removing months does not change them. Of events at the
  /// same time, the first added.
  std::optional<TideEvent> firstTideEvent() const;
  std::optional<TideEvent> lastTideEvent() const;

  /// Held around each change of the month lists.
  std::mutex& lock() const { return _lock; }

  // --- Stations ---

  /// Adds stations in order, as StationTables::adding; readers see all of them or none.
  void addStationsToCache(const std::vector<std::shared_ptr<TideStation>>& stations);

  /// Adds one worldwide point, found by id after the catalogue's stations; one without id is ignored.
  void addStationToCache(const std::shared_ptr<TideStation>& station);

  /// The station of that id: of the catalogue, else a worldwide point, else none.
  std::shared_ptr<TideStation> getTideStationById(std::string_view stationId) const;

  /// Every station of the catalogue once, in no defined order.
  std::vector<std::shared_ptr<TideStation>> getAllStations() const;

  /// Empties the catalogue; worldwide points stay.
  void removeAllStations();

  std::size_t getTideStationGroupCount() const;
  /// Ascending by UTF-16 code unit, as are the names below.
  std::vector<std::string> getTideStationStates() const;
  /// Ascending by name; nothing for an unknown state.
  std::optional<std::vector<std::shared_ptr<TideStation>>> getTideStationsForState(
      std::string_view state) const;

  /// The catalogue as it stands, for queries over all of it.
  std::shared_ptr<const StationTables> stationTables() const;

 private:
  struct MonthKey {
    std::string stationId;
    std::int64_t year;
    int month;
  };
  struct MonthKeyView {
    std::string_view stationId;
    std::int64_t year;
    int month;
  };
  struct MonthKeyHash {
    using is_transparent = void;
    std::size_t operator()(const MonthKey& key) const { return (*this)(view(key)); }
    std::size_t operator()(const MonthKeyView& key) const;
  };
  struct MonthKeyEqual {
    using is_transparent = void;
    template <class A, class B>
    bool operator()(const A& a, const B& b) const {
      return a.month == b.month && a.year == b.year && std::string_view(a.stationId) == b.stationId;
    }
  };
  static MonthKeyView view(const MonthKey& key) { return {key.stationId, key.year, key.month}; }

  const std::shared_ptr<Log> log_;
  mutable std::mutex _lock;        // taken by whoever changes months, before tableMutex_
  mutable std::mutex tableMutex_;  // guards what follows, for moments
  std::unordered_map<MonthKey, MonthList, MonthKeyHash, MonthKeyEqual> _cache;
  std::optional<TideEvent> firstEvent;
  std::optional<TideEvent> lastEvent;

  mutable std::mutex stationMutex_;  // guards the two below
  std::shared_ptr<const StationTables> stations_;
  std::unordered_map<std::string, std::shared_ptr<TideStation>, TextHash, std::equal_to<>>
      _globalStationTableById;
};

}  // namespace marlune
