#pragma once

#include <memory>

#include "marlune/base/Export.h"
#include "marlune/platform/Clock.h"
#include "marlune/platform/DeploymentSettings.h"
#include "marlune/platform/DeviceTimeZone.h"
#include "marlune/platform/FileSystem.h"
#include "marlune/platform/Folders.h"
#include "marlune/platform/HttpClient.h"
#include "marlune/platform/Log.h"
#include "marlune/platform/MainThread.h"
#include "marlune/platform/NotificationCenter.h"
#include "marlune/platform/Resources.h"
#include "marlune/platform/UserDefaults.h"
#include "marlune/tasks/Executor.h"

namespace marlune {

/// Everything the library asks of the outside: one interface for each concern. An application fills it once,
/// usually from linuxHost(), and replaces what it does better itself; every member must be set.
struct Host {
  std::shared_ptr<ApplicationBundle> application;
  std::shared_ptr<LibraryResources> resources;
  std::shared_ptr<UserDefaults> userDefaults;
  std::shared_ptr<Folders> folders;
  std::shared_ptr<FileSystem> files;
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<Clock> clock;
  std::shared_ptr<DeviceTimeZone> deviceTimeZone;
  std::shared_ptr<MainThread> mainThread;
  std::shared_ptr<ExecutorFactory> executors;
  std::shared_ptr<NotificationCenter> notifications;
  std::shared_ptr<Log> log;
  DeploymentSettings settings;
};

}  // namespace marlune
