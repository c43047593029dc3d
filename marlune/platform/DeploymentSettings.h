#pragma once

#include <string>

namespace marlune {

/// What differs from one installation to the next. The defaults hold no secret and name no real host.
struct DeploymentSettings {
  /// Host of the tide API, with a port if need be ("tides.example.org"); asked by plain http.
  std::string tideApiHost = "tides.marlune.example";
  /// Whom a person writes to when a station's data cannot be refreshed.
  std::string supportEmail = "support@marlune.example";
};

}  // namespace marlune
