#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "marlune/platform/Activity.h"
#include "marlune/platform/Executor.h"

namespace marlune::testing {

/// Queues whose jobs run only when the test runs them, on its thread, in the order in which they were
/// posted to any of the queues. Posting is safe from any thread.
class ManualExecutors : public ExecutorFactory {
 public:
  /// `posted` is called after each job that was queued, on the thread that did.
  explicit ManualExecutors(std::shared_ptr<Activity> activity = nullptr,
                           std::function<void()> posted = nullptr);

  std::shared_ptr<Executor> makeQueue(std::string_view name, std::size_t concurrency) override;

  /// Runs the job that waits longest; false when there is none.
  bool runOne();
  /// Runs what is queued and what that queues; how many jobs it ran.
  std::size_t runAll();
  std::size_t waiting() const;

 private:
  struct State;
  class Queue;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune::testing
