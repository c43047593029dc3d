#pragma once

#include <memory>

#include "services/ListedStations.h"
#include "services/Service.h"

namespace marlune::services {

/// The Admiralty's tidal streams: speed and direction at regular instants as a JSON list, invented: a
/// rotating stream of the moon's and the sun's twice daily tides, so that it has springs and neaps.
///
///     GET
///     /uktidalapi-premium/api/V2/Streams/TS001/TidalStreamRates?dateTime=2025-03-05T00:00:00Z&duration=24
///             &interval=30
///     Ocp-Apim-Subscription-Key: anything, also nothing
///
/// The instants are those from dateTime on and before its end, duration hours later, every interval minutes.
/// The stations are those of the list of streams; without one every id that could be one is a station.
/// Without the header it answers 401, for an unknown station 404, for a wrong query 400.
class StreamRatesService final : public Service {
 public:
  explicit StreamRatesService(std::shared_ptr<const ListedStations> lists);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  const std::shared_ptr<const ListedStations> _lists;
};

}  // namespace marlune::services
