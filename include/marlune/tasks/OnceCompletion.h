#pragma once

#include <utility>

#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// Calls a completion exactly once: with what it is called with, or, where it is dropped on the way, with
/// values that are default-made ("nothing came"). A completion that is empty is not called. Used by one
/// thread at a time.
///
///     queue->post([done = OnceCompletion<Data>(std::move(completion))]() mutable { done(read()); });
template <class... Answers>
class OnceCompletion {
 public:
  using Completion = UniqueFunction<void(Answers...)>;

  OnceCompletion() = default;
  explicit OnceCompletion(Completion completion) : completion_(std::move(completion)) {}
  OnceCompletion(OnceCompletion&& other) noexcept : completion_(std::move(other.completion_)) {}
  OnceCompletion& operator=(OnceCompletion&&) = delete;
  ~OnceCompletion() {
    if (completion_) (*this)(Answers{}...);
  }

  /// Does nothing the second time. The completion and what it holds are gone when this returns.
  void operator()(Answers... answers) {
    if (auto completion = std::exchange(completion_, nullptr)) completion(std::move(answers)...);
  }

  /// Is the call still to come?
  explicit operator bool() const { return static_cast<bool>(completion_); }

 private:
  Completion completion_;
};

}  // namespace marlune
