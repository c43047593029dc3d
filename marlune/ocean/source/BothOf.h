#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "marlune/tasks/Task.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// Waits for two tasks that run side by side, each as a chain of its own; goes on where the later one ends.
///
///     auto both = bothOf(days(state), list(state));
///     const auto [rows, slacks] = co_await std::move(both);
template <class First, class Second>
Task<std::pair<First, Second>> bothOf(Task<First> first, Task<Second> second) {
  using Answers = std::pair<First, Second>;
  struct Meeting {
    Answers answers;
    UniqueFunction<void(Answers)> done;
    std::atomic<int> outstanding = 2;

    void come() {
      if (--outstanding == 0) done(std::move(answers));
    }
  };
  auto answers = completionOf<Answers>(
      [a = std::move(first), b = std::move(second)](UniqueFunction<void(Answers)> done) mutable {
        const auto meeting = std::make_shared<Meeting>();
        meeting->done = std::move(done);
        start(std::move(a), [meeting](First answer) {
          meeting->answers.first = std::move(answer);
          meeting->come();
        });
        start(std::move(b), [meeting](Second answer) {
          meeting->answers.second = std::move(answer);
          meeting->come();
        });
      });
  co_return co_await answers;
}

}  // namespace marlune
