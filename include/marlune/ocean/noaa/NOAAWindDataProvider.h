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

/// Hourly wind observed at the nearest coastal station of NOAA within 100 km, in knots. Days, places, caches
/// and the end of the object are as for NOAATemperatureDataProvider; arguments, failures and threads as for
/// WaterTemperatureDataProvider.
///
///     const auto day = co_await wind.getDailyWindData(37.8, -122.4, date, zone, "id");
class MARLUNE_API NOAAWindDataProvider final {
 public:
  using Answer = std::shared_ptr<const WindData>;

  NOAAWindDataProvider(const Host& host, std::shared_ptr<SeriesDiskCache> diskCache);
  ~NOAAWindDataProvider();
  NOAAWindDataProvider(const NOAAWindDataProvider&) = delete;
  NOAAWindDataProvider& operator=(const NOAAWindDataProvider&) = delete;

  const std::string station_filename = "wind_stations_usa";  ///< among the resources, without ".json"

  /// The wind of the day that contains `date`.
  Task<Answer> getDailyWindData(double lat, double lng, Date date, TimeZone timezone, std::string locationId);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
