#pragma once

#include <chrono>
#include <mutex>

#include "marlune/base/Export.h"
#include "marlune/platform/Clock.h"

namespace marlune {

/// A wall clock that stands still until it is moved; time limits go on running by the system's monotonic
/// clock, so that a stalled server is still noticed. Calls are safe from any thread.
///
///     auto clock = std::make_shared<ManualClock>(dateFromSeconds(1'741'176'000));
///     clock->advance(std::chrono::hours(1));
class MARLUNE_API ManualClock : public Clock {
 public:
  explicit ManualClock(Date now) : now_(now) {}

  Date now() const override;
  std::chrono::nanoseconds monotonic() const override;

  void set(Date now);
  /// Moves the clock, back too when `by` is negative.
  void advance(std::chrono::duration<double> by);

 private:
  mutable std::mutex mutex_;
  Date now_;
};

}  // namespace marlune
