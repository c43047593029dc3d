#include <fmt/format.h>

#include "cli/Fetching.h"
#include "cli/Table.h"
#include "cli/Values.h"
#include "marlune/tides/TideCurve.h"

namespace marlune::cli {
namespace {

const std::string kTooFew = "A curve needs two events.";

Events events(Context& context, const Call& call) {
  return eventsOf(context.session, call.events(0));
}

Reading reading(Context& context, const Call& call) {
  return readingOf(context.session, call.events(0));
}

Answer level(Context& context, const Call& call) {
  const Events list = events(context, call);
  const double value = context.session.provider().interopolateTideLevel(list, secondsOf(call.instant(1)));
  const std::string unit =
      list.empty() ? "" : fmt::format(" {}", unitOf(list.front(), reading(context, call)));
  return answerOfNumber(value, unit);
}

Answer between(Context& context, const Call& call) {
  const Events list = events(context, call);
  if (list.size() < 2) return nothing(kTooFew);
  auto points =
      context.session.provider().interopolateTideLevelsBetweenStartEvent(list[0], list[1], call.integer(1));
  return answerOf(std::optional(std::move(points)), reading(context, call), "");
}

Answer points(Context& context, const Call& call) {
  const auto byDate = context.session.provider().interopolateTideLevelsWithEvents(
      events(context, call), call.integer(1), call.text(2));
  std::optional<std::vector<curve::CurvePoint>> list;
  if (byDate) list.emplace(byDate->begin(), byDate->end());
  return answerOf(std::move(list), false, reading(context, call), kTooFew);
}

Answer ordered(Context& context, const Call& call) {
  auto list = context.session.provider().orderedTideLevelsWithEvents(
      events(context, call), call.integer(1), call.text(2), call.instant(3), call.integer(4));
  return answerOf(std::move(list), true, reading(context, call), kTooFew);
}

Answer crossings(Context& context, const Call& call) {
  const auto dates =
      context.session.provider().getOccurancesOfReferenceTideLevel(call.number(1), events(context, call));
  if (!dates) return nothing(kTooFew);
  return {[dates = *dates](JsonWriter& json) {
            json.beginArray();
            for (const Date date : dates) json.number(secondsOf(date));
            json.endArray();
          },
          [dates = *dates, zone = reading(context, call).zone] {
            std::string lines;
            for (const Date date : dates) lines += momentText(zone, wholeSecondsOf(date)) + "\n";
            return lines;
          }};
}

Answer around(Context& context, const Call& call) {
  const Events list = events(context, call);
  const double at = secondsOf(call.instant(1));
  auto& provider = context.session.provider();
  const auto previous = provider.previousEventImmediatelyBeforeTimestamp(at, list);
  const auto next = provider.nextEventAfterTimestamp(at, list);
  const auto nextTimestamp = provider.nextEventTimestampImmediatelyAfterTimestamp(at, list);
  const auto write = [](JsonWriter& json, const char* key, const std::optional<TideEvent>& event) {
    json.key(key);
    if (event) {
      writeEvent(json, *event);
    } else {
      json.null();
    }
  };
  return {[=](JsonWriter& json) {
            json.beginObject();
            write(json, "previousEvent", previous);
            write(json, "nextEvent", next);
            json.key("nextTimestamp");
            json.integer(nextTimestamp);
            json.endObject();
          },
          [=, how = reading(context, call)] {
            const auto line = [&](const char* name, const std::optional<TideEvent>& event) {
              if (!event) return fmt::format("{:10}-\n", name);
              return fmt::format("{:10}{}  {:.2f} {}\n", name, momentText(how.zone, event->timestamp),
                                 event->tidelevel, unitOf(*event, how));
            };
            return line("before", previous) + line("after", next);
          }};
}

}  // namespace

std::vector<Command> curveCommands() {
  constexpr Argument list{"EVENTS", Kind::events};
  constexpr Argument at{"AT", Kind::instant};
  constexpr Argument interval{"INTERVAL", Kind::integer};
  constexpr auto place = Place::mainThread;
  return {
      {"curve level", {list, at}, {}, "the level at an instant", place, level},
      {"curve between",
       {list, interval},
       {},
       "points every INTERVAL seconds from the first event to the second",
       place,
       between},
      {"curve points",
       {list, interval, {"NAME"}},
       {},
       "points every INTERVAL seconds over all events",
       place,
       points},
      {"curve ordered",
       {list, interval, {"NAME"}, {"AFTER", Kind::instant}, {"MAX", Kind::integer}},
       {},
       "the same from an instant on, no more than MAX",
       place,
       ordered},
      {"curve crossings",
       {list, {"LEVEL", Kind::number}},
       {},
       "when the water passes a level",
       place,
       crossings},
      {"curve around", {list, at}, {}, "the events before and after an instant", place, around},
  };
}

}  // namespace marlune::cli
