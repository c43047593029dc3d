#include "cli/Settings.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "cli/Errors.h"
#include "cli/EventFile.h"

namespace marlune::cli {
namespace {

struct Setting {
  std::string_view name;
  std::string DeploymentSettings::*member;
};

constexpr std::array<Setting, 12> kSettings = {{
    {"tideApiHost", &DeploymentSettings::tideApiHost},
    {"globalTidesBaseURL", &DeploymentSettings::globalTidesBaseURL},
    {"australianArchiveBaseURL", &DeploymentSettings::australianArchiveBaseURL},
    {"admiraltyBaseURL", &DeploymentSettings::admiraltyBaseURL},
    {"admiraltySubscriptionKey", &DeploymentSettings::admiraltySubscriptionKey},
    {"coopsBaseURL", &DeploymentSettings::coopsBaseURL},
    {"nwsBaseURL", &DeploymentSettings::nwsBaseURL},
    {"openMeteoMarineBaseURL", &DeploymentSettings::openMeteoMarineBaseURL},
    {"openMeteoForecastBaseURL", &DeploymentSettings::openMeteoForecastBaseURL},
    {"openMeteoApiKey", &DeploymentSettings::openMeteoApiKey},
    {"supportEmail", &DeploymentSettings::supportEmail},
    {"contactEmail", &DeploymentSettings::contactEmail},
}};

std::string settingsBytes(const std::string& path) {
  try {
    return readFile(path);
  } catch (const Failure& failure) {
    throw WrongCall(fmt::format("--settings: {}", failure.what()));
  }
}

}  // namespace

void readSettings(const std::string& path, DeploymentSettings& settings) {
  const std::string bytes = settingsBytes(path);
  std::string_view json = bytes;
  if (json.starts_with("\xEF\xBB\xBF")) json.remove_prefix(3);
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  simdjson::dom::object object;
  if (const auto error = parser.parse(simdjson::padded_string(json)).get(root)) {
    throw WrongCall(fmt::format("--settings: {} is no JSON: {}", path, simdjson::error_message(error)));
  }
  if (root.get(object) != simdjson::SUCCESS) {
    throw WrongCall(fmt::format("--settings: {} is no JSON object", path));
  }
  for (const auto& field : object) {
    const auto setting = std::find_if(kSettings.begin(), kSettings.end(),
                                      [&](const Setting& known) { return known.name == field.key; });
    if (setting == kSettings.end()) {
      throw WrongCall(fmt::format("--settings: {} has an unknown member \"{}\"", path, field.key));
    }
    std::string_view text;
    if (field.value.get(text) != simdjson::SUCCESS) {
      throw WrongCall(fmt::format("--settings: \"{}\" in {} must be a text", field.key, path));
    }
    settings.*(setting->member) = text;
  }
}

void useServices(const std::string& url, DeploymentSettings& settings) {
  std::string_view base = url;
  while (base.ends_with('/')) base.remove_suffix(1);
  const auto schemeEnd = base.find("://");
  const std::string_view scheme = base.substr(0, schemeEnd);
  if ((scheme != "http" && scheme != "https") || schemeEnd + 3 >= base.size() || base[schemeEnd + 3] == '/' ||
      base.find_first_of("?# \t\r\n") != std::string_view::npos) {
    throw WrongCall(fmt::format("--services is not a base address like http://127.0.0.1:8080: \"{}\"", url));
  }
  settings.servicesBaseURL = base;
}

}  // namespace marlune::cli
