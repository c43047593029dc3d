#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// Seconds since 1970-01-01 00:00:00 UTC of an instant written as "2025-01-01T03:04:05" with a zone behind
/// it: "Z", "+05:30" or "+0530". Nothing for any other text and for a date or time that does not exist; there
/// is no hour 24 and no second 60. Proleptic Gregorian calendar, years 0000 to 9999.
MARLUNE_API std::optional<std::int64_t> iso8601Seconds(std::string_view text);

/// The same for a time that may have a fraction of a second, which is dropped: the first "." of the text and
/// the digits behind it.
MARLUNE_API std::optional<std::int64_t> iso8601SecondsWithoutFraction(std::string_view text);

}  // namespace marlune
