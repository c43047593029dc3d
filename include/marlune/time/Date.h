#pragma once

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>

namespace marlune {

/// An instant: seconds since 1970-01-01 00:00:00 UTC as a double, fractions kept.
using Date = std::chrono::sys_time<std::chrono::duration<double>>;

/// The instant `seconds` after 1970-01-01 00:00:00 UTC.
constexpr Date dateFromSeconds(double seconds) {
  return Date{std::chrono::duration<double>{seconds}};
}

/// Seconds since 1970 of `date`, fractions kept.
constexpr double secondsOf(Date date) {
  return date.time_since_epoch().count();
}

/// Seconds since 1970 of `date`, truncated toward zero. What does not fit is held at the nearest 64-bit
/// value; no number at all gives 0.
inline std::int64_t wholeSecondsOf(Date date) {
  const double seconds = secondsOf(date);
  if (std::isnan(seconds)) return 0;
  constexpr double limit = 9223372036854775808.0;
  if (seconds >= limit) return std::numeric_limits<std::int64_t>::max();
  if (seconds < -limit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(seconds);
}

}  // namespace marlune
