#pragma once

#include <memory>
#include <string>

#include "marlune/ocean/OceanCurrentDataProvider.h"
#include "marlune/platform/Export.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/Task.h"

namespace marlune {

/// Tidal currents in waters of the United States, as the national service predicts them for the nearest
/// station within 50 km: a sample each half hour, and the slacks, floods and ebbs. The predictions are kept
/// as files in the shared container. Who asks waits for the days that are not there yet, in UTC; the rest of
/// their month is fetched behind the caller's back. Periods of more than 366 days are answered with nothing.
///
/// Safe from any thread. May be destroyed at any moment: requests are given up, and every task of a caller
/// has gone on, with nothing, when the destructor returns.
///
///     NOAACurrentsDataProvider currents(host);
///     const auto today = co_await currents.getDailyOceanCurrentData(37.8, -122.5, date, zone, "golden
///     gate");
class MARLUNE_API NOAACurrentsDataProvider final : public OceanCurrentDataProvider {
 public:
  explicit NOAACurrentsDataProvider(const Host& host);
  ~NOAACurrentsDataProvider() override;
  NOAACurrentsDataProvider(const NOAACurrentsDataProvider&) = delete;
  NOAACurrentsDataProvider& operator=(const NOAACurrentsDataProvider&) = delete;

  /// From six hours before `date` to a day after it, whatever the zone.
  Task<Answer> getDailyOceanCurrentData(double lat, double lng, Date date, TimeZone timezone,
                                        std::string locationId) override;
  Task<Answer> getOceanCurrentData(double lat, double lng, Date from, Date to, TimeZone timezone,
                                   std::string locationId) override;

  /// Is there a station within 50 km? The answer stays with the `locationId`; see NearestStationMemo.
  Task<bool> hasStation(double lat, double lng, std::string locationId);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
