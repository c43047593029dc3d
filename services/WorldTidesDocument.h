#pragma once

#include <string>

#include "services/WorldStations.h"

namespace marlune::services {

/// Every station as a JSON array of points. What a station lacks is left out, or null where NOAA is the
/// source, as either is met with.
std::string worldPointsDocument(const WorldStations& world);

/// The highs and lows of a station in a calendar year of its own zone, ascending in time, as a JSON object.
/// The same figures are written in several forms, one for each station by its id, so that a client meets
/// them all; docs/local-services.md has the rule.
std::string worldYearDocument(const WorldStations& world, const HarmonicDatabase& database,
                              const WorldStation& station, int year);

/// An answer of the same shape without a single event: `{"source":SOURCE,"tide_events":[]}`.
std::string worldEmptyDocument(const std::string& source);

/// `{"error":TEXT}`
std::string worldErrorDocument(const std::string& text);

}  // namespace marlune::services
