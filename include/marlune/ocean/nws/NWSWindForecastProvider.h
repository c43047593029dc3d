#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/WindData.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/platform/Host.h"
#include "marlune/tasks/Task.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// Hourly wind, in knots, as the National Weather Service of the United States forecasts it for the cell of
/// its grid that a place lies in. The cell of a location is asked for once and then kept on the disk for
/// good; a day's wind is kept there for an hour, and in memory for as long as this object lives. Two location
/// ids with the same letters and digits share a file; one without any has none.
///
/// Arguments, failures and threads as for WaterTemperatureDataProvider, the end as for
/// NOAACurrentsDataProvider.
///
///     const auto day = co_await wind.getDailyWindData(37.8, -122.4, date, zone, "id");
class MARLUNE_API NWSWindForecastProvider final {
 public:
  using Answer = std::shared_ptr<const WindData>;

  NWSWindForecastProvider(const Host& host, std::shared_ptr<SeriesDiskCache> diskCache,
                          std::string userAgent);
  ~NWSWindForecastProvider();
  NWSWindForecastProvider(const NWSWindForecastProvider&) = delete;
  NWSWindForecastProvider& operator=(const NWSWindForecastProvider&) = delete;

  const std::string userAgent;  ///< what requests say who asks, with an address to write to

  /// The wind of the calendar day that contains `date`; no samples on a day that the forecast does not reach.
  Task<Answer> getDailyWindData(double lat, double lng, Date date, TimeZone timezone, std::string locationId);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
