#pragma once

#include <utility>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/TimeSeriesData.h"

namespace marlune {

/// Temperatures near one place, of the water or of the air. Read-only once handed out: others share it.
class MARLUNE_API WaterTempData final {
 public:
  WaterTempData(double lat, double lng, TimeSeries samples, bool celsius)
      : latitude(lat), longitude(lng), timeSeries(std::move(samples)), isTemperatureInCelsius(celsius) {}
  WaterTempData() = delete;

  double latitude;   ///< of the place that was asked for, or of the station that observed, degrees
  double longitude;  ///< as above
  TimeSeries timeSeries;
  bool isTemperatureInCelsius;  ///< else Fahrenheit
};

}  // namespace marlune
