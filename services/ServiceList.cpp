#include "services/ServiceList.h"

#include "services/ForecastArchiveService.h"
#include "services/TidalEventsService.h"
#include "services/TideApiService.h"
#include "services/WorldTidesService.h"

namespace marlune::services {

std::vector<std::unique_ptr<Service>> makeServices(const ServiceData& data) {
  std::vector<std::unique_ptr<Service>> services;
  services.push_back(std::make_unique<TideApiService>(data.harmonics, data.stations));
  services.push_back(std::make_unique<WorldTidesService>(data.world));
  services.push_back(std::make_unique<ForecastArchiveService>(data.ports));
  services.push_back(std::make_unique<TidalEventsService>(data.ports));
  return services;
}

}  // namespace marlune::services
