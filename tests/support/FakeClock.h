#pragma once

#include "marlune/platform/ManualClock.h"

namespace marlune::testing {

/// A clock whose monotonic time stands still too. It begins at 2025-03-05 12:00:00 UTC.
class FakeClock : public ManualClock {
 public:
  FakeClock() : ManualClock(dateFromSeconds(1'741'176'000)) {}
  std::chrono::nanoseconds monotonic() const override { return std::chrono::seconds(1); }
};

}  // namespace marlune::testing
