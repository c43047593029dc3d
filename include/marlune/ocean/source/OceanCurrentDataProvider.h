#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/OceanCurrentData.h"
#include "marlune/tasks/Task.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// A source of currents; arguments, failures and threads as for WaterTemperatureDataProvider.
class MARLUNE_API OceanCurrentDataProvider {
 public:
  using Answer = std::shared_ptr<const OceanCurrentData>;

  virtual ~OceanCurrentDataProvider() = default;

  /// The currents of a day; which hours that covers, and whether `date` is its first instant or any, is the
  /// source's to say.
  virtual Task<Answer> getDailyOceanCurrentData(double lat, double lng, Date date, TimeZone timezone,
                                                std::string locationId) = 0;
  /// The currents from one instant to another, both included.
  virtual Task<Answer> getOceanCurrentData(double lat, double lng, Date from, Date to, TimeZone timezone,
                                           std::string locationId) = 0;
};

}  // namespace marlune
