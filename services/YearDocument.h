#pragma once

#include <optional>
#include <string>

#include "services/StationCatalogue.h"
#include "services/TidePredictor.h"

namespace marlune::services {

/// Years that the tide API answers for.
inline constexpr int kFirstDocumentYear = 1900;
inline constexpr int kLastDocumentYear = 2100;

/// The tide API's answer for one station and the calendar year in the station's own zone: an XML
/// document with one `s` element for the station and one `e` element for each high and low, ascending
/// in time. `t` is seconds since 1970 UTC, `l` feet above the station's datum, `w` "H" or "L".
///
/// Nothing, and a text in `error`, when the year is out of range, the data do not have the station, or
/// its zone is unknown.
std::optional<std::string> yearDocument(const HarmonicDatabase& database, const CatalogueStation& station,
                                        int year, std::string& error);

}  // namespace marlune::services
