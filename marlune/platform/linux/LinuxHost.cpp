#include "marlune/platform/linux/LinuxHost.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>
#include <vector>

#include "marlune/platform/FixedTimeZone.h"
#include "marlune/platform/NotificationHub.h"
#include "marlune/platform/PropertyListDefaults.h"
#include "marlune/platform/linux/SystemClock.h"
#include "marlune/platform/linux/SystemLog.h"
#include "marlune/platform/linux/SystemTimeZone.h"
#include "marlune/platform/linux/files/FolderLayout.h"
#include "marlune/platform/linux/files/FolderResources.h"
#include "marlune/platform/linux/files/LinuxFileSystem.h"
#include "marlune/platform/linux/files/PropertyListBundle.h"
#include "marlune/platform/linux/http/CurlHttpClient.h"
#include "marlune/platform/linux/queues/MainLoop.h"
#include "marlune/platform/linux/queues/QueueFactory.h"

namespace marlune {
namespace {

/// The value of an environment variable when it is an absolute path, as the rules for data folders want it.
std::string folderIn(const char* variable) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): read as the host is made
  return value != nullptr && *value == '/' ? value : "";
}

std::string homeFolder() {
  if (auto home = folderIn("HOME"); !home.empty()) return home;
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    return "";
  return found->pw_dir != nullptr && *found->pw_dir == '/' ? found->pw_dir : "";
}

/// Empty, which means no folders, for a user without a home.
std::string defaultDataFolder() {
  if (const auto data = folderIn("XDG_DATA_HOME"); !data.empty()) return data + "/marlune";
  const auto home = homeFolder();
  return home.empty() ? "" : home + "/.local/share/marlune";
}

std::shared_ptr<MainThread> drivenMainLoop(const std::shared_ptr<Activity>& activity) {
  auto loop = std::make_shared<MainLoop>(activity);
  loop->driveOnThread();
  return loop;
}

}  // namespace

Host linuxHost(LinuxHostOptions options) {
  const std::string data = options.dataFolder.empty() ? defaultDataFolder() : options.dataFolder;
  std::string resources =
      options.resourcesFolder.empty() ? installedResourcesFolder() : std::move(options.resourcesFolder);

  Host host;
  host.application =
      std::make_shared<PropertyListBundle>(std::move(options.bundleFolder), std::move(options.region));
  host.resources = std::make_shared<FolderResources>(std::move(resources));
  host.folders = std::make_shared<FolderLayout>(data);
  host.files = std::make_shared<LinuxFileSystem>(options.clock);
  host.userDefaults = std::make_shared<PropertyListDefaults>(host.files, data);
  host.http = std::make_shared<CurlHttpClient>(options.activity);
  host.clock = options.clock ? std::move(options.clock) : std::make_shared<SystemClock>();
  if (options.deviceTimeZone) {
    host.deviceTimeZone = std::make_shared<FixedTimeZone>(*options.deviceTimeZone);
  } else {
    host.deviceTimeZone = std::make_shared<SystemTimeZone>();
  }
  host.mainThread = options.mainThread ? std::move(options.mainThread) : drivenMainLoop(options.activity);
  host.executors = std::make_shared<QueueFactory>(options.activity);
  host.notifications = std::make_shared<NotificationHub>();
  host.log = options.log ? std::move(options.log) : std::make_shared<SystemLog>();
  host.settings = std::move(options.settings);
  return host;
}

}  // namespace marlune
