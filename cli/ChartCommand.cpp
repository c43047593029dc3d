#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "cli/Chart.h"
#include "cli/Fetching.h"
#include "cli/Report.h"
#include "cli/Table.h"
#include "cli/Values.h"

namespace marlune::cli {
namespace {

constexpr std::int64_t kDefaultDays = 3;
constexpr std::int64_t kMargin = 129'600;  ///< events beyond the edges, where the curve leads
constexpr std::size_t kDefaultColumns = 100;

/// A month as a count of months, so that the next one is one more.
std::int64_t monthOf(const Calendar& calendar, std::int64_t instant) {
  const CivilTime local = calendar.components(instant);
  return local.year * 12 + local.month - 1;
}

std::int64_t yearOf(std::int64_t month) {
  return month / 12;
}

int numberOf(std::int64_t month) {
  return static_cast<int>(month % 12) + 1;
}

/// Local midnights from the day of an instant on.
std::vector<std::int64_t> midnightsFrom(const Calendar& calendar, Date instant, std::int64_t days) {
  const CivilTime local = calendar.components(wholeSecondsOf(instant));
  std::vector<std::int64_t> midnights;
  for (std::int64_t day = 0; day <= days; ++day) {
    midnights.push_back(
        calendar.instant({local.year, local.month, local.day + static_cast<int>(day), 0, 0, 0}));
  }
  return midnights;
}

/// The events of the days and their neighbours, each time once. Downloads what the days themselves lack; for
/// the neighbours only what is at hand is used.
Events gather(TideDataProvider& provider, const StationPtr& station, std::int64_t begin, std::int64_t end) {
  const Calendar calendar = provider.calendarForStation(station);
  const std::int64_t first = monthOf(calendar, begin);
  const std::int64_t last = monthOf(calendar, end - 1);
  const std::int64_t from = begin - kMargin;
  const std::int64_t to = end + kMargin;
  Events events;
  for (std::int64_t month = first; month <= last; ++month) {
    const auto found = provider.tideEventsForStation(station, yearOf(month), numberOf(month), from, to);
    if (found) events.insert(events.end(), found->begin(), found->end());
  }
  for (const std::int64_t month : {monthOf(calendar, from), monthOf(calendar, to)}) {
    if (month >= first && month <= last) continue;
    // Another year of a worldwide point would be asked from the network.
    if (station->isGlobal && yearOf(month) != yearOf(first) && yearOf(month) != yearOf(last)) continue;
    if (!provider.populateCacheForStation(station, yearOf(month), numberOf(month))) continue;
    const auto list = provider.getTideData(station->stationId.value_or(""), yearOf(month), numberOf(month));
    if (list) events.insert(events.end(), list->begin(), list->end());
  }
  // What no tide reaches cannot be drawn to scale with the rest.
  std::erase_if(events, [](const TideEvent& event) { return !(std::abs(event.tidelevel) < 1e5); });
  events = provider.filterEventsToDate(events, from, to);
  events.erase(std::unique(events.begin(), events.end(),
                           [](const TideEvent& a, const TideEvent& b) { return a.timestamp == b.timestamp; }),
               events.end());
  return events;
}

/// Brings levels into the provider's unit: the worldwide service answers in its own.
void drawInUnitOf(const TideDataProvider& provider, Chart& chart, Events& events) {
  const bool metres = provider.tideLevelUnitInMeters();
  chart.unit = metres ? "m" : "ft";
  constexpr double metresInFoot = 0.3048;
  for (TideEvent& event : events) {
    if (event.tideLevelInMeters == metres) continue;
    event.tidelevel = metres ? event.tidelevel * metresInFoot : event.tidelevel / metresInFoot;
    event.tideLevelInMeters = metres;
  }
}

/// The curve over the days: from edge to edge where it has neighbours beyond, else from its first to its last
/// event.
std::vector<Chart::Point> lineOver(TideDataProvider& provider, const Events& all, const Chart& chart) {
  std::vector<Chart::Point> line;
  if (all.front().timestamp < chart.begin()) {
    line.push_back({chart.begin(), provider.interopolateTideLevel(all, static_cast<double>(chart.begin()))});
  }
  for (const auto& event : chart.events) line.push_back({event.timestamp, event.tidelevel});
  if (all.back().timestamp > chart.end()) {
    line.push_back({chart.end(), provider.interopolateTideLevel(all, static_cast<double>(chart.end()))});
  }
  return line;
}

std::string titleOf(const TideStation& station) {
  std::string title = plainText(station.stationName.value_or(station.stationId.value_or("")));
  if (station.stateId && !station.stateId->empty()) title += ", " + plainText(*station.stateId);
  return title;
}

std::size_t terminalColumns() {
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  const char* columns = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): nothing sets it
  const auto wanted = columns == nullptr ? std::nullopt : parseInteger(columns, 1, 1000);
  return wanted ? static_cast<std::size_t>(*wanted) : kDefaultColumns;
}

bool colourWanted() {
  return ::isatty(STDOUT_FILENO) == 1 &&
         std::getenv("NO_COLOR") == nullptr;  // NOLINT(concurrency-mt-unsafe): nothing sets it
}

void saveFile(const std::string& path, std::string_view bytes) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) {
    throw Failure(fmt::format("cannot write {}: {}", path, std::generic_category().message(errno)));
  }
  try {
    writeAll(file, bytes);
  } catch (const Failure&) {
    ::close(file);
    throw;
  }
  if (::close(file) != 0) {
    throw Failure(fmt::format("cannot write {}: {}", path, std::generic_category().message(errno)));
  }
}

/// `found`: the events as the library gave them.
Answer answerOf(Chart chart, Events found, const Call& call) {
  const auto shared = std::make_shared<const Chart>(std::move(chart));
  std::string svgPath;
  if (const auto* path = call.option("--svg")) {
    svgPath = std::get<std::string>(*path);
    saveFile(svgPath, drawSvg(*shared));
  }
  return {[events = std::move(found)](JsonWriter& json) { writeEvents(json, events); },
          [shared, svgPath] {
            const bool colour = colourWanted();
            if (svgPath.empty()) return drawInTerminal(*shared, terminalColumns(), colour);
            return fmt::format("{}\n{}\n\n{}\nDrawn in {}\n", shared->title, shared->subtitle(),
                               eventsByDay(*shared, colour), plainText(svgPath));
          }};
}

Answer chart(Context& context, const Call& call) {
  Session& session = context.session;
  auto& provider = session.provider();
  const Date now = session.host().clock->now();
  const Date instant = call.has(1) ? call.instant(1) : now;
  constexpr double first = -62'135'596'800.0;  // the years 1 to 9999
  constexpr double last = 253'370'764'800.0;
  if (!(secondsOf(instant) >= first && secondsOf(instant) < last)) {
    throw WrongCall("INSTANT is not in the years 1 to 9998");
  }
  const auto station = stationOf(session, call.text(0));
  if (!station) {
    return nothing(fmt::format("No station has the id {} (`marlune stations near LAT LON` finds stations).",
                               plainText(call.text(0))));
  }
  const auto* days = call.option("--days");
  Chart chart;
  chart.title = titleOf(*station);
  const Calendar calendar = provider.calendarForStation(station);
  chart.zone = calendar.timeZone();
  chart.midnights =
      midnightsFrom(calendar, instant, days == nullptr ? kDefaultDays : std::get<std::int64_t>(*days));
  Events all = gather(provider, station, chart.begin(), chart.end());
  Events found = provider.filterEventsToDate(all, chart.begin(), chart.end() - 1);
  if (found.empty()) {
    return nothing(
        fmt::format("No tides of these days for {}: the disk does not hold them and the tide service "
                    "did not give them (is it reachable? --local needs no network).",
                    chart.title));
  }
  drawInUnitOf(provider, chart, all);
  chart.events = provider.filterEventsToDate(all, chart.begin(), chart.end() - 1);
  chart.line = lineOver(provider, all, chart);
  const std::int64_t marked = wholeSecondsOf(instant);
  if (marked >= chart.line.front().time && marked <= chart.line.back().time && marked != chart.begin()) {
    chart.mark = {call.has(1) ? "At" : "Now",
                  {marked, provider.interopolateTideLevel(all, static_cast<double>(marked))}};
  }
  if (session.local()) chart.note = "Predictions for planning; not for navigation.";
  return answerOf(std::move(chart), std::move(found), call);
}

}  // namespace

std::vector<Command> chartCommands() {
  return {
      {"chart",
       {{"ID", Kind::station}, {"INSTANT", Kind::instant, Argument::Presence::optional}},
       {{"--days", "N", Kind::days, "how many days, 1 to 366 (3)"},
        {"--svg", "FILE", Kind::text, "draw a picture instead"}},
       "draw the tide of a station from the day of INSTANT (now) on",
       Place::worker,
       chart},
  };
}

}  // namespace marlune::cli
