#include "marlune/composition/Doors.h"

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "marlune/global/TideEventDiskCache.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/storage/FileAccess.h"

namespace marlune {

namespace {

/// What stands behind the doors of the process, put together here and nowhere else.
struct House {
  explicit House(Host installed)
      : host(std::move(installed)),
        files(std::make_shared<FileAccess>(host.folders, host.files)),
        diskCache(std::make_shared<TideEventDiskCache>(files)),
        provider(std::make_unique<TideDataProvider>(host, files, diskCache)) {}

  const Host host;
  const std::shared_ptr<FileAccess> files;
  const std::shared_ptr<TideEventDiskCache> diskCache;
  const std::unique_ptr<TideDataProvider> provider;
};

struct Entrance {
  std::mutex mutex;
  std::optional<Host> installed;
  House* house = nullptr;
};

// Neither this nor the house is ever destroyed: the doors stay open for the whole process.
Entrance& entrance() {
  static auto* const instance = new Entrance;
  return *instance;
}

House& house() {
  Entrance& door = entrance();
  const std::lock_guard lock(door.mutex);
  if (door.house == nullptr) {
    door.house = new House(door.installed ? std::move(*door.installed) : linuxHost());
  }
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
  if (door.house != nullptr || !isComplete(host)) return false;
  door.installed = std::move(host);
  return true;
}

TideDataProvider& TideDataProvider::Instance() {
  return *house().provider;
}

TideEventDiskCache& TideEventDiskCache::shared() {
  return *house().diskCache;
}

}  // namespace marlune
