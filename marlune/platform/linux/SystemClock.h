#pragma once

#include "marlune/base/Export.h"
#include "marlune/platform/Clock.h"

namespace marlune {

/// The system's clocks. Calls are safe from any thread.
class MARLUNE_API SystemClock : public Clock {
 public:
  Date now() const override;
  std::chrono::nanoseconds monotonic() const override;
};

}  // namespace marlune
