#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "marlune/base/Export.h"
#include "marlune/platform/Activity.h"
#include "marlune/platform/MainThread.h"

namespace marlune {

/// A main thread made of a queue: the application runs it on its own thread, now and then with drain() or
/// for a while with runUntil(), or leaves it to a thread of the library's with driveOnThread().
///
/// The thread that makes the loop is the main thread until another adopts it. Jobs are posted from any
/// thread; drain() and runUntil() are for the main thread only, also from within a job. Destroying the loop
/// drops the jobs that have not run; one that is posted meanwhile is dropped too.
///
///     auto loop = std::make_shared<MainLoop>();
///     ...
///     loop->runUntil([&] { return finished; });
class MARLUNE_API MainLoop : public MainThread {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// `activity` counts each job from its posting until it has been run or dropped and destroyed; the loop is
  /// woken whenever nothing is open any more.
  explicit MainLoop(std::shared_ptr<Activity> activity = nullptr);
  ~MainLoop() override;
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  void post(Job job) override;
  bool isMainThread() const override;

  /// Makes the calling thread the main thread.
  void adopt();

  /// Runs the jobs that are queued now, not those that they post; how many it ran.
  std::size_t drain();

  /// Runs jobs as they come until `done` answers true; it is asked first of all and again after each job
  /// and each wake(). False when `deadline` passed before.
  bool runUntil(const std::function<bool()>& done, TimePoint deadline = TimePoint::max());

  /// Has a running runUntil() ask again. Safe from any thread.
  void wake();

  /// From now on jobs run on a thread of the library's own, which starts with the first of them and is the
  /// main thread. Requires that no other thread runs jobs.
  void driveOnThread();

 private:
  struct State;

  const std::shared_ptr<State> state_;
  Activity::Listening idle_;
};

}  // namespace marlune
