#pragma once

#include <memory>

#include "services/HarmonicDatabase.h"
#include "services/Service.h"
#include "services/StationCatalogue.h"

namespace marlune::services {

/// The tide API: a year of highs and lows of one station as XML (see YearDocument.h).
///
///     GET /v1/tideapi.php?op=highlowtide&id=398997177&year=2026&version=1&format=xml
///
/// What it cannot answer (an unknown station, an impossible year, a wrong query) gets a short XML error
/// document with status 200.
class TideApiService final : public Service {
 public:
  TideApiService(std::shared_ptr<const HarmonicDatabase> database,
                 std::shared_ptr<const StationCatalogue> catalogue);

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  std::shared_ptr<const HarmonicDatabase> _database;
  std::shared_ptr<const StationCatalogue> _catalogue;
};

}  // namespace marlune::services
