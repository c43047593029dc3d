#pragma once

#include <memory>
#include <string>
#include <vector>

#include "services/HarmonicDatabase.h"
#include "services/Service.h"
#include "services/StationCatalogue.h"

namespace marlune::services {

/// What services make their answers from.
struct ServiceData {
  std::shared_ptr<const HarmonicDatabase> harmonics;
  std::shared_ptr<const StationCatalogue> stations;
  std::string resourcesFolder;
};

/// Every service there is. A new one has a file pair of its own and is named here.
std::vector<std::unique_ptr<Service>> makeServices(const ServiceData& data);

}  // namespace marlune::services
