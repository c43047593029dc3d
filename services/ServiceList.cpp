#include "services/ServiceList.h"

#include "services/CoopsService.h"
#include "services/ForecastArchiveService.h"
#include "services/NwsService.h"
#include "services/OpenMeteoService.h"
#include "services/StreamRatesService.h"
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
  services.push_back(std::make_unique<StreamRatesService>(data.lists));
  services.push_back(std::make_unique<CoopsService>(data.harmonics, data.lists, data.now));
  services.push_back(std::make_unique<NwsService>(data.now));
  services.push_back(std::make_unique<OpenMeteoService>(data.now));
  return services;
}

}  // namespace marlune::services
