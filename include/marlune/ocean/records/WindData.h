#pragma once

#include <string>
#include <utility>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/TimeSeriesData.h"

namespace marlune {

/// Wind at one place. Read-only once handed out: others share it.
class MARLUNE_API WindData final {
 public:
  WindData(double lat, double lng, TimeSeries samples, std::string unit)
      : latitude(lat), longitude(lng), timeSeries(std::move(samples)), speedUnit(std::move(unit)) {}
  WindData() = delete;

  double latitude;        ///< of the place that was asked for, or of the station that observed, degrees
  double longitude;       ///< as above
  TimeSeries timeSeries;  ///< speeds of the series "Wind", with the attributes "direction" and "gust"
  std::string speedUnit;  ///< of speeds and gusts: "mph" or "kt"
};

}  // namespace marlune
