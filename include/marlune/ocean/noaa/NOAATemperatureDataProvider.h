#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/ocean/source/WaterTemperatureDataProvider.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// Hourly temperatures observed at the nearest coastal station of NOAA within 100 km, in Celsius, by days of
/// 24 hours from the start of the day asked for, also where a clock change makes that day longer or shorter.
/// A record carries the station's place. Days are remembered, and kept on the disk: one that is over for
/// good, today's for half an hour.
///
/// Threads and failures as for the interface, the end as for NOAACurrentsDataProvider.
///
///     NOAATemperatureDataProvider water(host, cache, "water_temperature", "water_temp_stations_usa");
///     const auto day = co_await water.getDailyTemperatureData(37.8, -122.4, date, zone, "id");
class MARLUNE_API NOAATemperatureDataProvider final : public WaterTemperatureDataProvider {
 public:
  NOAATemperatureDataProvider(const Host& host, std::shared_ptr<SeriesDiskCache> diskCache,
                              std::string product, std::string station_filename);
  ~NOAATemperatureDataProvider() override;
  NOAATemperatureDataProvider(const NOAATemperatureDataProvider&) = delete;
  NOAATemperatureDataProvider& operator=(const NOAATemperatureDataProvider&) = delete;

  const std::string product;           ///< "water_temperature" or "air_temperature"
  const std::string station_filename;  ///< of the list of stations among the resources, without ".json"

  Task<Answer> getTemperatureDataAtTime(double lat, double lng, Date time, TimeZone timezone,
                                        std::string locationId) override;
  Task<Answer> getDailyTemperatureData(double lat, double lng, Date date, TimeZone timezone,
                                       std::string locationId) override;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
