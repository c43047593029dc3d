#include "marlune/ocean/source/OceanSource.h"

#include <fmt/format.h>

#include <cmath>

namespace marlune::ocean {

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
