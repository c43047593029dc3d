#include "services/NwsService.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "services/JsonText.h"
#include "services/NwsForecast.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

constexpr std::string_view kPoints = "/points/";
constexpr std::string_view kGridpoints = "/gridpoints/";

ServiceAnswer problem(int status, std::string_view type, std::string_view title, std::string_view detail) {
  constexpr std::string_view id = "4d61726c";
  return {status,
          "application/problem+json",
          fmt::format(R"({{
    "correlationId": "{0}",
    "title": "{1}",
    "type": "https://api.weather.gov/problems/{2}",
    "status": {3},
    "detail": "{4}",
    "instance": "https://api.weather.gov/requests/{0}"
}})",
                      id, title, type, status, escapedJson(detail)),
          {}};
}

ServiceAnswer denied() {
  return {403,
          "text/html",
          "<html><head><title>403</title></head><body><h1>403: name yourself in a "
          "User-Agent</h1></body></html>\n",
          {}};
}

// The two parts at a comma; nothing when there is not just one.
std::optional<std::pair<std::string_view, std::string_view>> halves(std::string_view text) {
  const auto comma = text.find(',');
  if (comma == std::string_view::npos || text.find(',', comma + 1) != std::string_view::npos)
    return std::nullopt;
  return std::pair(text.substr(0, comma), text.substr(comma + 1));
}

std::string shortDegrees(double degrees) {
  const std::string text = shortNumber(degrees, 4);
  return text == "-0" ? "0" : text;
}

std::string pointsDocument(const std::string& base, std::string_view where, const NwsPlace& place,
                           const NwsCell& cell) {
  const std::string grid = fmt::format("{}/gridpoints/{}/{},{}", base, cell.office, cell.x, cell.y);
  return fmt::format(R"({{
    "@context": [
        "https://geojson.org/geojson-ld/geojson-context.jsonld",
        {{
            "@version": "1.1",
            "wx": "https://api.weather.gov/ontology#",
            "@vocab": "https://api.weather.gov/ontology#"
        }}
    ],
    "id": "{0}/points/{1}",
    "type": "Feature",
    "geometry": {{
        "type": "Point",
        "coordinates": [
            {2},
            {3}
        ]
    }},
    "properties": {{
        "@id": "{0}/points/{1}",
        "@type": "wx:Point",
        "cwa": "{4}",
        "forecastOffice": "{0}/offices/{4}",
        "gridId": "{4}",
        "gridX": {5},
        "gridY": {6},
        "forecast": "{7}/forecast",
        "forecastHourly": "{7}/forecast/hourly",
        "forecastGridData": "{7}",
        "observationStations": "{7}/stations",
        "radarStation": "K{4}"
    }}
}})",
                     base, where, place.longitude, place.latitude, cell.office, cell.x, cell.y, grid);
}

ServiceAnswer points(const std::string& base, std::string_view where) {
  const auto parts = halves(where);
  const auto latitude = parts ? numberOf<double>(parts->first) : std::nullopt;
  const auto longitude = parts ? numberOf<double>(parts->second) : std::nullopt;
  if (!latitude || !longitude || !(std::abs(*latitude) <= 90) || !(std::abs(*longitude) <= 180))
    return problem(400, "InvalidParameter", "Invalid Parameter", "A point is a latitude and a longitude");
  const std::string shorter = shortDegrees(*latitude) + "," + shortDegrees(*longitude);
  if (shorter != where) {
    ServiceAnswer answer = problem(301, "AdjustPointPrecision", "Too Many Decimals",
                                   "The point has a shorter form, with at most four decimals");
    answer.headers["Location"] = std::string(kPoints) + shorter;
    return answer;
  }
  const NwsPlace place{*latitude, *longitude};
  const auto cell = nwsCellAt(place);
  if (!cell)
    return problem(404, "InvalidPoint", "Data Unavailable For Requested Point",
                   fmt::format("Unable to provide data for requested point {}", where));
  return {200, "application/geo+json", pointsDocument(base, where, place, *cell), {}};
}

std::optional<NwsCell> cellIn(std::string_view path) {
  const auto slash = path.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto parts = halves(path.substr(slash + 1));
  const auto x = parts ? numberOf<int>(parts->first) : std::nullopt;
  const auto y = parts ? numberOf<int>(parts->second) : std::nullopt;
  if (!x || !y) return std::nullopt;
  return NwsCell{std::string(path.substr(0, slash)), *x, *y};
}

}  // namespace

NwsService::NwsService(std::function<std::int64_t()> now) : _now(std::move(now)) {}

std::vector<std::string> NwsService::prefixes() const {
  return {std::string(kPoints), std::string(kGridpoints)};
}

ServiceAnswer NwsService::answer(const ServiceRequest& request) const {
  const auto header = [&](const std::string& name) {
    const auto found = request.headers.find(name);
    return found == request.headers.end() ? std::string() : found->second;
  };
  if (header("user-agent").empty()) return denied();
  const std::string base = "http://" + header("host");
  const std::string_view path = request.path;
  if (path.starts_with(kPoints)) return points(base, path.substr(kPoints.size()));
  const auto cell = cellIn(path.substr(kGridpoints.size()));
  if (!cell || !nwsPlaceOf(*cell))
    return problem(404, "NotFound", "Not Found", fmt::format("There is no {}", request.path));
  return {200, "application/geo+json", nwsForecast(*cell, _now(), base), {}};
}

}  // namespace marlune::services
