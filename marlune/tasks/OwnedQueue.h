#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

#include "marlune/base/Export.h"
#include "marlune/tasks/Executor.h"

namespace marlune {

/// A queue that its owner can end while others still hold it: tasks and requests under way may keep this and
/// post to it at any time, but not keep the threads behind it alive. Calls are safe from any thread.
class MARLUNE_API OwnedQueue : public Executor {
 public:
  /// `queue` as an ExecutorFactory makes it; nobody else may hold it.
  explicit OwnedQueue(std::shared_ptr<Executor> queue);
  ~OwnedQueue() override;
  OwnedQueue(const OwnedQueue&) = delete;
  OwnedQueue& operator=(const OwnedQueue&) = delete;

  /// Drops the job, on this thread, once the queue is ended.
  void post(Job job) override;

  /// Drops what has not started, and waits for what has, save the job that calls this.
  void close();

 private:
  std::mutex mutex_;
  std::condition_variable idle_;
  std::shared_ptr<Executor> queue_;  // null once closed
  std::size_t posting_ = 0;          // calls that use queue_
  bool closed_ = false;
};

}  // namespace marlune
