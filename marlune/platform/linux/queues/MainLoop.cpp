#include "marlune/platform/linux/queues/MainLoop.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "marlune/platform/linux/queues/Threads.h"

namespace marlune {

/// Outlives the loop where a job destroys it.
struct MainLoop::State {
  struct Entry {
    Activity::Piece piece;  // first, so that what the job holds is gone before the piece ends
    Job job;
  };

  std::shared_ptr<Activity> activity;

  std::mutex mutex;
  std::condition_variable changed;
  // Guarded by the mutex.
  std::deque<Entry> entries;
  std::thread::id mainThread = std::this_thread::get_id();
  std::uint64_t wakes = 0;
  bool closed = false;
  bool driven = false;
  std::thread driver;

  void wake() {
    {
      const std::lock_guard lock(mutex);
      ++wakes;
    }
    changed.notify_all();
  }

  /// Runs the first job; false when there was none.
  bool runOne() {
    Entry entry;
    {
      const std::lock_guard lock(mutex);
      if (entries.empty()) return false;
      entry = std::move(entries.front());
      entries.pop_front();
    }
    entry.job();
    return true;
  }

  /// Requires the mutex. Where the system has no thread to give, the next job tries again.
  void startDriver(const std::shared_ptr<State>& self) {
    auto thread =
        startThread("marlune-main", [self] { self->runUntil([] { return false; }, TimePoint::max()); });
    if (!thread) return;
    driver = std::move(*thread);
    mainThread = driver.get_id();
  }

  bool runUntil(const std::function<bool()>& done, TimePoint deadline) {
    while (true) {
      std::uint64_t seen = 0;
      {
        const std::lock_guard lock(mutex);
        seen = wakes;
      }
      if (done()) return true;
      if (deadline != TimePoint::max() && std::chrono::steady_clock::now() >= deadline) return false;
      if (runOne()) continue;
      std::unique_lock lock(mutex);
      const auto ready = [&] { return closed || !entries.empty() || wakes != seen; };
      if (deadline == TimePoint::max()) {
        changed.wait(lock, ready);
      } else {
        changed.wait_until(lock, deadline, ready);
      }
      if (closed) return false;
    }
  }
};

MainLoop::MainLoop(std::shared_ptr<Activity> activity) : state_(std::make_shared<State>()) {
  idle_ = Activity::listen(activity, [state = state_.get()] { state->wake(); });
  state_->activity = std::move(activity);
}

MainLoop::~MainLoop() {
  idle_.reset();
  std::deque<State::Entry> dropped;
  std::thread driver;
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
    dropped.swap(state_->entries);
    driver = std::move(state_->driver);
  }
  state_->changed.notify_all();
  // Outside the lock: what a job holds may post in its destructor, and is then dropped as well.
  dropped.clear();
  if (!driver.joinable()) return;
  if (driver.get_id() == std::this_thread::get_id()) {
    driver.detach();
  } else {
    driver.join();
  }
}

void MainLoop::post(Job job) {
  State::Entry entry{Activity::begin(state_->activity), std::move(job)};
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->closed) return;
    state_->entries.push_back(std::move(entry));
    if (state_->driven && !state_->driver.joinable()) state_->startDriver(state_);
  }
  state_->changed.notify_all();
}

bool MainLoop::isMainThread() const {
  const std::lock_guard lock(state_->mutex);
  return state_->mainThread == std::this_thread::get_id();
}

void MainLoop::adopt() {
  const std::lock_guard lock(state_->mutex);
  state_->mainThread = std::this_thread::get_id();
}

std::size_t MainLoop::drain() {
  const auto state = state_;  // a job may destroy the loop
  std::size_t queued = 0;
  {
    const std::lock_guard lock(state->mutex);
    queued = state->entries.size();
  }
  std::size_t ran = 0;
  while (ran < queued && state->runOne()) ++ran;
  return ran;
}

bool MainLoop::runUntil(const std::function<bool()>& done, TimePoint deadline) {
  const auto state = state_;  // a job may destroy the loop
  return state->runUntil(done, deadline);
}

void MainLoop::wake() {
  state_->wake();
}

void MainLoop::driveOnThread() {
  const std::lock_guard lock(state_->mutex);
  state_->driven = true;
  state_->mainThread = std::thread::id();
  if (!state_->entries.empty()) state_->startDriver(state_);
}

}  // namespace marlune
