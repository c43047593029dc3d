#include "cli/Fetching.h"

#include <atomic>
#include <future>
#include <memory>
#include <utility>

namespace marlune::cli {

StationPtr stationOf(Session& session, const std::string& id) {
  auto& provider = session.provider();
  if (auto station = provider.getTideStationById(id)) return station;
  if (!TideStation::isGlobalStationId(id)) return nullptr;
  auto point = provider.globalStationById(id);
  provider.registerGlobalStation(point);
  return point;
}

std::optional<Events> fetchEvents(Session& session, const StationPtr& station, Date from, Date to) {
  struct First {
    std::atomic<bool> called = false;
    std::promise<std::optional<Events>> events;
  };
  auto first = std::make_shared<First>();
  auto answer = first->events.get_future();
  // Some providers complete twice, with what they have and with what they found; the first counts.
  session.provider().fetchTideEventsForStation(station, from, to,
                                               [first = std::move(first)](std::optional<Events> events) {
                                                 if (!first->called.exchange(true))
                                                   first->events.set_value(std::move(events));
                                               });
  return answer.get();
}

Events eventsOf(Session& session, const EventSource& source) {
  if (!source.fetch) return source.events;
  const auto& fetch = *source.fetch;
  return fetchEvents(session, stationOf(session, fetch.stationId), fetch.from, fetch.to).value_or(Events());
}

Reading readingOf(Session& session, const EventSource& source) {
  return source.fetch ? readingOf(session, source.fetch->stationId) : readingOf(session, StationPtr());
}

}  // namespace marlune::cli
