#pragma once

#include <memory>

#include "services/RegionalPorts.h"
#include "services/Service.h"

namespace marlune::services {

/// The Admiralty's tidal API: highs and lows of a port between two instants as a JSON list.
///
///     GET /uktidalapi-premium/api/V2/Stations/0082/TidalEventsForDateRange
///             ?StartDate=2025-01-01%2000:00:00&EndDate=2025-12-31%2000:00:00
///     Ocp-Apim-Subscription-Key: anything, also nothing
///
/// Without the header it answers 401, for an unknown port 404, for a range that is none 400, each with a JSON
/// object. Both instants belong to the range, which may span ten years.
class TidalEventsService final : public Service {
 public:
  explicit TidalEventsService(std::shared_ptr<const RegionalPorts> ports);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  const std::shared_ptr<const RegionalPorts> _ports;
};

}  // namespace marlune::services
