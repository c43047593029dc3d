#include "marlune/platform/ManualClock.h"

namespace marlune {

Date ManualClock::now() const {
  const std::lock_guard lock(mutex_);
  return now_;
}

std::chrono::nanoseconds ManualClock::monotonic() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

void ManualClock::set(Date now) {
  const std::lock_guard lock(mutex_);
  now_ = now;
}

void ManualClock::advance(std::chrono::duration<double> by) {
  const std::lock_guard lock(mutex_);
  now_ += by;
}

}  // namespace marlune
