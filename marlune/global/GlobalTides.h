#pragma once

#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/tides/TideEvent.h"

namespace marlune {

class JsonReaders;

/// A year of highs and lows as the worldwide service sends it; docs/formats.md has its form. Pure functions,
/// safe from any thread.
namespace global_tides {

/// The events in the order of the document, each saying whether its level is in metres. One with an
/// unreadable time is passed over; a document that is not as it must be has none.
MARLUNE_API std::vector<TideEvent> eventsOf(std::string_view json, JsonReaders& readers);

}  // namespace global_tides

}  // namespace marlune
