#pragma once

#include <optional>
#include <string>

#include "cli/Session.h"

namespace marlune::cli {

/// The station of an id, or an empty pointer, with which operations answer nothing. A published worldwide
/// point is made known to the provider.
StationPtr stationOf(Session& session, const std::string& id);

/// The range fetch, waiting for its completion; not for the main thread.
std::optional<Events> fetchEvents(Session& session, const StationPtr& station, Date from, Date to);

/// The events that a call names; none where a fetch found nothing.
Events eventsOf(Session& session, const EventSource& source);

/// How people read them.
Reading readingOf(Session& session, const EventSource& source);

}  // namespace marlune::cli
