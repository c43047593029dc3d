#include "support/FakeHost.h"

#include "marlune/platform/FixedTimeZone.h"
#include "marlune/platform/PropertyListDefaults.h"
#include "marlune/platform/linux/queues/QueueFactory.h"

namespace marlune::testing {

Host FakeHost::host() const {
  Host host;
  host.application = application;
  host.resources = resources;
  host.userDefaults = std::make_shared<PropertyListDefaults>(files, *folders->documents());
  host.folders = folders;
  host.files = files;
  host.http = http;
  host.clock = clock;
  host.deviceTimeZone = std::make_shared<FixedTimeZone>(deviceTimeZone.value_or(TimeZone()));
  host.mainThread = mainThread;
  host.executors = std::make_shared<QueueFactory>(activity);
  host.notifications = notifications;
  host.log = log;
  host.settings = settings;
  return host;
}

bool FakeHost::settle() {
  return mainThread->runUntil([this] { return activity->open() == 0; },
                              std::chrono::steady_clock::now() + std::chrono::seconds(30));
}

}  // namespace marlune::testing
