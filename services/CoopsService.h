#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "services/CoopsCurrents.h"
#include "services/CoopsObservations.h"
#include "services/Service.h"

namespace marlune::services {

/// NOAA's CO-OPS data API: observations and current predictions of US stations as JSON.
///
///     GET /api/prod/datagetter?begin_date=20250305 00:00&end_date=20250306 00:00&station=9413450
///             &product=water_temperature&time_zone=gmt&interval=h&units=metric&application=any&format=json
///
/// Products are water_temperature, air_temperature, wind and currents_predictions. Dates are "yyyyMMdd
/// HH:mm", or "yyyyMMdd" for a day's first and, as the end, last minute; both ends belong to the interval.
/// What is asked wrongly gets status 400, what there is nothing of status 200, both with an error object.
class CoopsService final : public Service {
 public:
  CoopsService(std::shared_ptr<const HarmonicDatabase> database, std::shared_ptr<const ListedStations> lists,
               std::function<std::int64_t()> now);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  const CoopsObservations _observations;
  const CoopsCurrents _currents;
};

}  // namespace marlune::services
