#include "marlune/favorites/FavoriteListManager.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "marlune/favorites/FavoriteFiles.h"
#include "marlune/favorites/FavoriteTable.h"
#include "marlune/formats/Text.h"

namespace marlune {

namespace {

FavoriteListManager::Stations stationsOf(
    const std::map<std::string, FavoriteListManager::StationPtr>& table) {
  FavoriteListManager::Stations all;
  all.reserve(table.size());
  for (const auto& [id, station] : table) all.push_back(station);
  return all;
}

}  // namespace

struct FavoriteListManager::State {
  State(std::shared_ptr<FileAccess> access, std::shared_ptr<NotificationCenter> center,
        FavoriteStations asked)
      : files(std::move(access)), notifications(std::move(center)), stations(std::move(asked)) {}

  // Each by itself, none within another.
  StationPtr stationOf(const std::string& id) const {
    return stations.getTideStationById ? stations.getTideStationById(id) : nullptr;
  }
  bool isCatalogueWhole() const { return !stations.isCatalogueWhole || stations.isCatalogueWhole(); }
  void registerGlobals(const Stations& globals) const {
    if (!stations.registerGlobalStation) return;
    for (const auto& station : globals) stations.registerGlobalStation(station);
  }
  /// Registers the archived points, unless the archive still holds the bytes `known`; tells whether.
  bool registerArchived(Data& known);

  // Called with `saving` held.
  FavoriteTable::InFile inFile(const FavoriteFiles::Seen& list) const;
  struct SavedList {
    FavoriteTable::Merge merge;
    bool hasLost = false;  ///< were favourites removed that another process had removed?
  };
  SavedList saveList();
  enum class Step { beforeList, afterList, alone };
  Stations saveArchive(const FavoriteTable::Merge& merge, Step step);
  struct Sorted {
    std::map<std::string, StationPtr> kept, dropped;
  };
  std::optional<Bytes> archiveContent(const FavoriteFiles::Seen& seen, const FavoriteTable::Merge& merge,
                                      Step step, Sorted& sorted) const;
  std::set<std::string> listed() const;

  const FavoriteFiles files;
  const std::shared_ptr<NotificationCenter> notifications;
  const FavoriteStations stations;
  FavoriteTable table;
  // One save at a time. Held over files and table only: whoever it made wait for the provider could be the
  // one that the provider waits for.
  std::mutex saving;
};

bool FavoriteListManager::State::registerArchived(Data& known) {
  auto bytes = files.read(FavoriteFiles::archiveName);
  if (!bytes || (known && *known == *bytes)) return false;
  known = std::move(bytes);
  const auto stored = FavoriteFiles::globalsIn(known).value_or(Stations());
  std::set<std::string> ids;
  for (const auto& station : stored) ids.insert(*station->stationId);
  table.sawArchive(std::move(ids));
  registerGlobals(stored);
  return true;
}

/// What the stored list says; what cannot be read is taken from where it can.
FavoriteTable::InFile FavoriteListManager::State::inFile(const FavoriteFiles::Seen& list) const {
  if (auto ids = FavoriteFiles::idsIn(list.bytes)) return {std::move(*ids), true};
  FavoriteTable::InFile found;
  if (!list.state) {
    found.ids = files.olderList().value_or(FavoriteFiles::Ids());  // a save that came before the first load
  } else if (const auto globals = FavoriteFiles::globalsIn(files.read(FavoriteFiles::archiveName))) {
    for (const auto& station : *globals) found.ids.push_back(*station->stationId);
  }
  return found;
}

FavoriteListManager::State::SavedList FavoriteListManager::State::saveList() {
  FavoriteTable::Merge merge;
  const bool isWritten =
      files.update(FavoriteFiles::listName, [&](const FavoriteFiles::Seen& seen) -> std::optional<Bytes> {
        const auto file = inFile(seen);
        merge = table.merge(file);
        auto bytes = FavoriteFiles::listOf(merge.ids);
        if (bytes && seen.state && !file.isWhole) files.keepDamaged(FavoriteFiles::listName, seen);
        // Before the list: an id without its record would be lost should the process end here, a record
        // without its id is only one too many.
        if (bytes) saveArchive(merge, Step::beforeList);
        return bytes;
      });
  const bool hasLost = isWritten && table.saved(merge);
  if (!isWritten) table.notSaved(merge);
  return {std::move(merge), hasLost};
}

std::set<std::string> FavoriteListManager::State::listed() const {
  const auto ids = FavoriteFiles::idsIn(files.read(FavoriteFiles::listName)).value_or(FavoriteFiles::Ids());
  return {ids.begin(), ids.end()};
}

/// What the archive is to hold; nothing when it may stay as it is or has just been removed.
std::optional<Bytes> FavoriteListManager::State::archiveContent(const FavoriteFiles::Seen& seen,
                                                                const FavoriteTable::Merge& merge, Step step,
                                                                Sorted& sorted) const {
  const auto stored = FavoriteFiles::globalsIn(seen.bytes);
  auto points = std::exchange(sorted.dropped, {});
  for (const auto& station : stored.value_or(Stations())) {
    points.insert_or_assign(*station->stationId, station);
  }
  std::set<std::string> obsolete;
  if (step != Step::beforeList) obsolete = merge.obsolete;
  if (step == Step::afterList) {  // another process may have written a list of its own over ours by now
    for (const auto& id : listed()) obsolete.erase(id);
  }
  // A point unknown here is kept, listed or not: another process may be about to list it.
  sorted.kept.clear();
  for (const auto& point : points) {
    (obsolete.contains(point.first) ? sorted.dropped : sorted.kept).insert(point);
  }
  const auto isKept = [&](const auto& point) { return sorted.kept.contains(point.first); };
  if (step == Step::beforeList && std::all_of(merge.globals.begin(), merge.globals.end(), isKept)) {
    return std::nullopt;
  }
  for (const auto& [id, station] : merge.globals) sorted.kept.insert_or_assign(id, station);

  const bool isDamaged = seen.state && !stored;
  const bool isNeeded = !sorted.kept.empty();
  auto bytes = isNeeded ? FavoriteFiles::archiveOf(stationsOf(sorted.kept)) : std::nullopt;
  if (isNeeded && (!bytes || (seen.bytes && *bytes == *seen.bytes))) return std::nullopt;
  if (isDamaged) files.keepDamaged(FavoriteFiles::archiveName, seen);
  if (!isNeeded) files.remove(FavoriteFiles::archiveName);
  return bytes;
}

/// Brings the archive up to a merge; before the list is written, only adds the points of this process that it
/// lacks. Gives the archived points that other processes added.
FavoriteListManager::Stations FavoriteListManager::State::saveArchive(const FavoriteTable::Merge& merge,
                                                                      Step step) {
  Sorted sorted;
  const auto update = [&] {
    files.update(FavoriteFiles::archiveName,
                 [&](const FavoriteFiles::Seen& seen) { return archiveContent(seen, merge, step, sorted); });
  };
  update();
  if (step == Step::beforeList) return {};
  // The other process may also have listed a point while it was dropped: then that goes back. What it lists
  // from here on, it will find missing by itself.
  if (step == Step::afterList && !sorted.dropped.empty()) {
    const auto again = listed();
    const auto isListed = [&](const auto& point) { return again.contains(point.first); };
    if (std::any_of(sorted.dropped.begin(), sorted.dropped.end(), isListed)) update();
  }
  std::set<std::string> archived;
  Stations ofOthers;
  for (const auto& [id, station] : sorted.kept) {
    archived.insert(id);
    if (merge.others.contains(id)) ofOthers.push_back(station);
  }
  table.sawArchive(std::move(archived));
  return ofOthers;
}

FavoriteListManager::FavoriteListManager(std::shared_ptr<FileAccess> files,
                                         std::shared_ptr<NotificationCenter> notifications,
                                         FavoriteStations stations)
    : state_(std::make_unique<State>(std::move(files), std::move(notifications), std::move(stations))) {}

FavoriteListManager::~FavoriteListManager() = default;

void FavoriteListManager::AddToFavorites(const StationPtr& station) {
  if (!station || !station->stationId) return;
  state_->table.add(station);
  const auto& download = state_->stations.verifyAndDownloadFavoriteStationData;
  if (download) download(station);
  postNotificationOfChanges();
}

void FavoriteListManager::RemoveFromFavorites(const StationPtr& station) {
  if (!station || !station->stationId) return;
  state_->table.remove(*station->stationId);
  postNotificationOfChanges();
}

bool FavoriteListManager::IsFavorite(const StationPtr& station) const {
  return station && station->stationId && state_->table.contains(*station->stationId);
}

FavoriteListManager::Stations FavoriteListManager::getFavorites() const {
  auto stations = state_->table.stations();
  const auto nameOf = [](const StationPtr& station) {
    return station->stationName ? std::string_view(*station->stationName) : std::string_view();
  };
  std::stable_sort(stations.begin(), stations.end(), [&](const StationPtr& a, const StationPtr& b) {
    return comparePlain(nameOf(a), nameOf(b)) < 0;
  });
  return stations;
}

void FavoriteListManager::postNotificationOfChanges() const {
  state_->notifications->post({notifications::favoritesChanged, nullptr, std::nullopt});
}

void FavoriteListManager::SaveToDisk() {
  State::SavedList saved;
  const FavoriteTable::Merge& merge = saved.merge;
  Stations pointsOfOthers;
  {
    const std::lock_guard lock(state_->saving);
    if (!state_->table.isDirty()) return;
    const auto turn = state_->files.takeTurn();
    saved = state_->saveList();
    pointsOfOthers = state_->saveArchive(merge, State::Step::afterList);
  }
  state_->registerGlobals(pointsOfOthers);
  FavoriteTable::Found found;
  for (const auto& id : merge.others) found.emplace_back(id, state_->stationOf(id));
  const bool hasGained = state_->table.addOthers(found, merge);
  if (saved.hasLost || hasGained) postNotificationOfChanges();  // last: an observer may save again
}

void FavoriteListManager::LoadFromDisk() {
  const auto since = state_->table.now();
  Data archive;
  state_->registerArchived(archive);
  const auto ids = state_->files.listToLoad();
  if (!ids) return;
  FavoriteTable::Found found;
  found.reserve(ids->size());
  bool areAllKnown = true;
  for (const auto& id : *ids) {
    found.emplace_back(id, state_->stationOf(id));
    areAllKnown = areAllKnown && found.back().second;
  }
  // Another process may have saved after the archive was read. It writes a point before its id, so that the
  // points of this list are there now.
  if (!areAllKnown && state_->registerArchived(archive)) {
    for (auto& [id, station] : found) {
      if (!station) station = state_->stationOf(id);
    }
  }
  const bool isWhole = areAllKnown || state_->isCatalogueWhole();
  state_->table.addLoaded(found, since, isWhole);
}

void FavoriteListManager::saveGlobalFavorites() {
  const std::lock_guard lock(state_->saving);
  const auto turn = state_->files.takeTurn();
  const auto list = state_->inFile(state_->files.look(FavoriteFiles::listName));
  state_->saveArchive(state_->table.merge(list), State::Step::alone);
}

void FavoriteListManager::loadAndRegisterGlobalFavorites() {
  Data archive;
  state_->registerArchived(archive);
}

std::optional<FavoriteListManager::Stations> FavoriteListManager::loadCompareChartsList() {
  const auto ids = FavoriteFiles::idsIn(state_->files.read(FavoriteFiles::compareName));
  if (!ids) return std::nullopt;
  Stations stations;
  stations.reserve(ids->size());
  for (const auto& id : *ids) {
    if (auto station = state_->stationOf(id)) stations.push_back(std::move(station));
  }
  return stations;
}

void FavoriteListManager::saveCompareChartsList(const std::vector<std::string>& stationIds) {
  std::vector<std::string> ids;
  // No file holds a text that is not UTF-8, and one such must not keep the rest from being saved.
  std::copy_if(stationIds.begin(), stationIds.end(), std::back_inserter(ids), isUtf8);
  if (ids.empty()) return;
  if (const auto bytes = FavoriteFiles::listOf(ids)) {
    state_->files.replace(FavoriteFiles::compareName, *bytes);
  }
}

}  // namespace marlune
