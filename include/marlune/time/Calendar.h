#pragma once

#include <cstdint>

#include "marlune/base/Export.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// A month of a calendar and the instants around a given one that are sure to lie in it.
struct MonthSpan {
  std::int64_t year = 1970;
  int month = 1;           ///< 1 to 12
  std::int64_t from = 0;   ///< first instant of the span, inclusive
  std::int64_t until = 0;  ///< end of the span, exclusive

  bool holds(std::int64_t instant) const { return instant >= from && instant < until; }
};

/// The Gregorian calendar in one time zone: a small value, safe to use from any thread.
class MARLUNE_API Calendar {
 public:
  explicit Calendar(TimeZone zone) : zone_(zone) {}

  const TimeZone& timeZone() const { return zone_; }

  CivilTime components(std::int64_t instant) const { return zone_.civil(instant); }
  /// Of a date with a fraction, the second that it lies in.
  CivilTime components(Date date) const;

  /// The month that an instant lies in. The span is not always the whole month: it ends at a clock change.
  /// Walk a list in order and ask again only when an instant is outside the span at hand.
  MonthSpan monthSpan(std::int64_t instant) const;

  /// As TimeZone::instant.
  std::int64_t instant(const CivilTime& local) const { return zone_.instant(local); }

  /// The same local time `months` later, on the last day of the month where the day does not exist.
  Date addingMonths(Date date, int months) const;

 private:
  TimeZone zone_;
};

/// Number of days of a month, 1 to 12, in the Gregorian calendar. Any number above 11 counts as December; any
/// other number that is no month has 31 days.
MARLUNE_API int daysInMonth(std::int64_t month, std::int64_t year);

}  // namespace marlune
