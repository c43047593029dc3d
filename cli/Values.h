#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

/// Numbers and instants as people and scripts write them on a command line. Strict: the whole text counts,
/// nothing around it, no locale. Pure functions.
namespace marlune::cli {

/// A finite decimal number.
std::optional<double> parseNumber(std::string_view text);

/// A whole number from `least` to `most`.
std::optional<std::int64_t> parseInteger(std::string_view text, std::int64_t least, std::int64_t most);

/// An instant: ISO 8601 date and time with a zone ("2025-03-05T12:00:00Z", "20250305T230000.5+1100"), or
/// seconds since 1970 as a decimal number.
std::optional<Date> parseInstant(std::string_view text);

/// "Wed 5 Mar 2025" in a zone.
std::string dayText(const TimeZone& zone, std::int64_t instant);

/// "04:51" in a zone.
std::string clockText(const TimeZone& zone, std::int64_t instant);

/// "2025-03-05 04:51 PST", with seconds where there are some.
std::string momentText(const TimeZone& zone, std::int64_t instant);

/// A duration for people: "0.8 s", "3 min 20 s".
std::string durationText(double seconds);

}  // namespace marlune::cli
