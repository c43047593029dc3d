#include "marlune/ocean/OceanSource.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>

#include "marlune/platform/Text.h"

namespace marlune::ocean {

namespace {

constexpr std::string_view hostCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
constexpr std::string_view addressCharacters = "0123456789abcdefABCDEF:.";

/// ":8080"
bool isPort(std::string_view text) {
  if (!text.starts_with(':')) return false;
  text.remove_prefix(1);
  if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != text.npos) return false;
  const std::int64_t number = lenientInteger(text);
  return number > 0 && number < 65'536;
}

}  // namespace

bool isPlace(double lat, double lng) {
  return std::isfinite(lat) && std::isfinite(lng) && std::fabs(lat) <= 90.0;
}

std::string baseAddress(const DeploymentSettings& settings, const std::string& ofDeployment,
                        std::string_view builtIn) {
  std::string_view base = builtIn;
  if (!settings.servicesBaseURL.empty()) {
    base = settings.servicesBaseURL;
  } else if (!ofDeployment.empty()) {
    base = ofDeployment;
  }
  while (base.ends_with('/')) base.remove_suffix(1);
  return std::string(base);
}

bool isHttpAddress(std::string_view address) {
  const auto schemeEnd = address.find("://");
  if (schemeEnd == std::string_view::npos) return false;
  std::string scheme(address.substr(0, schemeEnd));
  for (char& letter : scheme) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  if (scheme != "http" && scheme != "https") return false;
  std::string_view authority = address.substr(schemeEnd + 3);
  authority = authority.substr(0, authority.find_first_of("/?#"));
  const bool isNumeric = authority.starts_with('[');
  const auto hostEnd = isNumeric ? authority.find(']') : authority.find(':');
  if (isNumeric && hostEnd == std::string_view::npos) return false;
  const std::string_view name = isNumeric ? authority.substr(1, hostEnd - 1) : authority.substr(0, hostEnd);
  const std::string_view rest =
      hostEnd == std::string_view::npos ? "" : authority.substr(hostEnd + (isNumeric ? 1 : 0));
  return !name.empty() &&
         name.find_first_not_of(isNumeric ? addressCharacters : hostCharacters) == name.npos &&
         (rest.empty() || isPort(rest));
}

Task<HttpAnswer> fetch(std::shared_ptr<HttpFetcher> fetcher, std::string url,
                       std::vector<std::pair<std::string, std::string>> headers,
                       HttpFetcher::Address address) {
  if (!isHttpAddress(url)) {
    HttpAnswer none;
    none.error = fmt::format("\"{}\" is no address to ask by http or https", url);
    co_return none;
  }
  HttpRequest request;
  request.url = std::move(url);
  request.headers = std::move(headers);
  co_return co_await fetcher->fetchAnswer(std::move(request), address);
}

std::string failureOf(const HttpAnswer& answer) {
  if (!answer.error.empty()) return answer.error;
  return answer.status == 200 ? std::string() : fmt::format("HTTP {}", answer.status);
}

}  // namespace marlune::ocean
