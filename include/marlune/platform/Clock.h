#pragma once

#include <chrono>

#include "marlune/base/Export.h"
#include "marlune/time/Date.h"

namespace marlune {

/// The two clocks of the library. Calls are safe from any thread.
class MARLUNE_API Clock {
 public:
  virtual ~Clock() = default;

  /// The wall clock. It may be set forward or back at any moment: use it for what outlives the process.
  virtual Date now() const = 0;

  /// A clock that never goes back: use it for durations and time limits.
  virtual std::chrono::nanoseconds monotonic() const = 0;
};

}  // namespace marlune
