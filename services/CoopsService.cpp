#include "services/CoopsService.h"

#include <utility>

#include <fmt/format.h>

#include "services/CoopsQuery.h"
#include "services/JsonText.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr int kBadRequest = 400;

std::optional<std::int64_t> dateOf(const ServiceRequest& request, const std::string& name, bool isEnd) {
  const std::string text = request.argument(name).value_or("");
  if (const auto minute = instantOf(text, {"yyyyMMdd HH:mm"})) return minute;
  const auto day = instantOf(text, {"yyyyMMdd"});
  return day && isEnd ? *day + kDay - 60 : day;
}

// Nothing, and a text in `error`, for a query that the API does not take.
std::optional<CoopsQuery> queryOf(const ServiceRequest& request, std::string& error) {
  CoopsQuery query;
  query.station = request.argument("station").value_or("");
  query.interval = request.argument("interval").value_or("");
  query.bin = request.argument("bin");
  const std::string units = request.argument("units").value_or("english");
  query.metric = units == "metric";
  const auto begin = dateOf(request, "begin_date", false);
  const auto last = dateOf(request, "end_date", true);
  if (request.argument("format") != "json") {
    error = "The format must be json.";
  } else if (request.argument("time_zone") != "gmt") {
    error = "The time_zone must be gmt.";
  } else if (units != "metric" && units != "english") {
    error = "The units must be metric or english.";
  } else if (!begin || !last) {
    error = "Wrong date format: begin_date and end_date must be yyyyMMdd or yyyyMMdd HH:mm.";
  } else if (*last < *begin) {
    error = "The end date is before the begin date.";
  } else if (query.station.empty()) {
    error = "No station was given.";
  }
  if (!error.empty()) return std::nullopt;
  query.begin = *begin;
  query.last = *last;
  return query;
}

}  // namespace

ServiceAnswer coopsAnswer(std::string body) {
  return {200, "application/json", std::move(body), {}};
}

ServiceAnswer coopsError(std::string_view message, int status) {
  std::string body = fmt::format("{{\"error\": {{\"message\":\"{}\"}}}}", escapedJson(message));
  if (status != 200) body = "\n" + body + "\n\n\n";
  return {status, "application/json", std::move(body), {}};
}

ServiceAnswer coopsNoData() {
  return coopsError(
      "No data was found. This product may not be offered at this station at the requested time.");
}

CoopsService::CoopsService(std::shared_ptr<const HarmonicDatabase> database,
                           std::shared_ptr<const ListedStations> lists, std::function<std::int64_t()> now)
    : _observations(database, std::move(lists), std::move(now)), _currents(std::move(database)) {}

std::vector<std::string> CoopsService::prefixes() const {
  return {"/api/prod/datagetter"};
}

ServiceAnswer CoopsService::answer(const ServiceRequest& request) const {
  std::string error;
  const auto query = queryOf(request, error);
  if (!query) return coopsError(error, kBadRequest);
  const std::string product = request.argument("product").value_or("");
  if (product == "currents_predictions") return _currents.answer(*query);
  if (const auto observed = CoopsObservations::productOf(product))
    return _observations.answer(*observed, *query);
  return coopsError(fmt::format("Wrong product: there is no {}.", product), kBadRequest);
}

}  // namespace marlune::services
