#pragma once

#include "services/FaultPlan.h"
#include "services/Service.h"

namespace marlune::services {

/// The local services' own paths, for people and for tests in other processes: "/" says what this is,
/// "/_faults" plays faults, "/_requests" tells what has been asked. See docs/local-services.md.
class ControlService final : public Service {
 public:
  /// Requires that `faults` outlives the service.
  explicit ControlService(FaultPlan& faults) : _faults(&faults) {}

  std::vector<std::string> prefixes() const override;
  ServiceAnswer answer(const ServiceRequest& request) const override;

 private:
  ServiceAnswer faults(const ServiceRequest& request) const;
  ServiceAnswer requests(const ServiceRequest& request) const;

  FaultPlan* _faults;
};

}  // namespace marlune::services
