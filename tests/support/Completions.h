#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace marlune::testing {

/// Watches over completions: each must be called exactly once. Safe from any thread.
///
///     provider.fetch(station, [done = completions.once("fetch")](auto events) { done(); });
///     ...
///     completions.verify();  // fails the test for each that was not called, or more than once
class Completions {
 public:
  /// A function to be called exactly once, and copied at will.
  std::function<void()> once(std::string what) {
    const std::lock_guard lock(state_->mutex);
    state_->calls.emplace_back(std::move(what), 0);
    return [state = state_, index = state_->calls.size() - 1] {
      const std::lock_guard calling(state->mutex);
      ++state->calls[index].second;
      state->called.notify_all();
    };
  }

  /// How many are still to be called.
  std::size_t outstanding() const {
    const std::lock_guard lock(state_->mutex);
    return state_->outstanding();
  }
  /// Waits until none is; false after thirty seconds. Only where other threads call them.
  bool wait() const {
    std::unique_lock lock(state_->mutex);
    return state_->called.wait_for(lock, std::chrono::seconds(30),
                                   [this] { return state_->outstanding() == 0; });
  }
  void verify() const {
    const std::lock_guard lock(state_->mutex);
    for (const auto& [what, count] : state_->calls) EXPECT_EQ(count, 1) << "calls of " << what;
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable called;
    std::vector<std::pair<std::string, int>> calls;  // guarded by the mutex

    std::size_t outstanding() const {
      return static_cast<std::size_t>(
          std::count_if(calls.begin(), calls.end(), [](const auto& one) { return one.second == 0; }));
    }
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace marlune::testing
