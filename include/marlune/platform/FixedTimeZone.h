#pragma once

#include "marlune/base/Export.h"
#include "marlune/platform/DeviceTimeZone.h"

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
