#pragma once

#include <cstdint>
#include <functional>

#include "services/Service.h"

namespace marlune::services {

/// Open-Meteo's marine and forecast APIs: hourly values of a place as JSON, made up (see PlaceWeather.h).
///
///     GET /v1/marine?latitude=36.6&longitude=-121.9&hourly=swell_wave_height,sea_surface_temperature
///             &length_unit=imperial&wind_speed_unit=mph&timezone=America/Los_Angeles&forecast_days=9&apikey=any
///     GET /v1/forecast?latitude=36.6&longitude=-121.9&hourly=wind_speed_10m,wind_direction_10m
///
/// The hours are those of whole days from today's midnight, by the offset that the zone's clocks have now: on
/// the day of a clock change and after it they are not the hours of the clocks. What is asked wrongly gets
/// status 400 and a reason.
class OpenMeteoService final : public Service {
 public:
  explicit OpenMeteoService(std::function<std::int64_t()> now);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  const std::function<std::int64_t()> _now;
};

}  // namespace marlune::services
