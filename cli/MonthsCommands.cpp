#include "cli/Fetching.h"

namespace marlune::cli {
namespace {

Answer get(Context& context, const Call& call) {
  auto events = context.session.monthFiles().cachedEvents(call.text(0), call.integer(1), call.month(2));
  return answerOf(std::move(events), readingOf(context.session, call.text(0)),
                  "There is no whole file of this month.");
}

Answer put(Context& context, const Call& call) {
  const Events events = eventsOf(context.session, call.events(3));
  context.session.monthFiles().cacheEvents(events, call.text(0), call.integer(1), call.month(2));
  return nothing(events.empty() ? "No events: no file is written." : "The month is written.");
}

Answer evict(Context& context, const Call& call) {
  context.session.monthFiles().evictForStation(call.text(0));
  return nothing("The station's months are removed.");
}

Answer evictAll(Context& context, const Call&) {
  context.session.monthFiles().evictAll();
  return nothing("Every month is removed.");
}

}  // namespace

std::vector<Command> monthsCommands() {
  constexpr Argument id{"ID"};
  constexpr Argument year{"YEAR", Kind::year};
  constexpr Argument month{"MONTH", Kind::month};
  constexpr auto place = Place::mainThread;
  return {
      {"months get", {id, year, month}, {}, "a month from the disk cache", place, get},
      {"months put",
       {id, year, month, {"EVENTS", Kind::events}},
       {},
       "store a month in the disk cache",
       place,
       put},
      {"months evict", {id}, {}, "remove a station's months from the disk cache", place, evict},
      {"months evict-all", {}, {}, "remove every month from the disk cache", place, evictAll},
  };
}

}  // namespace marlune::cli
