#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/source/OceanCurrentDataProvider.h"
#include "marlune/ocean/source/SwellDataProvider.h"
#include "marlune/ocean/source/WaterTemperatureDataProvider.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// Water temperature, swell and currents of any place on Earth, by the hour, from a marine forecast of nine
/// days. One request brings all of it; the days of the caller's zone are remembered by `locationId`, a
/// hundred at most, so that further questions for the same place cost none. A day's samples run from its
/// midnight to the next, both included; an hour that the forecast leaves out is no sample. What was answered
/// once is answered with the same object while it is remembered.
///
/// Operations may be called from any thread; tasks go on on the provider's thread, which they must not block.
/// What fails is logged and answers an empty pointer, as does a day that the forecast does not reach; neither
/// is remembered. Questions that need the same forecast at the same time share a request. The provider's end
/// is as for NOAACurrentsDataProvider.
///
///     OpenMeteoDataProvider provider(host);
///     const auto swell = co_await provider.getDailySwellData(36.6, -121.9, now, zone, "abc");  // in a Task
class MARLUNE_API OpenMeteoDataProvider final : public WaterTemperatureDataProvider,
                                                public SwellDataProvider,
                                                public OceanCurrentDataProvider {
 public:
  explicit OpenMeteoDataProvider(const Host& host);
  ~OpenMeteoDataProvider() override;
  OpenMeteoDataProvider(const OpenMeteoDataProvider&) = delete;
  OpenMeteoDataProvider& operator=(const OpenMeteoDataProvider&) = delete;

  /// Degrees Celsius.
  Task<WaterTemperatureDataProvider::Answer> getTemperatureDataAtTime(double lat, double lng, Date time,
                                                                      TimeZone timezone,
                                                                      std::string locationId) override;
  Task<WaterTemperatureDataProvider::Answer> getDailyTemperatureData(double lat, double lng, Date date,
                                                                     TimeZone timezone,
                                                                     std::string locationId) override;
  /// Feet; of each hour the height before the period.
  Task<SwellDataProvider::Answer> getDailySwellData(double lat, double lng, Date date, TimeZone timezone,
                                                    std::string locationId) override;
  /// Miles per hour, without events.
  Task<OceanCurrentDataProvider::Answer> getDailyOceanCurrentData(double lat, double lng, Date date,
                                                                  TimeZone timezone,
                                                                  std::string locationId) override;
  /// Of the days that the interval touches those that are known, each instant once; a new record each time.
  /// Where one of the days is not remembered, the forecast is asked once. An empty pointer when none is
  /// known.
  Task<OceanCurrentDataProvider::Answer> getOceanCurrentData(double lat, double lng, Date from, Date to,
                                                             TimeZone timezone,
                                                             std::string locationId) override;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
