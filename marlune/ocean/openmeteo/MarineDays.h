#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/ocean/records/OceanCurrentData.h"
#include "marlune/ocean/records/SwellData.h"
#include "marlune/ocean/records/WaterTempData.h"
#include "marlune/ocean/source/BoundedCache.h"
#include "marlune/ocean/source/HourlyForecast.h"
#include "marlune/ocean/source/OceanSource.h"

namespace marlune {

/// A day of a marine forecast at a place. Each of its records is made when it is first asked for, which most
/// never are, and is the same from then on.
class MarineDay {
 public:
  MarineDay(std::shared_ptr<const HourlyForecast> forecast, std::size_t day, double lat, double lng)
      : forecast_(std::move(forecast)), day_(day), latitude_(lat), longitude_(lng) {}

  const std::string& name() const { return hours().name; }
  std::size_t hourCount() const { return hours().end - hours().begin; }
  const std::shared_ptr<const HourlyForecast>& forecast() const { return forecast_; }

  const std::shared_ptr<const WaterTempData>& temperature();
  const std::shared_ptr<const SwellData>& swell();
  const std::shared_ptr<const OceanCurrentData>& currents();

 private:
  const HourlyForecast::Day& hours() const { return forecast_->days[day_]; }

  const std::shared_ptr<const HourlyForecast> forecast_;
  const std::size_t day_;
  const double latitude_;
  const double longitude_;
  std::shared_ptr<const WaterTempData> temperature_;
  std::shared_ptr<const SwellData> swell_;
  std::shared_ptr<const OceanCurrentData> currents_;
};

/// The days of marine forecasts that are remembered, by location, zone and day. One entry serves all three
/// kinds of record: an answer brings them together, so that maps of each kind would always have the same
/// keys. Used by one thread at a time, as its days are.
///
///     const auto reading = MarineDays::read(json, zone, readers);
///     if (reading.forecast) days.keep(reading.forecast, "abc", 36.6, -121.9);
///     if (const auto day = days.find("abc", "2025-03-05", zone)) use(day->swell());
class MarineDays {
 public:
  using Days = std::vector<std::shared_ptr<MarineDay>>;

  /// Decodes an answer of the marine forecast.
  static HourlyReading read(std::string_view json, const TimeZone& zone, JsonReaders& readers);

  /// Null when it is not known.
  std::shared_ptr<MarineDay> find(std::string_view locationId, std::string_view day,
                                  const TimeZone& zone) const;
  /// The known days from one to another, both included, in their order.
  Days between(std::string_view locationId, std::string_view first, std::string_view last,
               const TimeZone& zone) const;

  /// Remembers the days of a forecast, unless they are; a hundred of them at most. Gives those days, also
  /// where there was no room for all. Of the day that it only knows the last midnight of, what was known
  /// before stays.
  Days keep(const std::shared_ptr<const HourlyForecast>& forecast, std::string_view locationId, double lat,
            double lng);

 private:
  BoundedCache<std::shared_ptr<MarineDay>> days_{maxOceanCacheItems};
};

}  // namespace marlune
