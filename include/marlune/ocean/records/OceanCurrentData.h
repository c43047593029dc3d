#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/CurrentEvent.h"
#include "marlune/ocean/records/TimeSeriesData.h"

namespace marlune {

/// Currents at one place. Read-only once handed out: others share it.
class MARLUNE_API OceanCurrentData final {
 public:
  using Events = std::vector<std::shared_ptr<const CurrentEvent>>;

  OceanCurrentData(double lat, double lng, TimeSeries samples, Events currentEvents)
      : latitude(lat), longitude(lng), timeSeries(std::move(samples)), events(std::move(currentEvents)) {}
  OceanCurrentData() = delete;

  double latitude;        ///< of the place that was asked for, degrees
  double longitude;       ///< as above
  TimeSeries timeSeries;  ///< speeds of the series "Velocity", with the attribute "direction"
  Events events;          ///< in time order; none where the source gives none
};

}  // namespace marlune
