#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "marlune/platform/Host.h"
#include "marlune/tasks/Executor.h"
#include "marlune/tasks/OutstandingCompletions.h"
#include "marlune/tasks/UniqueFunction.h"
#include "marlune/tasks/WorkScope.h"
#include "marlune/tides/StationList.h"

namespace marlune {

class PelagoraService;

/// The worldwide points of one provider: which of them are shown, the list that is published, and the loads
/// that bring it. What is published is set on the main thread only and may be read on any. Held by
/// shared_ptr.
///
/// A load has two paths, the stored copy and the service's answer, which race on purpose: what lies on the
/// disk is shown at once, what is fresh replaces it. Without a service there are no points.
class GlobalPoints : public std::enable_shared_from_this<GlobalPoints> {
 public:
  using Stations = StationList::Stations;
  using Ended = UniqueFunction<void()>;

  /// Work runs inside `scope`, the disk's part of it on `disk`.
  GlobalPoints(Host host, std::shared_ptr<PelagoraService> service, std::shared_ptr<WorkScope> scope,
               std::shared_ptr<Executor> disk);

  /// Are points inside the United States hidden?
  bool hidesUS() const;
  Stations filtered(Stations stations) const;

  /// Starts a load unless points are published or asked for already. From any thread. `ended`, which may be
  /// empty, is called on the main thread when no path is under way.
  void loadIfNeeded(Ended ended);

  /// An empty pointer until a load has brought points.
  std::shared_ptr<const StationList> published() const;
  /// Is the service being asked?
  bool isLoading() const;

  /// Calls what waits for the end of a load and lets go of service and queue. Requires a closed scope.
  void stop();

 private:
  void loadOnMain(std::uint64_t waiter);
  void takeStored(Stations points);
  void takeFresh(Stations points);
  void publish(Stations points);
  void pathEnded();
  template <class Step>
  void onMain(Step step);

  const Host host_;
  const std::shared_ptr<WorkScope> scope_;
  std::shared_ptr<PelagoraService> service_;
  std::shared_ptr<Executor> disk_;
  mutable std::once_flag regionRead_;
  mutable bool buildOfUS_ = false;

  OutstandingCompletions<> outstanding_;
  // For the main thread only.
  std::size_t pathsUnderWay_ = 0;
  std::vector<std::uint64_t> waiting_;  // numbers of what waits for the last path

  mutable std::mutex mutex_;
  // Guarded by the mutex; written on the main thread.
  std::shared_ptr<const StationList> published_;
  bool loading_ = false;
};

}  // namespace marlune
