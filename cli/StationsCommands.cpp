#include <algorithm>
#include <future>
#include <utility>

#include "cli/Fetching.h"
#include "cli/WorldPoints.h"
#include "marlune/geo/MapProjection.h"

namespace marlune::cli {
namespace {

/// The provider with its catalogue loaded; not every query of it does that itself.
TideDataProvider& catalogue(Context& context) {
  auto& provider = context.session.provider();
  provider.loadStationData();
  return provider;
}

std::string unknownStation(const Call& call) {
  if (TideStation::isGlobalStationId(call.text(0))) {
    return "No worldwide point of the id " + call.text(0) + " is known (`marlune global load` loads them).";
  }
  return "No station has the id " + call.text(0) + " (`marlune stations near LAT LON` finds stations).";
}

Answer all(Context& context, const Call&) {
  return answerOf(catalogue(context).getAllTideStations());
}

Answer defaultStation(Context& context, const Call&) {
  return answerOf(catalogue(context).getDefaultTideStation(), "There is no default station.");
}

Answer show(Context& context, const Call& call) {
  return answerOf(stationOf(context.session, call.text(0)), unknownStation(call));
}

Answer load(Context& context, const Call& call) {
  return answerOf(context.session.provider().loadStationDataForStationId(call.text(0)), unknownStation(call));
}

Answer loadAll(Context& context, const Call&) {
  context.session.provider().loadStationData();
  return nothing("The catalogue is loaded.");
}

Answer states(Context& context, const Call&) {
  return answerOf(catalogue(context).getTideStationStates());
}

Answer count(Context& context, const Call&) {
  return answerOfInteger(static_cast<std::int64_t>(catalogue(context).getTideStationGroupCount()));
}

Answer ofState(Context& context, const Call& call) {
  auto stations = catalogue(context).getTideStationsForState(call.text(0));
  if (!stations)
    return nothing("No state is called " + call.text(0) + " (`marlune stations states` lists them).");
  return answerOf(std::move(*stations));
}

Answer near(Context& context, const Call& call) {
  const Coordinate origin{call.number(0), call.number(1)};
  awaitWorldPoints(context);
  auto stations = catalogue(context).getStationsByNearest(origin);
  if (const auto* limit = call.option("--limit")) {
    const auto most = static_cast<std::size_t>(std::get<std::int64_t>(*limit));
    stations.resize(std::min(stations.size(), most));
  }
  return answerOf(std::move(stations), origin);
}

Answer search(Context& context, const Call& call) {
  awaitWorldPoints(context);
  std::promise<std::optional<std::vector<StationPtr>>> answered;
  auto found = answered.get_future();
  context.session.search().findMatches(call.text(0),
                                       [&](auto stations) { answered.set_value(std::move(stations)); });
  auto stations = found.get();
  if (!stations) return nothing("No station is called so (`marlune stations near LAT LON` finds stations).");
  return answerOf(std::move(*stations));
}

Answer inRect(Context& context, const Call& call) {
  return answerOf(catalogue(context).getStationsInMapVisibleRect(
      {call.number(0), call.number(1), call.number(2), call.number(3)}));
}

Answer inBox(Context& context, const Call& call) {
  return answerOf(catalogue(context).getStationsByRegionBoundary({call.number(0), call.number(1)},
                                                                 {call.number(2), call.number(3)}));
}

}  // namespace

std::vector<Command> stationsCommands() {
  constexpr auto number = Kind::number;
  return {
      {"stations all", {}, {}, "every station of the catalogue", Place::mainThread, all},
      {"stations default",
       {},
       {},
       "the station that an application starts with",
       Place::mainThread,
       defaultStation},
      {"stations show", {{"ID", Kind::station}}, {}, "one station", Place::mainThread, show},
      {"stations load", {{"ID"}}, {}, "one station straight from the station file", Place::mainThread, load},
      {"stations states", {}, {}, "the names of the states", Place::mainThread, states},
      {"stations count", {}, {}, "how many states there are", Place::mainThread, count},
      {"stations state", {{"NAME"}}, {}, "the stations of a state", Place::mainThread, ofState},
      {"stations near",
       {{"LAT", number}, {"LON", number}},
       {{"--limit", "N", Kind::count, "no more than so many"}},
       "stations by their distance from a place in degrees",
       Place::worker,
       near},
      {"stations search",
       {{"TEXT"}},
       {},
       "stations and worldwide points by the beginning of a word, or by any three letters",
       Place::worker,
       search},
      {"stations rect",
       {{"X", number}, {"Y", number}, {"W", number}, {"H", number}},
       {},
       "stations in a rectangle of map points (the world is 268435456 a side)",
       Place::mainThread,
       inRect},
      {"stations box",
       {{"A1", number}, {"A2", number}, {"B1", number}, {"B2", number}},
       {},
       "stations north-east of latitude A1, longitude A2 and south-west of B1, B2",
       Place::mainThread,
       inBox},
      {"stations load-all", {}, {}, "load the catalogue", Place::mainThread, loadAll},
  };
}

}  // namespace marlune::cli
