#pragma once

#include <string>

namespace marlune {

/// What differs from one installation to the next. The defaults hold no secret and name no real host. A base
/// address is a scheme, a host and perhaps a path, without a slash at its end; the published path is appended
/// to it. A key that is empty is sent empty.
struct DeploymentSettings {
  /// One base address (scheme, host, perhaps port and path) that stands in for the host of every remote
  /// service: each service's paths are asked below it. Empty: every service has its own host.
  std::string servicesBaseURL = {};
  /// Host of the tide API, with a port if need be ("tides.example.org"); asked by plain http.
  std::string tideApiHost = "tides.marlune.example";
  std::string globalTidesBaseURL = {};
  std::string australianArchiveBaseURL = {};
  std::string admiraltyBaseURL = {};
  std::string admiraltySubscriptionKey = {};
  std::string coopsBaseURL = {};
  std::string nwsBaseURL = {};
  std::string openMeteoMarineBaseURL = {};
  std::string openMeteoForecastBaseURL = {};
  std::string openMeteoApiKey = {};

  /// Whom a person writes to when a station's data cannot be refreshed.
  std::string supportEmail = "support@marlune.example";
  /// Whom a service's operator writes to about this installation's requests.
  std::string contactEmail = {};
};

}  // namespace marlune
