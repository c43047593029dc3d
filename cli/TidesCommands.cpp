#include <fmt/format.h>

#include "cli/EventFile.h"
#include "cli/Fetching.h"
#include "marlune/base/Data.h"

namespace marlune::cli {
namespace {

const std::string kNoEvents = "No events.";

TideDataProvider& provider(Context& context) {
  return context.session.provider();
}

/// The station that a command names with its first argument.
StationPtr station(Context& context, const Call& call) {
  return stationOf(context.session, call.text(0));
}

Answer begin(Context& context, const Call& call) {
  const bool notify = call.option("--quiet") == nullptr;
  provider(context).beginGetHighLowTideData(station(context, call), call.instant(1), {}, notify);
  return nothing("The month is asked for.");
}

Answer fetch(Context& context, const Call& call) {
  const auto place = station(context, call);
  auto events = fetchEvents(context.session, place, call.instant(1), call.instant(2));
  return answerOf(std::move(events), readingOf(context.session, place), kNoEvents);
}

Answer day(Context& context, const Call& call) {
  const auto place = station(context, call);
  auto events = provider(context).loadTideEventsForStation(place, call.instant(1));
  return answerOf(std::move(events), readingOf(context.session, place), kNoEvents);
}

Answer range(Context& context, const Call& call) {
  const auto place = station(context, call);
  auto events = provider(context).getTideDataByTimestamp(place, wholeSecondsOf(call.instant(1)),
                                                         wholeSecondsOf(call.instant(2)));
  return answerOf(std::move(events), readingOf(context.session, place),
                  "Neither memory nor disk has these months (`marlune tides fetch` downloads them).");
}

Answer events(Context& context, const Call& call) {
  const auto place = station(context, call);
  auto found = provider(context).tideEventsForStation(place, call.integer(1), call.month(2),
                                                      wholeSecondsOf(call.instant(3)),
                                                      wholeSecondsOf(call.instant(4)));
  return answerOf(std::move(found), readingOf(context.session, place), kNoEvents);
}

Answer populate(Context& context, const Call& call) {
  return answerOf(std::optional(
      provider(context).populateCacheForStation(station(context, call), call.integer(1), call.month(2))));
}

Answer month(Context& context, const Call& call) {
  const auto list = provider(context).getTideData(call.text(0), call.integer(1), call.month(2));
  return answerOf(list ? std::optional(*list) : std::nullopt, readingOf(context.session, call.text(0)),
                  "Memory does not hold this month.");
}

Answer cached(Context& context, const Call& call) {
  return answerOf(
      std::optional(provider(context).isTideDataCachedForStation(station(context, call), call.instant(1))));
}

Answer first(Context& context, const Call&) {
  return answerOf(provider(context).firstCachedTideEvent(), readingOf(context.session, StationPtr()),
                  "Memory holds no events.");
}

Answer last(Context& context, const Call&) {
  return answerOf(provider(context).lastCachedTideEvent(), readingOf(context.session, StationPtr()),
                  "Memory holds no events.");
}

Answer refresh(Context& context, const Call& call) {
  provider(context).queueRefreshDataTaskForStation(station(context, call));
  return nothing("The refresh is queued.");
}

Answer keep(Context& context, const Call& call) {
  provider(context).verifyAndDownloadFavoriteStationData(station(context, call));
  return nothing("What is missing is queued for download.");
}

Answer seed(Context& context, const Call&) {
  provider(context).saveDefaultStationFileFromBundle();
  return nothing("The default station's year file is in its place, if one is shipped for this year.");
}

Answer clear(Context& context, const Call&) {
  provider(context).clearCache();
  return nothing("The month lists in memory are dropped.");
}

Answer endpoint(Context& context, const Call& call) {
  const auto place = station(context, call);
  if (!place) return nothing("The station is unknown.");
  return answerOf(std::optional(provider(context).getTideDataEndpointForStation(place, call.integer(1))));
}

Answer file(Context& context, const Call& call) {
  return answerOf(std::optional(provider(context).fileNameForStation(call.text(0), call.integer(1))));
}

Answer parse(Context& context, const Call& call) {
  // Cut where no document of the library's goes on, so that a larger file is no document either.
  const Data bytes = makeData(readFile(call.text(0), AtLimit::cut));
  const auto place = stationOf(context.session, call.text(1));
  auto found = provider(context).getHighLowTideDataFromNSData(bytes, place, call.integer(2), call.month(3));
  return answerOf(std::move(found), readingOf(context.session, place),
                  "The file is no prediction document of this provider, or the station is unknown.");
}

}  // namespace

std::vector<Command> tidesCommands() {
  constexpr auto instant = Kind::instant;
  constexpr Argument id{"ID", Kind::station};
  constexpr Argument plainId{"ID"};
  constexpr Argument year{"YEAR", Kind::year};
  constexpr Argument monthNumber{"MONTH", Kind::month};
  constexpr Argument beginning{"BEGIN", instant};
  constexpr Argument end{"END", instant};
  return {
      {"tides begin",
       {id, {"INSTANT", instant}},
       {{"--quiet", "", Kind::text, "ask for no notifications"}},
       "ask for the month of an instant; notifications tell how it went",
       Place::mainThread,
       begin},
      {"tides fetch",
       {id, {"FROM", instant}, {"TO", instant}},
       {},
       "the events of a range, downloading what is missing",
       Place::worker,
       fetch},
      {"tides day",
       {id, {"INSTANT", instant}},
       {},
       "the events of the station's day, downloading what is missing",
       Place::worker,
       day},
      {"tides range",
       {id, beginning, end},
       {},
       "the events of a range from memory and disk",
       Place::mainThread,
       range},
      {"tides events",
       {id, year, monthNumber, beginning, end},
       {},
       "the events of a month between two instants, downloading what is missing",
       Place::worker,
       events},
      {"tides populate",
       {id, year, monthNumber},
       {},
       "bring a month from disk to memory",
       Place::mainThread,
       populate},
      {"tides month", {plainId, year, monthNumber}, {}, "a month's list in memory", Place::mainThread, month},
      {"tides cached",
       {id, {"INSTANT", instant}},
       {},
       "does memory hold the month of an instant?",
       Place::mainThread,
       cached},
      {"tides first", {}, {}, "the earliest event that memory has held", Place::mainThread, first},
      {"tides last", {}, {}, "the latest event that memory has held", Place::mainThread, last},
      {"tides refresh", {id}, {}, "download the station's current year again", Place::mainThread, refresh},
      {"tides keep", {id}, {}, "download the years worth keeping of a favourite", Place::mainThread, keep},
      {"tides seed", {}, {}, "install the default station's year file", Place::mainThread, seed},
      {"tides clear", {}, {}, "drop every month list in memory", Place::mainThread, clear},
      {"tides endpoint",
       {id, year},
       {},
       "the address that a year is downloaded from",
       Place::mainThread,
       endpoint},
      {"tides file", {plainId, year}, {}, "the name of a year file", Place::mainThread, file},
      {"tides parse",
       {{"FILE"}, id, year, monthNumber},
       {},
       "the events of a month out of a year file",
       Place::mainThread,
       parse},
  };
}

}  // namespace marlune::cli
