#include "marlune/ocean/source/LocalHours.h"

#include "marlune/ocean/source/OceanTimes.h"

namespace marlune {

namespace {

constexpr std::size_t dateLength = 11;  // with the separator
constexpr std::size_t timeLength = 16;

constexpr std::int64_t secondsOfHour = 3600;
constexpr std::int64_t secondsOfMinute = 60;
/// More than any clock change. A time so long after the last one cannot have come before it, too.
constexpr std::int64_t longestChange = 26 * secondsOfHour;

/// Two digits as a number below `limit`; -1 for anything else.
int twoDigits(std::string_view text, std::size_t at, int limit) {
  const int tens = text[at] - '0';
  const int ones = text[at + 1] - '0';
  if (tens < 0 || tens > 9 || ones < 0 || ones > 9) return -1;
  const int value = tens * 10 + ones;
  return value < limit ? value : -1;
}

}  // namespace

bool LocalHours::readDate(std::string_view text) {
  const auto civil = ocean_times::civilMinute(text, 'T');
  if (!civil) return false;
  const CivilTime midnight = {civil->year, civil->month, civil->day};
  dateText_ = text.substr(0, dateLength);
  date_ = TimeZone().instant(midnight);
  dayStart_ = zone_.instant(midnight);
  return true;
}

std::optional<LocalHours::Hour> LocalHours::read(std::string_view text) {
  if (text.size() != timeLength) return std::nullopt;
  if (text.substr(0, dateLength) != dateText_ && !readDate(text)) return std::nullopt;
  const int hour = twoDigits(text, dateLength, 24);
  const int minute = twoDigits(text, dateLength + 3, 60);
  if (hour < 0 || minute < 0 || text[dateLength + 2] != ':') return std::nullopt;
  std::int64_t instant = date_ + hour * secondsOfHour + minute * secondsOfMinute - period_.offset;
  if (instant < period_.from + longestChange || instant >= period_.until) {
    const auto exact = ocean_times::localInstant(text, zone_);
    if (!exact) return std::nullopt;
    instant = *exact;
    if (instant < period_.from || instant >= period_.until) period_ = zone_.offsetPeriod(instant);
  }
  return Hour{instant, date_, instant == dayStart_};
}

}  // namespace marlune
