#include "services/CoopsCurrents.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>

#include "services/CurrentPredictor.h"
#include "services/CurrentStationNumbers.h"
#include "services/JsonText.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kDay = 86400;
constexpr int kBadRequest = 400;

// Seconds between two rows; nothing for what is no interval.
std::optional<std::int64_t> stepOf(const std::string& interval) {
  if (interval.empty()) return 10 * kMinute;
  if (interval == "h") return 60 * kMinute;
  const auto minutes = numberOf<int>(std::string_view(interval));
  if (!minutes || *minutes < 1 || *minutes > 60 || 60 % *minutes != 0) return std::nullopt;
  return *minutes * kMinute;
}

const char* wordOf(CurrentTurn::Kind kind) {
  switch (kind) {
    case CurrentTurn::Kind::flood:
      return "flood";
    case CurrentTurn::Kind::ebb:
      return "ebb";
    case CurrentTurn::Kind::slack:
      break;
  }
  return "slack";
}

}  // namespace

CoopsCurrents::CoopsCurrents(std::shared_ptr<const HarmonicDatabase> database)
    : _database(std::move(database)) {
  for (const HarmonicStation& station : _database->stations()) {
    if (station.kind == HarmonicStation::Kind::tide) continue;
    const auto number = currentStationNumber(station.number);
    if (!number) continue;
    std::vector<Bin>& bins = _stations[number->id];
    const bool known =
        std::any_of(bins.begin(), bins.end(), [&](const Bin& bin) { return bin.number == number->bin; });
    if (known) continue;
    const auto name = currentStationName(station.name);
    bins.push_back({number->bin, &station, name ? name->depthFeet : std::nullopt, 0, 0});
  }
  for (auto& [id, bins] : _stations) {
    std::sort(bins.begin(), bins.end(), [](const Bin& a, const Bin& b) { return a.number > b.number; });
    fillDirections(id, bins);
  }
}

// The service knows directions at every depth, the data often at one only: then those of the nearest depth
// that has them, and where there is none at all, some.
void CoopsCurrents::fillDirections(const std::string& id, std::vector<Bin>& bins) const {
  for (Bin& bin : bins) {
    const Bin* nearest = nullptr;
    for (const Bin& other : bins) {
      if (!other.station->current.floodDirection) continue;
      if (nearest == nullptr || std::abs(other.number - bin.number) < std::abs(nearest->number - bin.number))
        nearest = &other;
    }
    int made = 0;
    for (const char c : id) made = (made * 31 + c) % 360;
    const auto& traits = (nearest != nullptr ? *nearest : bin).station->current;
    bin.floodDirection = traits.floodDirection.value_or(made);
    bin.ebbDirection = traits.ebbDirection.value_or((bin.floodDirection + 180) % 360);
  }
}

std::string CoopsCurrents::row(const Bin& bin, const CoopsQuery& query, const char* type, std::int64_t time,
                               double knots) const {
  constexpr double metresInAFoot = 0.3048;
  constexpr double centimetresASecond = 51.444444;  // in a knot
  constexpr std::size_t toTheMinute = 16;
  std::string depth = "null";
  if (bin.depthFeet)
    depth = fmt::format("\"{}\"", std::lround(*bin.depthFeet * (query.metric ? metresInAFoot : 1)));
  const std::string speed = query.metric ? shortNumber(knots * centimetresASecond, 1) : shortNumber(knots, 2);
  return fmt::format(
      R"({{{}"meanFloodDir":{},"Bin":"{}","meanEbbDir":{},"Time":"{}","Depth":{},"Velocity_Major":{}}})",
      type == nullptr ? "" : fmt::format(R"("Type":"{}",)", type), bin.floodDirection, bin.number,
      bin.ebbDirection, instantText(time, " ").substr(0, toTheMinute), depth, speed);
}

ServiceAnswer CoopsCurrents::answer(const CoopsQuery& query) const {
  const auto found = _stations.find(query.station);
  if (found == _stations.end())
    return coopsError("Currents predictions are not available from the requested station.");
  const auto& bins = found->second;
  const auto bin = !query.bin ? bins.begin() : std::find_if(bins.begin(), bins.end(), [&](const Bin& one) {
    return std::to_string(one.number) == *query.bin;
  });
  if (bin == bins.end()) {
    std::string list;
    for (const Bin& one : bins) list += fmt::format("{}, ", one.number);
    return coopsError(fmt::format("Available bin number of {}: {}", query.station, list), kBadRequest);
  }
  const bool turnsAsked = query.interval == "MAX_SLACK" || query.interval == "max_slack";
  const auto step = stepOf(query.interval);
  if (!turnsAsked && !step) return coopsError("Wrong interval.", kBadRequest);
  const bool turns = turnsAsked || bin->station->subordinate;
  const std::int64_t longest = (turns ? 366 : 32) * kDay;
  if (query.last - query.begin > longest)
    return coopsError(fmt::format("Range limit exceeded: at most {} days in one request.", longest / kDay),
                      kBadRequest);

  const CurrentPredictor predictor(*_database);
  std::string rows;
  const auto add = [&](const char* type, std::int64_t time, double knots) {
    if (!rows.empty()) rows += ',';
    rows += row(*bin, query, type, time, knots);
  };
  if (turns) {
    for (const CurrentTurn& turn : predictor.turns(*bin->station, query.begin, query.last + 1))
      add(wordOf(turn.kind), turn.time, turn.knots);
  } else {
    std::int64_t time = query.firstOn(*step);
    for (const double knots : predictor.speeds(*bin->station, time, query.last + 1, *step)) {
      add(nullptr, time, knots);
      time += *step;
    }
  }
  return coopsAnswer(fmt::format(R"({{"current_predictions":{{"units":"{}","cp":[{}]}}}})",
                                 query.metric ? "meters, cm/s" : "feet, knots", rows));
}

}  // namespace marlune::services
