#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marlune::services {

/// A request as a service sees it.
struct ServiceRequest {
  std::string target;                          ///< path and query as they were sent
  std::string path;                            ///< percent-decoded
  std::map<std::string, std::string> query;    ///< percent-decoded; of a repeated name the first value
  std::map<std::string, std::string> headers;  ///< names in lower case

  /// Value of a query argument; nothing when it is absent.
  std::optional<std::string> argument(const std::string& name) const {
    const auto found = query.find(name);
    return found == query.end() ? std::nullopt : std::optional(found->second);
  }
};

struct ServiceAnswer {
  int status = 200;
  std::string contentType = "text/plain; charset=utf-8";
  std::string body;
  std::map<std::string, std::string> headers;  ///< further ones
};

/// One of the remote services, answered locally. A service is asked for every path that begins with one
/// of its prefixes (the longest prefix of all services wins), from several threads at a time.
class Service {
 public:
  Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  virtual ~Service() = default;

  virtual std::vector<std::string> prefixes() const = 0;
  virtual ServiceAnswer answer(const ServiceRequest& request) const = 0;
};

}  // namespace marlune::services
