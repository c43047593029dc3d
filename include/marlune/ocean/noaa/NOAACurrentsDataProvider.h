#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/noaa/CurrentStation.h"
#include "marlune/ocean/source/OceanCurrentDataProvider.h"
#include "marlune/platform/Host.h"
#include "marlune/tasks/Task.h"

namespace marlune {

/// Tidal currents in waters of the United States, as the national service predicts them for the nearest
/// station within 50 km: a sample each half hour, and the slacks, floods and ebbs. The predictions are kept
/// as files in the shared container. The caller waits for the missing days, in UTC; the rest of their month
/// is fetched in the background. Periods of more than 366 days are answered with nothing.
///
/// Safe from any thread. Tasks resume on the provider's thread, which they must not block. May be destroyed
/// with questions open once no call of its operations is under way, also by a task that it has resumed:
/// requests are given up, and every other waiting task has resumed, with nothing, when the destructor
/// returns, on the destructor's thread or on the provider's.
///
///     NOAACurrentsDataProvider currents(host);
///     const auto today = co_await currents.getDailyOceanCurrentData(37.8, -122.5, startOfDay, zone, "gate");
class MARLUNE_API NOAACurrentsDataProvider final : public OceanCurrentDataProvider {
 public:
  explicit NOAACurrentsDataProvider(const Host& host);
  ~NOAACurrentsDataProvider() override;
  NOAACurrentsDataProvider(const NOAACurrentsDataProvider&) = delete;
  NOAACurrentsDataProvider& operator=(const NOAACurrentsDataProvider&) = delete;

  /// From six hours before `date` to a day after it, whatever the zone. So `date` is where the day begins:
  /// pass its first instant in the place's zone, and a slack that began before midnight is there too.
  Task<Answer> getDailyOceanCurrentData(double lat, double lng, Date date, TimeZone timezone,
                                        std::string locationId) override;
  Task<Answer> getOceanCurrentData(double lat, double lng, Date from, Date to, TimeZone timezone,
                                   std::string locationId) override;

  /// The station whose currents are the place's: the nearest within 50 km of a straight line, of equally near
  /// ones the first of the list. The answer, also that there is none, stays with the `locationId`, whatever
  /// coordinates come with it later; see NearestStationMemo. Empty also where the list cannot be read, which
  /// is logged once, and for what is no place; neither is remembered.
  Task<std::shared_ptr<const CurrentStation>> nearestStation(double lat, double lng, std::string locationId);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
