#include "services/ServiceList.h"

#include "services/TideApiService.h"

namespace marlune::services {

std::vector<std::unique_ptr<Service>> makeServices(const ServiceData& data) {
  std::vector<std::unique_ptr<Service>> services;
  services.push_back(std::make_unique<TideApiService>(data.harmonics, data.stations));
  return services;
}

}  // namespace marlune::services
