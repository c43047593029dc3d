#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "marlune/tasks/Executor.h"

namespace marlune {

/// A queue for completions: it runs one at a time, in order. A completion that has to wait for what another
/// one will bring gives way first; the queue then continues on a second thread, beside the one that waits.
/// Calls are safe from any thread.
class CallbackQueue final : public Executor {
 public:
  explicit CallbackQueue(std::shared_ptr<ExecutorFactory> factory);
  ~CallbackQueue() override;
  CallbackQueue(const CallbackQueue&) = delete;
  CallbackQueue& operator=(const CallbackQueue&) = delete;

  /// Drops the job once the queue is closed.
  void post(Job job) override;

  /// If the calling thread runs a job of this queue, lets the other jobs run; otherwise does nothing.
  void giveWay();

  /// Drops jobs that have not started, and waits for those that have, except the one that calls this.
  void close();

 private:
  /// One thread of the queue, and whether it has something to do.
  struct Lane {
    std::shared_ptr<Executor> executor;
    bool isBusy = false;
  };
  struct State {
    std::mutex mutex;
    // Guarded by the mutex.
    std::deque<Job> jobs;
    std::vector<std::shared_ptr<Lane>> lanes;
    std::shared_ptr<Lane> current;  // takes the jobs, or is about to; null when there are none
    std::thread::id runner;         // of the current lane, once it runs
    bool closed = false;
  };

  void openLane();
  static void run(State& state, const std::shared_ptr<Lane>& lane);

  const std::shared_ptr<ExecutorFactory> factory_;
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace marlune
