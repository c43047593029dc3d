#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "marlune/ocean/source/OceanTimes.h"
#include "marlune/time/Date.h"

namespace marlune {

/// The whole seconds since 1970 of a question about currents, both ends included, and the days in UTC that
/// they lie in.
struct CurrentsPeriod {
  static constexpr std::int64_t day = 86'400;
  static constexpr std::int64_t longest = 366 * day;

  std::int64_t from = 0;
  std::int64_t to = 0;

  /// First instants of the first and of the last day.
  std::int64_t firstDay() const { return dayOf(from); }
  std::int64_t lastDay() const { return dayOf(to); }
  bool holds(std::int64_t instant) const { return instant >= from && instant <= to; }
  bool operator==(const CurrentsPeriod&) const = default;

  static std::int64_t dayOf(std::int64_t instant) {
    const std::int64_t within = instant % day;
    return instant - (within < 0 ? within + day : within);
  }

  /// Nothing for a question that is none: ends the wrong way round, more than 366 days, an end that is no
  /// instant of the years 1 to 9999.
  static std::optional<CurrentsPeriod> of(Date from, Date to) {
    if (!ocean_times::dayOf(from, TimeZone()) || !ocean_times::dayOf(to, TimeZone())) return std::nullopt;
    const CurrentsPeriod period{static_cast<std::int64_t>(std::ceil(secondsOf(from))),
                                static_cast<std::int64_t>(std::floor(secondsOf(to)))};
    if (period.from > period.to || period.to - period.from > longest) return std::nullopt;
    return period;
  }
};

/// Puts rows in the order of their instants, as `instantOf` tells them; those of equal instants stay in the
/// order that they came in. Leaves alone as many at the front as `before` says.
template <class Rows, class InstantOf>
void putInTimeOrder(Rows& rows, InstantOf instantOf, std::size_t before = 0) {
  const auto begin = rows.begin() + static_cast<std::ptrdiff_t>(before);
  const auto earlier = [&](const auto& a, const auto& b) { return instantOf(a) < instantOf(b); };
  if (!std::is_sorted(begin, rows.end(), earlier)) std::stable_sort(begin, rows.end(), earlier);
}

}  // namespace marlune
