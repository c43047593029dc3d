#include "services/TideApiService.h"

#include <utility>

#include <fmt/format.h>

#include "services/RequestValues.h"
#include "services/YearDocument.h"

namespace marlune::services {
namespace {

ServiceAnswer xml(std::string body) {
  return {200, "text/xml; charset=utf-8", std::move(body), {}};
}

ServiceAnswer refusal(std::string_view why) {
  return xml(
      fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tides><error text=\"{}\"/></tides>\n", why));
}

}  // namespace

TideApiService::TideApiService(std::shared_ptr<const HarmonicDatabase> database,
                               std::shared_ptr<const StationCatalogue> catalogue)
    : _database(std::move(database)), _catalogue(std::move(catalogue)) {}

std::vector<std::string> TideApiService::prefixes() const {
  return {"/v1/tideapi.php"};
}

ServiceAnswer TideApiService::answer(const ServiceRequest& request) const {
  if (request.argument("op") != "highlowtide") return refusal("unknown operation");
  if (request.argument("version") != "1" || request.argument("format") != "xml")
    return refusal("version must be 1 and format xml");
  const auto year = numberOf<int>(request.argument("year"));
  if (!year) return refusal("year must be a number");
  const CatalogueStation* station = _catalogue->find(request.argument("id").value_or(std::string()));
  if (station == nullptr) return refusal("unknown station");
  std::string error;
  auto document = yearDocument(*_database, *station, *year, error);
  return document ? xml(std::move(*document)) : refusal(error);
}

}  // namespace marlune::services
