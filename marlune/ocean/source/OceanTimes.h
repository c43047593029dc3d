#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

/// The calendar questions and the time formats that the sources of ocean conditions share. Instants are whole
/// seconds since 1970 in UTC. Safe from any thread.
namespace marlune::ocean_times {

/// A calendar day of a zone.
struct LocalDay {
  std::int64_t start = 0;  ///< its first instant, also where a clock change skips midnight
  std::int64_t end = 0;    ///< the first instant of the next day
  CivilTime date;          ///< at midnight
  std::string name;        ///< "2025-03-05"
};

/// The day that an instant lies in; nothing outside the years 1 to 9999.
std::optional<LocalDay> dayOf(Date date, const TimeZone& zone);
/// The day some calendar days later, or earlier, by name. Requires a result within the years 1 to 9999.
LocalDay dayAfter(const LocalDay& day, int days, const TimeZone& zone);

/// "20250305 14:30" and "20250305" in UTC. Require an instant within the years 0 to 9999.
std::string utcMinute(std::int64_t instant);
std::string utcDay(std::int64_t instant);

/// The date and time of "2025-03-05 14:30" with `separator` between the two; nothing for any other text and
/// for a date or time that does not exist.
std::optional<CivilTime> civilMinute(std::string_view text, char separator);
/// The instant of "2025-03-05 14:30" in UTC.
std::optional<std::int64_t> utcInstant(std::string_view text);
/// The instant of "2025-03-05T14:30" in a zone: nothing also where a clock change skips that time; the first
/// of two.
std::optional<std::int64_t> localInstant(std::string_view text, const TimeZone& zone);

}  // namespace marlune::ocean_times
