#pragma once

#include <memory>

#include "services/RegionalPorts.h"
#include "services/Service.h"

namespace marlune::services {

/// The store of the Australian ports' packed forecasts, one object for each port and year.
///
///     GET /2025/IDO59001_2025_VIC_TP002.archive
///
/// Years from 1900 to 2100. What it does not have gets status 404 and an XML page, as from an object store.
class ForecastArchiveService final : public Service {
 public:
  explicit ForecastArchiveService(std::shared_ptr<const RegionalPorts> ports);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  const std::shared_ptr<const RegionalPorts> _ports;
};

}  // namespace marlune::services
