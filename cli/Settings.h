#pragma once

#include <string>

#include "marlune/platform/DeploymentSettings.h"

namespace marlune::cli {

/// Settings from the file's JSON object; members that it does not have keep their value. Throws WrongCall for
/// a file that cannot be read, an unknown member and one that is no text.
void readSettings(const std::string& path, DeploymentSettings& settings);

/// Puts one base address (scheme, host, perhaps port and path) in place of every host. Throws WrongCall for
/// what is none.
void useServices(const std::string& url, DeploymentSettings& settings);

}  // namespace marlune::cli
