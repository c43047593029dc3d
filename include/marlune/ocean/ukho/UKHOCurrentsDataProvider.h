#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/source/OceanCurrentDataProvider.h"
#include "marlune/ocean/ukho/StreamRates.h"
#include "marlune/ocean/ukho/UKHOStreamStation.h"
#include "marlune/platform/Host.h"
#include "marlune/tasks/Task.h"

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
///
/// The steps of the operations can be had by themselves:
///
///     const auto station = co_await streams.nearestStation("hurst point", 50.7, -1.5);
///     const auto rates = co_await streams.fetch(station, date, 24);
///     if (rates) use(UKHOCurrentsDataProvider::process(*rates, 50.7, -1.5));
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

  /// The station whose streams are the place's, by the rules of NOAACurrentsDataProvider::nearestStation();
  /// `key` is the place's `locationId`.
  Task<std::shared_ptr<const UKHOStreamStation>> nearestStation(std::string key, double lat, double lng);

  /// The rates of a station from `start`, cut to the second, for some hours, from the service, as it sent
  /// them: neither the files nor the memory are looked at or changed. Equal questions share a request.
  /// Nothing where it fails, which is logged, and, without asking, for no station, for a start outside the
  /// years 1 to 9999 and for anything but 1 to 8,786 hours (366 days and two hours).
  Task<std::optional<stream_rates::Entries>> fetch(std::shared_ptr<const UKHOStreamStation> station,
                                                   Date start, std::int64_t hours);

  /// What the operations above make of rates, in the order of the list: speeds in knots, events, and the
  /// place as it is given. Nothing where fewer than two entries count. Waits for nothing, safe from any
  /// thread.
  static Answer process(const stream_rates::Entries& entries, double lat, double lng);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
