#include "support/ManualExecutors.h"

#include <list>
#include <mutex>
#include <utility>

namespace marlune::testing {

struct ManualExecutors::State {
  struct Entry {
    const void* queue = nullptr;
    Activity::Piece piece;  // before the job, which is gone before the piece ends
    Executor::Job job;
  };

  std::shared_ptr<Activity> activity;
  std::function<void()> posted;
  mutable std::mutex mutex;
  std::list<Entry> entries;  // guarded by the mutex
};

class ManualExecutors::Queue : public Executor {
 public:
  explicit Queue(std::shared_ptr<State> state) : state_(std::move(state)) {}
  ~Queue() override {
    std::list<State::Entry> dropped;
    const std::lock_guard lock(state_->mutex);
    closed_ = true;
    for (auto at = state_->entries.begin(); at != state_->entries.end();) {
      const auto next = std::next(at);
      if (at->queue == this) dropped.splice(dropped.end(), state_->entries, at);
      at = next;
    }
  }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  void post(Job job) override {
    State::Entry entry{this, Activity::begin(state_->activity), std::move(job)};
    {
      const std::lock_guard lock(state_->mutex);
      if (closed_) return;
      state_->entries.push_back(std::move(entry));
    }
    if (state_->posted) state_->posted();
  }

 private:
  const std::shared_ptr<State> state_;
  bool closed_ = false;  // guarded by the state's mutex
};

ManualExecutors::ManualExecutors(std::shared_ptr<Activity> activity, std::function<void()> posted)
    : state_(std::make_shared<State>()) {
  state_->activity = std::move(activity);
  state_->posted = std::move(posted);
}

std::shared_ptr<Executor> ManualExecutors::makeQueue(std::string_view, std::size_t) {
  return std::make_shared<Queue>(state_);
}

bool ManualExecutors::runOne() {
  const auto state = state_;
  std::list<State::Entry> one;
  {
    const std::lock_guard lock(state->mutex);
    if (state->entries.empty()) return false;
    one.splice(one.end(), state->entries, state->entries.begin());
  }
  one.front().job();
  return true;
}

std::size_t ManualExecutors::runAll() {
  std::size_t ran = 0;
  while (runOne()) ++ran;
  return ran;
}

std::size_t ManualExecutors::waiting() const {
  const std::lock_guard lock(state_->mutex);
  return state_->entries.size();
}

}  // namespace marlune::testing
