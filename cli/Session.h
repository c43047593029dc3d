#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/CommandLine.h"
#include "cli/News.h"
#include "cli/Records.h"
#include "marlune/favorites/FavoriteListManager.h"
#include "marlune/global/PelagoraService.h"
#include "marlune/ocean/OceanDataServiceProvider.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/platform/Activity.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/ManualClock.h"
#include "marlune/platform/linux/queues/MainLoop.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/search/TideStationSearchProvider.h"
#include "marlune/tides/TideEventDiskCache.h"

namespace marlune::services {
class LocalServices;
}

namespace marlune::cli {

/// The library as the options of the process ask for it. The thread that makes the session is the main
/// thread. Nothing is opened or started before a command needs it; what is open stays so to the end of the
/// process, which leaves a session only by ending.
class Session {
 public:
  /// Throws WrongCall for options that say nothing usable.
  explicit Session(const GlobalOptions& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // --- From any thread; the first call throws Failure where local services are asked for and do not start
  // ---

  const Host& host();
  TideDataProvider& provider();
  TideEventDiskCache& monthFiles();
  PelagoraService& globalService();
  FavoriteListManager& favorites();
  TideStationSearchProvider& search();
  OceanDataServiceProvider& ocean();
  SeriesDiskCache& seriesFiles();

  // --- From any thread ---

  bool json() const { return options_.json; }
  bool local() const { return options_.local; }
  MainLoop& loop() { return *loop_; }
  const std::shared_ptr<Activity>& activity() const { return activity_; }
  News& news() { return *news_; }
  /// Null when the clock is the system's.
  ManualClock* clock() { return manualClock_.get(); }

 private:
  void open();

  const GlobalOptions options_;
  DeploymentSettings settings_;
  std::shared_ptr<ManualClock> manualClock_;
  std::optional<TimeZone> deviceTimeZone_;
  const std::shared_ptr<Activity> activity_;
  const std::shared_ptr<MainLoop> loop_;
  const std::shared_ptr<News> news_;

  std::once_flag opened_;
  std::unique_ptr<services::LocalServices> services_;
  Host host_;
  NotificationCenter::Observation observation_;
};

class Jobs;

/// What a command works with.
struct Context {
  Session& session;
  Jobs& jobs;
  bool inShell = false;
  bool quit = false;  ///< the shell is asked to end
};

/// How people read the events of a station; not worked out where nobody reads.
Reading readingOf(Session& session, const StationPtr& station);
Reading readingOf(Session& session, const std::string& stationId);

}  // namespace marlune::cli
