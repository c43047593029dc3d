#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// Completions that are still to be called. Each is called exactly once: with its answer by the work that was
/// begun for it, or without one when the owner ends first, whatever became of that work. Safe from any
/// thread; nothing is called with a lock held, and nothing of this object is touched after a completion has
/// run, so that a completion may destroy the owner.
///
///     queue.post([outstanding, number = outstanding->add(std::move(completion))] {
///       outstanding->call(number, work());
///     });
template <class... Answer>
class OutstandingCompletions {
 public:
  using Completion = UniqueFunction<void(Answer...)>;

  /// The number to call it by. After endAll() it is called at once, without an answer.
  std::uint64_t add(Completion completion) {
    {
      const std::lock_guard lock(mutex_);
      if (!ended_) {
        completions_.emplace(++lastNumber_, std::move(completion));
        return lastNumber_;
      }
    }
    completion(Answer{}...);
    return 0;
  }

  /// Calls the completion unless it has been called already.
  void call(std::uint64_t number, Answer... answer) {
    Completion completion;
    {
      const std::lock_guard lock(mutex_);
      const auto found = completions_.find(number);
      if (found == completions_.end()) return;
      completion = std::move(found->second);
      completions_.erase(found);
    }
    completion(std::move(answer)...);
  }

  /// Calls all that are left without an answer.
  void endAll() {
    std::map<std::uint64_t, Completion> left;
    {
      const std::lock_guard lock(mutex_);
      ended_ = true;
      left.swap(completions_);
    }
    for (auto& [number, completion] : left) completion(Answer{}...);
  }

 private:
  std::mutex mutex_;
  // Guarded by the mutex.
  std::map<std::uint64_t, Completion> completions_;
  std::uint64_t lastNumber_ = 0;
  bool ended_ = false;
};

}  // namespace marlune
