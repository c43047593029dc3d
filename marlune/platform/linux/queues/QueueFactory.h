#pragma once

#include <memory>

#include "marlune/base/Export.h"
#include "marlune/platform/Activity.h"
#include "marlune/tasks/Executor.h"

namespace marlune {

/// Operation queues on threads of their own. Calls are safe from any thread.
///
/// A queue starts a thread when a job finds none waiting, up to its concurrency, and keeps it. Where the
/// system has no thread to give, a job waits for one that the queue has, else for the next job's attempt.
///
///     auto queue = QueueFactory().makeQueue("downloads", 4);
///     queue->post([] { ... });
class MARLUNE_API QueueFactory : public ExecutorFactory {
 public:
  /// `activity` counts each job from its posting until it has been run or dropped and destroyed.
  explicit QueueFactory(std::shared_ptr<Activity> activity = nullptr);

  std::shared_ptr<Executor> makeQueue(std::string_view name, std::size_t concurrency) override;

 private:
  const std::shared_ptr<Activity> activity_;
};

}  // namespace marlune
