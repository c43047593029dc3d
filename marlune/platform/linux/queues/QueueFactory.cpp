#include "marlune/platform/linux/queues/QueueFactory.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "marlune/platform/linux/queues/Threads.h"

namespace marlune {
namespace {

// Plain threads rather than the executor library's pool: that one starts all its threads at once, cannot be
// destroyed from one of them, and a pool for each queue is all that is needed of it.

/// What the queue and its threads share. It outlives the queue where a job destroys it.
struct State {
  struct Entry {
    Activity::Piece piece;  // first, so that what the job holds is gone before the piece ends
    Executor::Job job;
  };

  std::mutex mutex;
  std::condition_variable changed;
  // Guarded by the mutex.
  std::deque<Entry> entries;
  std::size_t waiting = 0;
  bool closed = false;

  void work() {
    std::unique_lock lock(mutex);
    while (true) {
      ++waiting;
      changed.wait(lock, [this] { return closed || !entries.empty(); });
      --waiting;
      if (closed) return;
      {
        Entry entry = std::move(entries.front());
        entries.pop_front();
        lock.unlock();
        entry.job();
      }
      lock.lock();
    }
  }
};

class OperationQueue : public Executor {
 public:
  OperationQueue(std::string_view name, std::size_t concurrency, std::shared_ptr<Activity> activity)
      : name_(name), concurrency_(std::max<std::size_t>(concurrency, 1)), activity_(std::move(activity)) {}

  ~OperationQueue() override {
    std::deque<State::Entry> dropped;
    {
      const std::lock_guard lock(state_->mutex);
      state_->closed = true;
      dropped.swap(state_->entries);
    }
    state_->changed.notify_all();
    // Outside the lock: what a job holds may post in its destructor, and is then dropped as well.
    dropped.clear();
    for (auto& thread : threads_) {
      // On a thread of the queue's own its job is what destroys the queue: it ends by itself afterwards.
      if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
      } else {
        thread.join();
      }
    }
  }

  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;

  void post(Job job) override {
    State::Entry entry{Activity::begin(activity_), std::move(job)};
    const std::lock_guard lock(state_->mutex);
    if (state_->closed) return;
    state_->entries.push_back(std::move(entry));
    if (state_->waiting < state_->entries.size() && threads_.size() < concurrency_) {
      auto thread = startThread(name_, [state = state_] { state->work(); });
      if (thread) threads_.push_back(std::move(*thread));
    }
    state_->changed.notify_one();
  }

 private:
  const std::string name_;
  const std::size_t concurrency_;
  const std::shared_ptr<Activity> activity_;
  const std::shared_ptr<State> state_ = std::make_shared<State>();
  std::vector<std::thread> threads_;  // guarded by the state's mutex until the queue is destroyed
};

}  // namespace

QueueFactory::QueueFactory(std::shared_ptr<Activity> activity) : activity_(std::move(activity)) {}

std::shared_ptr<Executor> QueueFactory::makeQueue(std::string_view name, std::size_t concurrency) {
  return std::make_shared<OperationQueue>(name, concurrency, activity_);
}

}  // namespace marlune
