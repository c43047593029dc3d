#include "marlune/composition/Doors.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "marlune/favorites/FavoriteListManager.h"
#include "marlune/global/PelagoraService.h"
#include "marlune/ocean/OceanDataServiceProvider.h"
#include "marlune/ocean/openmeteo/OpenMeteoWindProvider.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/providers/TideDataProviderAus.h"
#include "marlune/providers/TideDataProviderUK.h"
#include "marlune/search/TideStationSearchProvider.h"
#include "marlune/tides/TideEventDiskCache.h"

namespace marlune {

namespace {

/// What stands behind the doors of the process, put together here and nowhere else. The favourites and the
/// provider call each other, each through functions that know where the other is.
class House {
 public:
  explicit House(Host installed)
      : host(std::move(installed)),
        files(std::make_shared<FileAccess>(host.folders, host.files)),
        diskCache(std::make_shared<TideEventDiskCache>(files)),
        globalService(std::make_shared<PelagoraService>(host, files)),
        favorites(std::make_unique<FavoriteListManager>(files, host.notifications, stationsForFavorites())),
        provider(providerOfRegion(host.application->region().value_or(""))),
        seriesCache(std::make_shared<SeriesDiskCache>(host)) {}

  /// Made when it is first asked for: from then on it indexes whatever is loaded.
  TideStationSearchProvider& search() {
    std::call_once(searchMade_, [this] {
      search_ = std::make_unique<TideStationSearchProvider>(
          host, SearchableStations{[this] { return provider->getAllTideStations(); },
                                   [this] { provider->loadGlobalStationPointsIfNeeded(); },
                                   [this] { return provider->getSearchableGlobalStations(); }});
    });
    return *search_;
  }

  /// Made when it is first asked for: it stands apart from the tides, and many an application never asks.
  OceanDataServiceProvider& ocean() {
    std::call_once(oceanMade_, [this] {
      ocean_ = std::make_unique<OceanDataServiceProvider>(host, seriesCache,
                                                          std::make_shared<OpenMeteoWindProvider>(host));
    });
    return *ocean_;
  }

  const Host host;
  const std::shared_ptr<FileAccess> files;
  const std::shared_ptr<TideEventDiskCache> diskCache;
  const std::shared_ptr<PelagoraService> globalService;
  const std::unique_ptr<FavoriteListManager> favorites;
  const std::unique_ptr<TideDataProvider> provider;
  const std::shared_ptr<SeriesDiskCache> seriesCache;

 private:
  std::unique_ptr<TideDataProvider> providerOfRegion(const std::string& region) {
    if (region == "aus") return make<TideDataProviderAus>();
    if (region == "worldwide") return make<TideDataProviderUK>();
    return make<TideDataProvider>();
  }
  template <class Provider>
  std::unique_ptr<TideDataProvider> make() {
    return std::make_unique<Provider>(
        host, files, diskCache, globalService,
        FavoriteHooks{[this] { favorites->LoadFromDisk(); }, [this] { favorites->SaveToDisk(); }});
  }
  FavoriteStations stationsForFavorites() {
    using StationPtr = std::shared_ptr<TideStation>;
    return {[this](const std::string& stationId) { return provider->getTideStationById(stationId); },
            [this](const StationPtr& station) { provider->registerGlobalStation(station); },
            [this](const StationPtr& station) { provider->verifyAndDownloadFavoriteStationData(station); },
            [this] { return provider->isCatalogueWhole(); }};
  }

  std::once_flag searchMade_;
  std::unique_ptr<TideStationSearchProvider> search_;
  std::once_flag oceanMade_;
  std::unique_ptr<OceanDataServiceProvider> ocean_;
};

struct Entrance {
  std::mutex mutex;
  // Guarded by the mutex.
  std::optional<Host> installed;
  bool settled = false;  // somebody has seen the host, or stands on it
  House* house = nullptr;

  /// Requires the mutex. The host from now on.
  const Host& settle() {
    settled = true;
    if (!installed) installed = linuxHost();
    return *installed;
  }
};

// Neither this nor the house is ever destroyed: the doors stay open for the whole process.
Entrance& entrance() {
  static auto* const instance = new Entrance;
  return *instance;
}

House& house() {
  Entrance& door = entrance();
  const std::lock_guard lock(door.mutex);
  if (door.house == nullptr) door.house = new House(door.settle());
  return *door.house;
}

bool isComplete(const Host& host) {
  return host.application && host.resources && host.userDefaults && host.folders && host.files && host.http &&
         host.clock && host.deviceTimeZone && host.mainThread && host.executors && host.notifications &&
         host.log;
}

}  // namespace

bool installHost(Host host) {
  Entrance& door = entrance();
  const std::lock_guard lock(door.mutex);
  if (door.settled || !isComplete(host)) return false;
  door.installed = std::move(host);
  return true;
}

Host installedHost() {
  Entrance& door = entrance();
  const std::lock_guard lock(door.mutex);
  return door.settle();
}

FileAccess& FileAccess::shared() {
  return *house().files;
}

TideDataProvider& TideDataProvider::Instance() {
  return *house().provider;
}

TideEventDiskCache& TideEventDiskCache::shared() {
  return *house().diskCache;
}

PelagoraService& PelagoraService::shared() {
  return *house().globalService;
}

FavoriteListManager& FavoriteListManager::Instance() {
  return *house().favorites;
}

TideStationSearchProvider& TideStationSearchProvider::shared() {
  return house().search();
}

OceanDataServiceProvider& OceanDataServiceProvider::shared() {
  return house().ocean();
}

SeriesDiskCache& SeriesDiskCache::shared() {
  return *house().seriesCache;
}

}  // namespace marlune
