#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "services/Service.h"
#include "services/WorldStations.h"

namespace marlune::services {

/// The global tides service: the list of its points, and a year of highs and lows at a place, as JSON.
///
///     GET /tide-points
///     GET /tides?lat=50.103&lon=-5.543&year=2026&agencies=none
///
/// The tides are those of the nearest station. Farther than kReach from every station, or in a year
/// that the tide API does not answer for, there are no events. A wrong query gets status 400.
class WorldTidesService final : public Service {
 public:
  /// Kilometres between a place and the station that answers for it, at most.
  static constexpr double kReach = 25;

  explicit WorldTidesService(std::shared_ptr<const WorldTable> table);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  ServiceAnswer tides(const WorldStations& world, const ServiceRequest& request) const;
  const std::string& points(const WorldStations& world) const;

  const std::shared_ptr<const WorldTable> _table;
  mutable std::once_flag _pointsMade;
  mutable std::string _points;
};

}  // namespace marlune::services
