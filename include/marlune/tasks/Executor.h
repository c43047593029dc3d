#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "marlune/base/Export.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// Runs jobs, later and elsewhere. Calls are safe from any thread.
class MARLUNE_API Executor {
 public:
  using Job = UniqueFunction<void()>;

  virtual ~Executor() = default;

  /// Queues `job`; it is never run inside this call. Jobs start in the order they were posted. A job that an
  /// executor no longer runs, because it is being destroyed, is destroyed without having been called.
  virtual void post(Job job) = 0;
};

/// Makes the executors that the library runs its work on.
class MARLUNE_API ExecutorFactory {
 public:
  virtual ~ExecutorFactory() = default;

  /// An operation queue: at most `concurrency` of its jobs run at a time, each on a thread of its own, which
  /// it may block. Threads are started when there is something to do. Destroying the queue drops the jobs
  /// that have not started and waits for those that have, save where a job itself destroys the queue.
  /// `name` is for people who look at threads.
  virtual std::shared_ptr<Executor> makeQueue(std::string_view name, std::size_t concurrency) = 0;
};

}  // namespace marlune
