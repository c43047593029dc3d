#pragma once

#include <cstdint>
#include <functional>

#include "services/Service.h"

namespace marlune::services {

/// The US National Weather Service's API: where a place lies on the forecast grids, and the forecast of a
/// cell, both GeoJSON. The weather is made up.
///
///     GET /points/36.6,-121.9       names the address of the forecast, on the host that was asked
///     GET /gridpoints/MTR/699,450   see NwsForecast.h
///     User-Agent: anything
///
/// A place with more than four decimals, or with zeros that could be left out, is redirected to its shorter
/// form. A place outside the United States gets status 404 and a problem document, a request without a
/// User-Agent 403.
class NwsService final : public Service {
 public:
  explicit NwsService(std::function<std::int64_t()> now);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  const std::function<std::int64_t()> _now;
};

}  // namespace marlune::services
