#include "marlune/formats/Iso8601.h"

#include <cstddef>
#include <string>

namespace marlune {

namespace {

constexpr std::string_view form = "0000-00-00T00:00:00";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool hasForm(std::string_view text, std::string_view expected) {
  if (text.size() != expected.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (expected[i] == '0' ? !isDigit(text[i]) : text[i] != expected[i]) return false;
  }
  return true;
}

int number(std::string_view text, std::size_t at, std::size_t length) {
  int value = 0;
  for (const char digit : text.substr(at, length)) value = value * 10 + (digit - '0');
  return value;
}

int daysOfMonth(int year, int month) {
  if (month == 2) return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// The calendar is taken to begin in March, so that the leap day ends a year, and to go round in 400 years.
std::int64_t daysSince1970(int year, int month, int day) {
  const std::int64_t shifted = month > 2 ? year : year - 1;
  const std::int64_t era = (shifted >= 0 ? shifted : shifted - 399) / 400;
  const std::int64_t yearOfEra = shifted - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

/// Seconds east of UTC.
std::optional<int> offsetOf(std::string_view zone) {
  if (zone == "Z") return 0;
  if (zone.empty() || (zone[0] != '+' && zone[0] != '-')) return std::nullopt;
  const std::string_view digits = zone.substr(1);
  if (!hasForm(digits, "00:00") && !hasForm(digits, "0000")) return std::nullopt;
  const int hours = number(digits, 0, 2);
  const int minutes = number(digits, digits.size() - 2, 2);
  if (hours > 23 || minutes > 59) return std::nullopt;
  const int seconds = (hours * 60 + minutes) * 60;
  return zone[0] == '-' ? -seconds : seconds;
}

}  // namespace

std::optional<std::int64_t> iso8601Seconds(std::string_view text) {
  if (!hasForm(text.substr(0, form.size()), form)) return std::nullopt;
  const int year = number(text, 0, 4);
  const int month = number(text, 5, 2);
  const int day = number(text, 8, 2);
  const int hour = number(text, 11, 2);
  const int minute = number(text, 14, 2);
  const int second = number(text, 17, 2);
  if (month < 1 || month > 12 || day < 1 || day > daysOfMonth(year, month)) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const auto offset = offsetOf(text.substr(form.size()));
  if (!offset) return std::nullopt;
  const int ofDay = (hour * 60 + minute) * 60 + second;
  return daysSince1970(year, month, day) * 86'400 + ofDay - *offset;
}

std::optional<std::int64_t> iso8601SecondsWithoutFraction(std::string_view text) {
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos) return iso8601Seconds(text);
  std::size_t end = point + 1;
  while (end < text.size() && isDigit(text[end])) ++end;
  return iso8601Seconds(std::string(text.substr(0, point)).append(text.substr(end)));
}

}  // namespace marlune
