#pragma once

#include <memory>
#include <string>

#include "marlune/ocean/OceanCurrentDataProvider.h"
#include "marlune/platform/Export.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/Task.h"

namespace marlune {

/// Tidal streams around the United Kingdom, from the Admiralty's rates for the nearest station within 50 km:
/// the speeds each half hour, the slacks, and the greatest speeds between them, all called floods. The rates
/// are kept as files in the shared container, a day in UTC each. Periods of more than 366 days are answered
/// with nothing.
///
/// Threads and end as for NOAACurrentsDataProvider.
///
///     UKHOCurrentsDataProvider streams(host);
///     const auto today = co_await streams.getDailyOceanCurrentData(50.7, -1.5, date, zone, "hurst point");
class MARLUNE_API UKHOCurrentsDataProvider final : public OceanCurrentDataProvider {
 public:
  explicit UKHOCurrentsDataProvider(const Host& host);
  ~UKHOCurrentsDataProvider() override;
  UKHOCurrentsDataProvider(const UKHOCurrentsDataProvider&) = delete;
  UKHOCurrentsDataProvider& operator=(const UKHOCurrentsDataProvider&) = delete;

  /// The day of `timezone` that contains `date`, from its first instant to the first of the next.
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
