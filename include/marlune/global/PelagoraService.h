#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/platform/Host.h"
#include "marlune/tasks/Task.h"
#include "marlune/tasks/UniqueFunction.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideStation.h"

namespace marlune {

/// The client of the worldwide tides service: the places it can predict tides for, and their highs and lows
/// of a year. Both answers are kept as they came in the shared container, so that every process of the
/// application sees them; a year that is kept is final, the points are replaced by each new answer.
///
/// Every operation may be called from any thread; a failure is an absent answer. Completions are called
/// exactly once, and tasks resume, on background threads of the service's that do nothing else, four at a
/// time: one that blocks delays no other answer, four that block delay the fifth. They never run inside the
/// call that asks, except for a question asked while or after the service ends, which is answered there, with
/// nothing. Equal questions that are open at the same time share one request; each gets its own records.
///
/// A request ends after 60 seconds without a byte, and after ten minutes in all. Its answer is stored even if
/// nobody waits for it any more.
///
/// A service made with the constructor may be destroyed while questions are open, also by a completion, but
/// not while another thread calls it: transfers are cancelled, and every completion has been called when the
/// destructor returns, the last of them on the destroying thread, with nothing. One that destroys the service
/// itself ends after that; others that are running then are waited for.
///
///     auto stations = co_await PelagoraService::shared().fetchTidePoints();  // in a Task
///     PelagoraService::shared().fetchGlobalTidesWithLat(51.5, -0.1275, 2026, [](auto events) { ... });
class MARLUNE_API PelagoraService final {
 public:
  using Stations = std::vector<std::shared_ptr<TideStation>>;
  using Events = std::vector<TideEvent>;
  using PointsCompletion = UniqueFunction<void(std::optional<Stations>)>;
  using EventsCompletion = UniqueFunction<void(Events)>;

  /// The service of the process, over the installed host (see marlune.h).
  static PelagoraService& shared();

  PelagoraService(const Host& host, std::shared_ptr<FileAccess> files);
  ~PelagoraService();
  PelagoraService(const PelagoraService&) = delete;
  PelagoraService& operator=(const PelagoraService&) = delete;

  const std::string containerName;        ///< the group whose container holds the files
  const std::string pointsCacheFilename;  ///< "pelagora_points.json"
  /// What the paths are appended to: the application's information text "PelagoraBaseURL" less one slash at
  /// its end, else the deployment's address, else a built-in one.
  const std::string baseURL;

  /// The points of the last good answer, however old; none without one. Reads the disk.
  Stations cachedTidePoints() const;

  /// The points that the service offers now, in its order; absent on any failure, which also leaves the
  /// stored copy as it was.
  Task<std::optional<Stations>> fetchTidePoints();
  void fetchTidePointsWithCompletionHandler(PointsCompletion completionHandler);

  /// The highs and lows of a calendar year at a place in degrees, in the order of the answer; none on any
  /// failure. Levels are as sent, in metres where `tideLevelInMeters` says so. A year that lies on the disk
  /// is not asked for again.
  Task<Events> fetchGlobalTides(double lat, double lon, std::int64_t year);
  void fetchGlobalTidesWithLat(double lat, double lon, std::int64_t year, EventsCompletion completionHandler);

 private:
  struct State;
  explicit PelagoraService(std::shared_ptr<State> state);
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
