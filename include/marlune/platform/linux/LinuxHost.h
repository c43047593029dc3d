#pragma once

#include <memory>
#include <optional>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/platform/Activity.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// What may be told apart from the defaults; whatever is left as it is takes the default named here.
struct LinuxHostOptions {
  /// Absolute path of the folder for everything that persists: `containers/GROUP`, `documents` and
  /// `defaults.plist` in it. Empty: `marlune` in the user's data folder (XDG_DATA_HOME, else ~/.local/share).
  std::string dataFolder = {};
  /// Resource folder of the host application, with `region.plist` and `Info.plist`. Default: none.
  std::optional<std::string> bundleFolder = {};
  /// Region word in place of the bundle's.
  std::optional<std::string> region = {};
  /// Folder of the library's own resources. Empty: those that belong to this build.
  std::string resourcesFolder = {};
  /// A clock of the application's. Files then carry its time. Default: the system's.
  std::shared_ptr<Clock> clock = {};
  /// Default: the zone that the system is set to.
  std::optional<TimeZone> deviceTimeZone = {};
  DeploymentSettings settings = {};
  /// Default: the system's log.
  std::shared_ptr<Log> log = {};
  /// The application's main thread, which it must run. Default: a thread of the library's own.
  std::shared_ptr<MainThread> mainThread = {};
  /// Counts what is queued, running or to be delivered by the parts of the host; give it to the main thread
  /// that you make too. Default: nothing counts.
  std::shared_ptr<Activity> activity = {};
};

/// A host of the Linux defaults. Nothing is opened, read or started before it is used.
///
///     auto activity = std::make_shared<Activity>();
///     auto loop = std::make_shared<MainLoop>(activity);
///     Host host = linuxHost({.dataFolder = folder, .mainThread = loop, .activity = activity});
MARLUNE_API Host linuxHost(LinuxHostOptions options = {});

}  // namespace marlune
