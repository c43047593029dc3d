#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/NotificationCenter.h"
#include "marlune/tasks/Executor.h"
#include "marlune/tasks/UniqueFunction.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// What the search asks of the tide provider, from the search's own thread.
struct SearchableStations {
  std::function<std::vector<std::shared_ptr<TideStation>>()> getAllTideStations;
  std::function<void()> loadGlobalStationPointsIfNeeded;
  std::function<std::vector<std::shared_ptr<TideStation>>()> getSearchableGlobalStations;
};

/// Finds stations by what the user typed, as it is typed, over the whole catalogue and, once they are loaded,
/// the worldwide points. Names and states are searched, whatever the case of their letters.
///
/// Every operation may be called from any thread. Indexing and searching run one after the other on a queue
/// of the provider's own; answers come on the main thread, in the order of the questions, each exactly once.
/// An instance made with the constructor may be destroyed with questions open, once no other thread calls it;
/// every completion has been called when the destructor returns, those still open with nothing and on the
/// thread that destroys.
///
/// The records of an answer are owned together: while one is held, all that are indexed are kept.
///
///     TideStationSearchProvider::shared().findMatches("santa cr", [](auto stations) { show(stations); });
class MARLUNE_API TideStationSearchProvider {
 public:
  using StationPtr = std::shared_ptr<TideStation>;
  using Stations = std::vector<StationPtr>;
  using Completion = UniqueFunction<void(std::optional<Stations>)>;

  /// The search of the process, over the installed host, made at the first call (see marlune.h).
  static TideStationSearchProvider& shared();

  TideStationSearchProvider(const Host& host, SearchableStations stations);
  ~TideStationSearchProvider();
  TideStationSearchProvider(const TideStationSearchProvider&) = delete;
  TideStationSearchProvider& operator=(const TideStationSearchProvider&) = delete;

  /// Indexes what is there and not indexed yet, and has the worldwide points loaded, in the background.
  void loadStations();
  /// The same: what "TideData_GlobalTidePointsLoaded" calls, which every instance observes.
  void globalTidePointsLoaded(const Notification& notification);

  /// Indexes one station by its name and, where it differs, its state, in the background: questions that are
  /// asked after the call find it. Stations of the tide provider need no call: loadStations() indexes them.
  /// An empty pointer adds nothing.
  void addStation(StationPtr station);

  /// The stations with a name or state that begins with the query, by word; then those with a word inside
  /// that does, and from three letters on those that hold it anywhere. Of stations of one name within 60 km
  /// of each other one is given, rather the catalogue's. Nothing for an empty query or without a match. A
  /// blank behind the query asks for a word that ends there; PrefixTrie and IndexTrie say how is compared.
  void findMatches(std::string query, Completion completionHandler);

  /// The list without near-duplicates: names equal after lower-casing, 60.0 km apart at most. The first stays
  /// in its place, or a station of the catalogue in that of a global point. Empty pointers are left out.
  static Stations dedupeStations(const Stations& stations);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
