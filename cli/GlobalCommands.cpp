#include <future>

#include "cli/Session.h"

namespace marlune::cli {
namespace {

Answer load(Context& context, const Call&) {
  auto& provider = context.session.provider();
  std::promise<void> ended;
  auto end = ended.get_future();
  provider.loadGlobalStationPointsIfNeeded([&] { ended.set_value(); });
  end.wait();
  return answerOfInteger(static_cast<std::int64_t>(provider.getSearchableGlobalStations().size()));
}

Answer points(Context& context, const Call&) {
  return answerOf(context.session.provider().getSearchableGlobalStations());
}

Answer inRect(Context& context, const Call& call) {
  return answerOf(context.session.provider().getGlobalStationsInMapVisibleRect(
      {call.number(0), call.number(1), call.number(2), call.number(3)}));
}

Answer hidden(Context& context, const Call&) {
  return answerOf(std::optional(context.session.provider().shouldHideUSGlobalPoints()));
}

}  // namespace

std::vector<Command> globalCommands() {
  constexpr auto number = Kind::number;
  return {
      {"global load", {}, {}, "load the worldwide points and say how many there are", Place::worker, load},
      {"global points", {}, {}, "the worldwide points that are loaded", Place::mainThread, points},
      {"global rect",
       {{"X", number}, {"Y", number}, {"W", number}, {"H", number}},
       {},
       "loaded worldwide points in a rectangle of map points (the world is 268435456 a side)",
       Place::mainThread,
       inRect},
      {"global hidden",
       {},
       {},
       "are worldwide points inside the United States hidden?",
       Place::mainThread,
       hidden},
  };
}

}  // namespace marlune::cli
