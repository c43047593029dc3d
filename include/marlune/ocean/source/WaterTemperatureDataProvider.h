#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/WaterTempData.h"
#include "marlune/tasks/Task.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// A source of temperatures. A place is a latitude and a longitude in degrees; `timezone` is the zone in
/// whose calendar days are cut; `locationId` names the place in the application, and in the source's caches.
/// What fails is logged and answers an empty pointer, as does what is no place. Safe from any thread; a task
/// goes on on a thread of the source's, which it must not block.
class MARLUNE_API WaterTemperatureDataProvider {
 public:
  using Answer = std::shared_ptr<const WaterTempData>;

  virtual ~WaterTemperatureDataProvider() = default;

  /// The one sample that is nearest to `time` of the day that contains it, if it lies within 5,400 seconds.
  virtual Task<Answer> getTemperatureDataAtTime(double lat, double lng, Date time, TimeZone timezone,
                                                std::string locationId) = 0;
  /// The samples of the calendar day that contains `date`.
  virtual Task<Answer> getDailyTemperatureData(double lat, double lng, Date date, TimeZone timezone,
                                               std::string locationId) = 0;
};

/// What getTemperatureDataAtTime() makes of a day.
MARLUNE_API WaterTemperatureDataProvider::Answer sampleNearestTo(
    Date time, const WaterTemperatureDataProvider::Answer& day);

}  // namespace marlune
