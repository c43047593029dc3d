#pragma once

#include "marlune/platform/DeviceTimeZone.h"
#include "marlune/platform/Export.h"

namespace marlune {

/// A device that stays in one time zone. Safe from any thread.
class MARLUNE_API FixedTimeZone : public DeviceTimeZone {
 public:
  explicit FixedTimeZone(TimeZone zone) : zone_(zone) {}
  TimeZone current() const override { return zone_; }

 private:
  const TimeZone zone_;
};

}  // namespace marlune
