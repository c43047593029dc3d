#pragma once

#include <cstddef>
#include <future>
#include <memory>
#include <string_view>
#include <thread>
#include <utility>

#include "marlune/tasks/Executor.h"

namespace marlune::testing {

/// Queues whose threads are always faster than the thread that made this: a job that it posts has run, or
/// has been dropped, before post() returns. On a busy machine that happens now and then; here each time.
/// Other threads post as ever.
///
///     Host host = fake.host();
///     host.executors = std::make_shared<HastyQueues>(host.executors);
class HastyQueues : public ExecutorFactory {
 public:
  explicit HastyQueues(std::shared_ptr<ExecutorFactory> factory) : factory_(std::move(factory)) {}

  std::shared_ptr<Executor> makeQueue(std::string_view name, std::size_t concurrency) override {
    return std::make_shared<Queue>(factory_->makeQueue(name, concurrency), maker_);
  }

 private:
  class Queue : public Executor {
   public:
    Queue(std::shared_ptr<Executor> queue, std::thread::id patient)
        : queue_(std::move(queue)), patient_(patient) {}

    void post(Job job) override {
      if (std::this_thread::get_id() != patient_) return queue_->post(std::move(job));
      const auto over = std::make_shared<std::promise<void>>();
      const auto waited = over->get_future();
      std::shared_ptr<void> signal(nullptr, [over](void*) { over->set_value(); });
      // What is captured first goes last.
      queue_->post([held = std::move(signal), run = std::move(job)]() mutable { run(); });
      waited.wait();
    }

   private:
    const std::shared_ptr<Executor> queue_;
    const std::thread::id patient_;
  };

  const std::shared_ptr<ExecutorFactory> factory_;
  const std::thread::id maker_ = std::this_thread::get_id();
};

}  // namespace marlune::testing
