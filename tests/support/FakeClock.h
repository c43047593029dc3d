#pragma once

#include <chrono>
#include <mutex>

#include "marlune/platform/Clock.h"

namespace marlune::testing {

/// Both clocks stand still until the test moves them. Safe from any thread.
class FakeClock : public Clock {
 public:
  /// 2025-03-05 12:00:00 UTC unless told otherwise.
  explicit FakeClock(Date now = dateFromSeconds(1'741'176'000)) : now_(now) {}

  Date now() const override {
    const std::lock_guard lock(mutex_);
    return now_;
  }
  std::chrono::nanoseconds monotonic() const override {
    const std::lock_guard lock(mutex_);
    return monotonic_;
  }

  /// Moves the wall clock alone, back too.
  void set(Date now) {
    const std::lock_guard lock(mutex_);
    now_ = now;
  }
  /// Lets time pass on both clocks.
  void advance(std::chrono::nanoseconds by) {
    const std::lock_guard lock(mutex_);
    now_ += std::chrono::duration_cast<std::chrono::duration<double>>(by);
    monotonic_ += by;
  }

 private:
  mutable std::mutex mutex_;
  Date now_;
  std::chrono::nanoseconds monotonic_{1'000'000'000};
};

}  // namespace marlune::testing
