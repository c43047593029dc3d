#pragma once

#include <string>

namespace marlune {

/// What differs from one installation to the next. The defaults hold no secret and name no real host.
struct DeploymentSettings {
  /// One base address (scheme, host, perhaps port and path) that stands in for the host of every remote
  /// service: each service's paths are asked below it. Empty: every service has its own host.
  std::string servicesBaseURL = {};
  /// Host of the tide API, with a port if need be ("tides.example.org"); asked by plain http.
  std::string tideApiHost = "tides.marlune.example";
  /// Whom a person writes to when a station's data cannot be refreshed.
  std::string supportEmail = "support@marlune.example";
};

}  // namespace marlune
