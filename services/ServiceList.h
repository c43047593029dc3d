#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "services/HarmonicDatabase.h"
#include "services/ListedStations.h"
#include "services/RegionalPorts.h"
#include "services/Service.h"
#include "services/StationCatalogue.h"
#include "services/WorldStations.h"

namespace marlune::services {

/// What services make their answers from.
struct ServiceData {
  std::shared_ptr<const HarmonicDatabase> harmonics;
  std::shared_ptr<const StationCatalogue> stations;
  std::shared_ptr<const WorldTable> world;
  std::shared_ptr<const RegionalPorts> ports;
  std::shared_ptr<const ListedStations> lists;
  std::function<std::int64_t()> now;  ///< seconds since 1970; may be called from any thread
};

/// Every service there is. A new one has a file pair of its own and is named here.
std::vector<std::unique_ptr<Service>> makeServices(const ServiceData& data);

}  // namespace marlune::services
