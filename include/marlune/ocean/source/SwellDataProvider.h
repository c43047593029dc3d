#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/SwellData.h"
#include "marlune/tasks/Task.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// A source of swell; arguments, failures and threads as for WaterTemperatureDataProvider.
class MARLUNE_API SwellDataProvider {
 public:
  using Answer = std::shared_ptr<const SwellData>;

  virtual ~SwellDataProvider() = default;

  /// The swell of the calendar day that contains `date`.
  virtual Task<Answer> getDailySwellData(double lat, double lng, Date date, TimeZone timezone,
                                         std::string locationId) = 0;
};

}  // namespace marlune
