#pragma once

#include <memory>
#include <optional>
#include <string>

#include "marlune/platform/Activity.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/NotificationHub.h"
#include "marlune/platform/linux/files/FolderLayout.h"
#include "marlune/platform/linux/files/PropertyListBundle.h"
#include "marlune/platform/linux/queues/MainLoop.h"
#include "support/CollectingLog.h"
#include "support/FakeClock.h"
#include "support/FakeHttpClient.h"
#include "support/FakeResources.h"
#include "support/MemoryFileSystem.h"

namespace marlune::testing {

/// A host of fakes, each at hand under its own type. The thread that makes it is the main thread.
///
///     FakeHost fake;
///     fake.http->script("http://...", answerOf("..."));
///     Something something(fake.host());
///     ASSERT_TRUE(fake.settle());
class FakeHost {
 public:
  /// The host of these fakes, as they are set at this moment.
  Host host() const;

  /// Runs the main thread until nothing is queued, running or to be answered; false when that takes longer
  /// than any test should. Requests that are held never come to an end by themselves.
  bool settle();

  /// The container of a group, for looking into it.
  std::string container(std::string_view group) const { return *folders->container(group); }

  std::shared_ptr<Activity> activity = std::make_shared<Activity>();
  std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  std::shared_ptr<FileSystem> files = std::make_shared<MemoryFileSystem>(clock);
  std::shared_ptr<Folders> folders = std::make_shared<FolderLayout>("/data");
  std::shared_ptr<ApplicationBundle> application = std::make_shared<PropertyListBundle>(std::nullopt);
  std::shared_ptr<FakeResources> resources = std::make_shared<FakeResources>();
  std::shared_ptr<FakeHttpClient> http = std::make_shared<FakeHttpClient>(activity);
  std::optional<TimeZone> deviceTimeZone;  ///< UTC when it is not set
  std::shared_ptr<MainLoop> mainThread = std::make_shared<MainLoop>(activity);
  std::shared_ptr<NotificationHub> notifications = std::make_shared<NotificationHub>();
  std::shared_ptr<CollectingLog> log = std::make_shared<CollectingLog>();
  DeploymentSettings settings;
};

}  // namespace marlune::testing
