#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/platform/NotificationCenter.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

namespace notifications {
inline constexpr const char* favoritesChanged = "TideFavoriteList";  ///< none
}  // namespace notifications

/// What the favourites ask of the tide provider. Called without a lock held, on the caller's thread; an empty
/// function counts as one that finds and does nothing.
struct FavoriteStations {
  std::function<std::shared_ptr<TideStation>(const std::string& stationId)> getTideStationById;
  std::function<void(const std::shared_ptr<TideStation>&)> registerGlobalStation;
  std::function<void(const std::shared_ptr<TideStation>&)> verifyAndDownloadFavoriteStationData;
  /// Asked after ids: does an id without a station belong to none? Else its station may only be out of sight.
  /// An empty function counts as yes.
  std::function<bool()> isCatalogueWhole = nullptr;
};

/// The user's favourite stations, and the ordered list of stations whose charts are compared. Both lie in the
/// shared container, so that every process of the application sees them; favourites are written by
/// SaveToDisk() only. They are the user's own data: a write is flushed, and whole or not at all.
///
/// Every operation may be called from any thread, also from within FavoriteStations and from an observer.
/// Missing and unreadable files change nothing, nothing fails aloud, and whatever of a damaged file can be
/// read is used. "TideFavoriteList" is posted on the caller's thread.
///
/// Several processes may save. A save first reads what is there: what another process added since this one
/// last looked is kept, and becomes a favourite here if a station has that id; what another one removed is
/// removed here; what this process itself added or removed holds against both. Saves take turns. One that
/// has waited a second for its turn, since the process before it may be suspended, goes on without; then the
/// moment in which a file takes its name is unguarded.
///
///     auto& favorites = FavoriteListManager::Instance();
///     favorites.AddToFavorites(station);
///     favorites.SaveToDisk();
class MARLUNE_API FavoriteListManager {
 public:
  using StationPtr = std::shared_ptr<TideStation>;
  using Stations = std::vector<StationPtr>;

  /// The manager of the process, over the installed host (see marlune.h).
  static FavoriteListManager& Instance();

  FavoriteListManager(std::shared_ptr<FileAccess> files, std::shared_ptr<NotificationCenter> notifications,
                      FavoriteStations stations);
  ~FavoriteListManager();
  FavoriteListManager(const FavoriteListManager&) = delete;
  FavoriteListManager& operator=(const FavoriteListManager&) = delete;

  /// Stores the record under its id, in place of one that is there, then has its data downloaded, and tells.
  /// Without a station or an id nothing happens.
  void AddToFavorites(const StationPtr& station);
  /// Removes the station of that id, and tells, also where there was none. Without a station or an id nothing
  /// happens.
  void RemoveFromFavorites(const StationPtr& station);
  bool IsFavorite(const StationPtr& station) const;
  /// Ascending by name, by UTF-16 code unit; equal names by id.
  Stations getFavorites() const;
  /// Posts "TideFavoriteList".
  void postNotificationOfChanges() const;

  /// Writes the favourites if any was added or removed since the last save; else does nothing at all. A save
  /// that fails is not repeated by itself: the next change makes the next save write everything. Tells,
  /// once and last, if the favourites changed by what other processes added or removed.
  void SaveToDisk();
  /// Adds the stored favourites to those in memory; tells nobody. Ids that no station has are left out, and
  /// the next save drops them, unless the catalogue is not whole: then they stay in the file. As a load adds
  /// what is stored, it takes back a removal that was not saved; but what is added or removed while it runs
  /// holds against it. Called by the provider at the end of its catalogue's load.
  void LoadFromDisk();
  /// Brings the archive of worldwide points, which are stored whole, up to the favourites in memory and those
  /// of other processes; removes it when there is none. A step of SaveToDisk(), whether anything changed or
  /// not.
  void saveGlobalFavorites();
  /// Registers the archived worldwide points with the provider, so that their ids lead to a station. The
  /// first step of LoadFromDisk().
  void loadAndRegisterGlobalFavorites();

  /// The stations to compare, in the user's order, without ids that no station has; nothing without a
  /// readable list.
  std::optional<Stations> loadCompareChartsList();
  /// Writes the list of ids as it stands, in place of the stored one; an empty list leaves that alone.
  void saveCompareChartsList(const std::vector<std::string>& stationIds);

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace marlune
