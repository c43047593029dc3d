#include "support/Completions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace marlune::testing {

struct Completions::State {
  struct Entry {
    std::string what;
    std::size_t calls = 0;
  };
  mutable std::mutex mutex;
  mutable std::condition_variable called;
  std::deque<Entry> entries;  // guarded by the mutex

  std::size_t outstanding() const {
    std::size_t count = 0;
    for (const auto& entry : entries) count += entry.calls == 0 ? 1U : 0U;
    return count;
  }
};

Completions::Completions() : state_(std::make_shared<State>()) {}

std::function<void()> Completions::once(std::string what) {
  const std::lock_guard lock(state_->mutex);
  const std::size_t index = state_->entries.size();
  state_->entries.push_back({std::move(what), 0});
  return [state = state_, index] {
    {
      const std::lock_guard calling(state->mutex);
      ++state->entries[index].calls;
    }
    state->called.notify_all();
  };
}

std::size_t Completions::outstanding() const {
  const std::lock_guard lock(state_->mutex);
  return state_->outstanding();
}

bool Completions::wait() const {
  std::unique_lock lock(state_->mutex);
  return state_->called.wait_for(lock, std::chrono::seconds(30),
                                 [this] { return state_->outstanding() == 0; });
}

void Completions::verify() const {
  const std::lock_guard lock(state_->mutex);
  for (const auto& entry : state_->entries) {
    EXPECT_EQ(entry.calls, 1U) << "calls of the completion of " << entry.what;
  }
}

}  // namespace marlune::testing
