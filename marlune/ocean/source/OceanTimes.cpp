#include "marlune/ocean/source/OceanTimes.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <chrono>
#include <cmath>

namespace marlune::ocean_times {

namespace {

// The years 1 to 9999 less two days at either end, so that neither a zone nor a neighbouring day leads out.
constexpr double firstSecond = -62'135'596'800.0 + 2 * 86'400.0;
constexpr double lastSecond = 253'402'300'800.0 - 2 * 86'400.0;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

LocalDay localDay(const CivilTime& civil, const TimeZone& zone) {
  LocalDay day;
  day.start = zone.instant({civil.year, civil.month, civil.day});
  day.end = zone.instant({civil.year, civil.month, civil.day + 1});
  // Fields that ran over are put right by asking back, from noon: no clock change moves that to another day.
  day.date = zone.civil(zone.instant({civil.year, civil.month, civil.day, 12}));
  day.date.hour = day.date.minute = day.date.second = 0;
  day.name = fmt::format(FMT_COMPILE("{:04}-{:02}-{:02}"), day.date.year, day.date.month, day.date.day);
  return day;
}

int daysOfMonth(std::int64_t year, int month) {
  if (month == 2) return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

}  // namespace

std::optional<LocalDay> dayOf(Date date, const TimeZone& zone) {
  const double seconds = std::floor(secondsOf(date));
  if (!(seconds >= firstSecond && seconds < lastSecond)) return std::nullopt;
  return localDay(zone.civil(static_cast<std::int64_t>(seconds)), zone);
}

LocalDay dayAfter(const LocalDay& day, int days, const TimeZone& zone) {
  return localDay({day.date.year, day.date.month, day.date.day + days}, zone);
}

std::string utcMinute(std::int64_t instant) {
  const CivilTime civil = TimeZone().civil(instant);
  return fmt::format(FMT_COMPILE("{:04}{:02}{:02} {:02}:{:02}"), civil.year, civil.month, civil.day,
                     civil.hour, civil.minute);
}

std::string utcDay(std::int64_t instant) {
  const CivilTime civil = TimeZone().civil(instant);
  return fmt::format(FMT_COMPILE("{:04}{:02}{:02}"), civil.year, civil.month, civil.day);
}

std::optional<CivilTime> civilMinute(std::string_view text, char separator) {
  constexpr std::string_view form = "0000-00-00?00:00";
  if (text.size() != form.size()) return std::nullopt;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const bool fits = form[i] == '0'   ? isDigit(text[i])
                      : form[i] == '?' ? text[i] == separator
                                       : text[i] == form[i];
    if (!fits) return std::nullopt;
  }
  const auto number = [text](std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
  CivilTime civil;
  civil.year = number(0) * 100 + number(2);
  civil.month = number(5);
  civil.day = number(8);
  civil.hour = number(11);
  civil.minute = number(14);
  const bool exists = civil.month >= 1 && civil.month <= 12 && civil.day >= 1 &&
                      civil.day <= daysOfMonth(civil.year, civil.month) && civil.hour < 24 &&
                      civil.minute < 60;
  return exists ? std::optional(civil) : std::nullopt;
}

std::optional<std::int64_t> utcInstant(std::string_view text) {
  const auto civil = civilMinute(text, ' ');
  if (!civil) return std::nullopt;
  // Without the zone's tables: answers have such times by the thousand.
  using namespace std::chrono;
  const auto day = sys_days(year(static_cast<int>(civil->year)) / civil->month / civil->day);
  return (day + hours(civil->hour) + minutes(civil->minute)).time_since_epoch() / seconds(1);
}

std::optional<std::int64_t> localInstant(std::string_view text, const TimeZone& zone) {
  const auto civil = civilMinute(text, 'T');
  if (!civil) return std::nullopt;
  const std::int64_t instant = zone.instant(*civil);
  return zone.civil(instant) == *civil ? std::optional(instant) : std::nullopt;
}

}  // namespace marlune::ocean_times
