#pragma once

#include <cstdint>

#include "marlune/time/Calendar.h"

namespace marlune {

/// Two instants in seconds since 1970, both inclusive.
struct InstantRange {
  std::int64_t begin = 0;
  std::int64_t end = 0;
};

/// A month with its margins: from 00:00:00 on the last day of the month before to 23:59:00 on the first day
/// of the month after, so that every instant of the month itself has an extreme on both sides. `month` is 1
/// to 12.
inline InstantRange monthRangeWithMargins(const Calendar& calendar, std::int64_t year, int month) {
  const int before = month < 2 ? 12 : month - 1;
  const std::int64_t yearBefore = before == 12 ? year - 1 : year;
  const int after = month >= 12 ? 1 : month + 1;
  const std::int64_t yearAfter = after == 1 ? year + 1 : year;
  return {calendar.instant({yearBefore, before, daysInMonth(before, yearBefore), 0, 0, 0}),
          calendar.instant({yearAfter, after, 1, 23, 59, 0})};
}

}  // namespace marlune
