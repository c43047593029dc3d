#include "marlune/time/Calendar.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace marlune {

namespace {

std::int64_t floorSeconds(Date date) {
  return wholeSecondsOf(dateFromSeconds(std::floor(secondsOf(date))));
}

// Days since 1970 of the first of a month. Proleptic Gregorian; from std::chrono's calendar, whose years
// are limited to 16 bits.
std::int64_t monthStartInDays(std::int64_t year, int month) {
  const std::chrono::year_month_day first{std::chrono::year{static_cast<int>(year)},
                                          std::chrono::month{static_cast<unsigned>(month)},
                                          std::chrono::day{1}};
  return std::chrono::sys_days{first}.time_since_epoch().count();
}

}  // namespace

CivilTime Calendar::components(Date date) const {
  return zone_.civil(floorSeconds(date));
}

MonthSpan Calendar::monthSpan(std::int64_t instant) const {
  const OffsetPeriod period = zone_.offsetPeriod(instant);
  const CivilTime civil = zone_.civil(instant);
  MonthSpan span{civil.year, civil.month, period.from, period.until};
  if (civil.year < -9999 || civil.year > 9999) {
    span.from = instant;
    span.until = period.until > instant ? instant + 1 : instant;
    return span;
  }
  const bool december = civil.month == 12;
  const std::int64_t begin = monthStartInDays(civil.year, civil.month) * 86400 - period.offset;
  const std::int64_t end =
      monthStartInDays(december ? civil.year + 1 : civil.year, december ? 1 : civil.month + 1) * 86400 -
      period.offset;
  span.from = std::max(span.from, begin);
  span.until = std::min(span.until, end);
  return span;
}

Date Calendar::addingMonths(Date date, int months) const {
  const double seconds = secondsOf(date);
  const double whole = std::floor(seconds);
  CivilTime civil = components(date);
  const std::int64_t monthIndex = civil.year * 12 + (civil.month - 1) + months;
  civil.year = monthIndex >= 0 ? monthIndex / 12 : -((11 - monthIndex) / 12);
  civil.month = static_cast<int>(monthIndex - civil.year * 12) + 1;
  civil.day = std::min(civil.day, daysInMonth(civil.month, civil.year));
  return dateFromSeconds(static_cast<double>(instant(civil)) + (seconds - whole));
}

int daysInMonth(std::int64_t month, std::int64_t year) {
  if (month > 11) return 31;
  if (month == 4 || month == 6 || month == 9 || month == 11) return 30;
  if (month != 2) return 31;
  if (year % 400 == 0) return 29;
  if (year % 100 == 0) return 28;
  return year % 4 == 0 ? 29 : 28;
}

}  // namespace marlune
