#pragma once

#include <utility>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/TimeSeriesData.h"

namespace marlune {

/// Swell at one place. Read-only once handed out: others share it.
class MARLUNE_API SwellData final {
 public:
  SwellData(double lat, double lng, TimeSeries samples, bool feet)
      : latitude(lat), longitude(lng), timeSeries(std::move(samples)), isHeightInFeet(feet) {}
  SwellData() = delete;

  double latitude;   ///< of the place that was asked for, degrees
  double longitude;  ///< as above
  /// Of the series "Height" and "Period" (seconds), each with the attribute "direction".
  TimeSeries timeSeries;
  bool isHeightInFeet;  ///< else metres
};

}  // namespace marlune
