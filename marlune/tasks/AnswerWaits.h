#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace marlune {

/// Waits on the calling thread for answers that come through a completion: for a while at most, and until an
/// owner that ends gives all waits up at once. An answer that comes later is dropped. Held by shared_ptr.
/// Safe from any thread.
///
///     auto events = waits->wait(30s, [&](auto answered) { service.fetch(year, std::move(answered)); });
template <class Answer>
class AnswerWaits : public std::enable_shared_from_this<AnswerWaits<Answer>> {
 public:
  /// Calls `ask` with the completion to answer by. Nothing after `limit` and after stop(), which also keeps
  /// later questions from being asked.
  template <class Ask>
  std::optional<Answer> wait(std::chrono::nanoseconds limit, const Ask& ask) {
    return waitUntil(ask, [&](std::unique_lock<std::mutex>& lock, const auto& isOver) {
      changed_.wait_for(lock, limit, isOver);
    });
  }
  /// The same without a limit.
  template <class Ask>
  std::optional<Answer> wait(const Ask& ask) {
    return waitUntil(
        ask, [&](std::unique_lock<std::mutex>& lock, const auto& isOver) { changed_.wait(lock, isOver); });
  }

  void stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
  }

 private:
  struct Slot {
    std::optional<Answer> answer;
    bool left = false;  // nobody waits any more
  };

  template <class Ask, class Wait>
  std::optional<Answer> waitUntil(const Ask& ask, const Wait& untilOver) {
    const auto slot = std::make_shared<Slot>();
    {
      const std::lock_guard lock(mutex_);
      if (stopped_) return std::nullopt;
    }
    ask([self = this->shared_from_this(), slot](Answer answer) {
      const std::lock_guard lock(self->mutex_);
      if (slot->left) return;
      slot->answer = std::move(answer);
      self->changed_.notify_all();
    });
    std::unique_lock lock(mutex_);
    untilOver(lock, [&] { return stopped_ || slot->answer; });
    slot->left = true;
    return std::move(slot->answer);
  }

  std::mutex mutex_;  // guards the slots too
  std::condition_variable changed_;
  bool stopped_ = false;
};

}  // namespace marlune
