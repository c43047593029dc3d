#include "support/FakeHost.h"

#include "marlune/platform/FixedTimeZone.h"
#include "marlune/platform/linux/FolderLayout.h"
#include "marlune/platform/linux/LinuxFileSystem.h"
#include "marlune/platform/linux/QueueFactory.h"

namespace marlune::testing {

FakeHost::FakeHost(const FakeHostOptions& options) {
  if (options.files == FakeHostOptions::Files::inMemory) {
    memory = std::make_shared<MemoryFileSystem>(clock);
    files = std::make_shared<ProbedFileSystem>(memory);
    folders = std::make_shared<FolderLayout>("/data");
  } else {
    folder = std::make_unique<TemporaryFolder>();
    files = std::make_shared<ProbedFileSystem>(std::make_shared<LinuxFileSystem>(clock));
    folders = std::make_shared<FolderLayout>(folder->path());
  }
  mainThread = std::make_shared<ManualMainThread>(activity);
  const auto wake = [loop = mainThread] { loop->wake(); };  // settle() has something to run again
  http = std::make_shared<FakeHttpClient>(options.http, activity, wake);
  if (options.executors == FakeHostOptions::Work::byTheTest) {
    jobs = std::make_shared<ManualExecutors>(activity, wake);
    executors = jobs;
  } else {
    executors = std::make_shared<QueueFactory>(activity);
  }
}

Host FakeHost::host() const {
  Host host;
  host.application = application;
  host.resources = otherResources ? otherResources : resources;
  host.userDefaults = userDefaults;
  host.folders = folders;
  host.files = files;
  host.http = http;
  host.clock = clock;
  host.deviceTimeZone = std::make_shared<FixedTimeZone>(deviceTimeZone.value_or(TimeZone()));
  host.mainThread = mainThread;
  host.executors = executors;
  host.notifications = notifications;
  host.log = log;
  host.settings = settings;
  return host;
}

bool FakeHost::settle() {
  return mainThread->runUntil([this] {
    if (jobs) jobs->runAll();
    http->deliver();
    return activity->open() == 0;
  });
}

}  // namespace marlune::testing
