#pragma once

#include <optional>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/platform/DeviceTimeZone.h"

namespace marlune {

/// The time zone that the system is set to: what TZ names, else the target of /etc/localtime, else the name
/// in /etc/timezone, else UTC. A setting that names no zone of the database is passed over, save that an
/// empty TZ means UTC. The files are looked at anew each time: a device travels. Safe from any thread.
class MARLUNE_API SystemTimeZone : public DeviceTimeZone {
 public:
  /// Takes TZ as it stands in the environment at this moment.
  SystemTimeZone();
  /// `variable` in place of TZ, and the folder that holds `localtime` and `timezone`.
  SystemTimeZone(std::optional<std::string> variable, std::string configurationFolder);

  TimeZone current() const override;

 private:
  const std::optional<std::string> variable_;
  const std::string folder_;
};

}  // namespace marlune
