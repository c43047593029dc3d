#include "services/WorldTidesService.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "services/RequestValues.h"
#include "services/WorldTidesDocument.h"
#include "services/YearDocument.h"

namespace marlune::services {
namespace {

constexpr std::string_view kPointsPath = "/tide-points";
constexpr std::string_view kTidesPath = "/tides";

ServiceAnswer json(std::string body, int status = 200) {
  return {status, "application/json", std::move(body), {}};
}

}  // namespace

WorldTidesService::WorldTidesService(std::shared_ptr<const WorldTable> table) : _table(std::move(table)) {}

std::vector<std::string> WorldTidesService::prefixes() const {
  return {std::string(kPointsPath), std::string(kTidesPath)};
}

ServiceAnswer WorldTidesService::answer(const ServiceRequest& request) const {
  if (request.path != kPointsPath && request.path != kTidesPath)
    return json(worldErrorDocument("no such path"), 404);
  const WorldStations* world = _table->stations();
  if (world == nullptr) return json(worldErrorDocument(_table->error()), 503);
  return request.path == kPointsPath ? json(points(*world)) : tides(*world, request);
}

ServiceAnswer WorldTidesService::tides(const WorldStations& world, const ServiceRequest& request) const {
  const auto latitude = numberOf<double>(request.argument("lat"));
  const auto longitude = numberOf<double>(request.argument("lon"));
  const auto year = numberOf<int>(request.argument("year"));
  // Written so that what is not a number fails as well.
  if (!latitude || !(std::abs(*latitude) <= 90))
    return json(worldErrorDocument("lat must be degrees from -90 to 90"), 400);
  if (!longitude || !(std::abs(*longitude) <= 180))
    return json(worldErrorDocument("lon must be degrees from -180 to 180"), 400);
  if (!year) return json(worldErrorDocument("year must be a whole number"), 400);

  const auto [station, kilometres] = world.nearest(*latitude, *longitude);
  if (kilometres > kReach) return json(worldEmptyDocument(fmt::format("no station within {} km", kReach)));
  if (*year < kFirstDocumentYear || *year > kLastDocumentYear)
    return json(worldEmptyDocument("no predictions for this year"));
  return json(worldYearDocument(world, _table->harmonics(), *station, *year));
}

const std::string& WorldTidesService::points(const WorldStations& world) const {
  std::call_once(_pointsMade, [&] { _points = worldPointsDocument(world); });
  return _points;
}

}  // namespace marlune::services
