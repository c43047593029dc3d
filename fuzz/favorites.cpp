#include <map>
#include <memory>
#include <vector>

#include "fuzz/MemoryFolder.h"
#include "fuzz/Target.h"
#include "marlune/favorites/FavoriteListManager.h"
#include "marlune/platform/NotificationHub.h"

namespace {

constexpr std::string_view listName = "favorites.plist";
constexpr std::string_view archiveName = "favorites_global.archive";

/// A process of the application, whose provider knows every id that is no worldwide point and of even length.
struct Process {
  using Station = std::shared_ptr<TideStation>;

  explicit Process(const std::shared_ptr<FileAccess>& files)
      : favorites(files, std::make_shared<NotificationHub>(),
                  {[this](const std::string& id) {
                     const auto point = points.find(id);
                     if (point != points.end()) return point->second;
                     if (id.size() % 2 != 0 || TideStation::isGlobalStationId(id)) return Station();
                     auto station = std::make_shared<TideStation>();
                     station->stationId = id;
                     return station;
                   },
                   [this](const Station& station) {
                     MARLUNE_FUZZ_REQUIRE(station->isGlobal && station->stationId);
                     points[*station->stationId] = station;
                   },
                   {}}) {}

  std::map<std::string, bool> ids() const {  // with whether they are worldwide points
    std::map<std::string, bool> all;
    for (const auto& station : favorites.getFavorites()) {
      MARLUNE_FUZZ_REQUIRE(all.try_emplace(*station->stationId, station->isGlobal).second);
    }
    return all;
  }

  std::map<std::string, Station> points;
  FavoriteListManager favorites;
};

/// What is loaded, saved and loaded again is the same; then a save by a process that loaded nothing keeps it.
void check(const std::shared_ptr<FileAccess>& files, const std::map<std::string, bool>* expected) {
  Process first(files);
  first.favorites.LoadFromDisk();
  const auto ids = first.ids();
  MARLUNE_FUZZ_REQUIRE(expected == nullptr || ids == *expected);
  auto absent = std::make_shared<TideStation>();
  absent->stationId = "absent";
  const bool hasAbsent = ids.contains("absent");
  for (int save = 0; save < 2 && !hasAbsent; ++save) {
    Process unloaded(files);
    FavoriteListManager& favorites = save == 0 ? first.favorites : unloaded.favorites;
    favorites.RemoveFromFavorites(absent);
    favorites.SaveToDisk();
    Process again(files);
    again.favorites.LoadFromDisk();
    MARLUNE_FUZZ_REQUIRE(again.ids() == ids);
    if (save == 1) MARLUNE_FUZZ_REQUIRE(unloaded.ids() == ids);
  }
}

void store(FileAccess& files, std::string_view name, std::string_view bytes) {
  MARLUNE_FUZZ_REQUIRE(files.saveFileInContainer(kGroupContainerName, name, bytes));
}

}  // namespace

/// Any bytes as the list of favourites, and as the archive of the worldwide points.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto folder = std::make_shared<MemoryFolder>();
  const auto files = std::make_shared<FileAccess>(folder, folder);
  store(*files, listName, bytes);
  check(files, nullptr);

  folder->remove("/container/" + std::string(listName));
  folder->remove("/container/" + std::string(archiveName));
  store(*files, archiveName, bytes);
  Process archived(files);
  archived.favorites.loadAndRegisterGlobalFavorites();
  std::map<std::string, bool> points;
  for (const auto& [id, station] : archived.points) {
    points.emplace(id, true);
    archived.favorites.AddToFavorites(station);
  }
  archived.favorites.SaveToDisk();
  store(*files, archiveName, bytes);  // the list of its points beside the archive as it came
  check(files, points.empty() ? nullptr : &points);
}
