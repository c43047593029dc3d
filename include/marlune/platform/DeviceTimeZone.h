#pragma once

#include "marlune/base/Export.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// The device's current time zone. Calls are safe from any thread.
class MARLUNE_API DeviceTimeZone {
 public:
  virtual ~DeviceTimeZone() = default;
  virtual TimeZone current() const = 0;
};

}  // namespace marlune
