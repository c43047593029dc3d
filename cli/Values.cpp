#include "cli/Values.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

namespace marlune::cli {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Reads ISO 8601 from left to right; once something did not fit, everything after it fails too.
class InstantReader {
 public:
  explicit InstantReader(std::string_view text) : rest_(text) {}

  std::optional<Date> read() {
    const int year = digits(4);
    const bool extended = skip('-');
    const int month = digits(2);
    if (extended) require('-');
    const int day = digits(2);
    if (!skip('T') && !skip('t')) require(' ');
    const int hour = digits(2);
    const bool colons = skip(':');
    const int minute = digits(2);
    int second = 0;
    if (colons ? skip(':') : next(isDigit)) second = digits(2);
    const double fraction = skip('.') || skip(',') ? fractionDigits() : 0.0;
    const std::int64_t offset = zoneOffset();

    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (failed_ || !rest_.empty() || !date.ok() || hour > 23 || minute > 59 || second > 59)
      return std::nullopt;
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    const std::int64_t whole =
        days * 86400 + std::int64_t{hour} * 3600 + std::int64_t{minute} * 60 + second - offset;
    return dateFromSeconds(static_cast<double>(whole) + fraction);
  }

 private:
  bool next(bool (*isWanted)(char)) const { return !rest_.empty() && isWanted(rest_.front()); }

  bool skip(char wanted) {
    if (rest_.empty() || rest_.front() != wanted) return false;
    rest_.remove_prefix(1);
    return true;
  }

  void require(char wanted) {
    if (!skip(wanted)) failed_ = true;
  }

  int digits(int count) {
    int number = 0;
    for (int i = 0; i < count; ++i) {
      if (!next(isDigit)) {
        failed_ = true;
        return 0;
      }
      number = number * 10 + (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return number;
  }

  double fractionDigits() {
    std::string number = "0.";
    while (next(isDigit)) {
      number += rest_.front();
      rest_.remove_prefix(1);
    }
    if (number.size() == 2) failed_ = true;
    return parseNumber(number).value_or(0.0);
  }

  /// Seconds east of UTC.
  std::int64_t zoneOffset() {
    if (skip('Z') || skip('z')) return 0;
    const bool west = skip('-');
    if (!west) require('+');
    const int hours = digits(2);
    int minutes = 0;
    if (skip(':') || next(isDigit)) minutes = digits(2);
    if (hours > 23 || minutes > 59) failed_ = true;
    const std::int64_t seconds = std::int64_t{hours} * 3600 + std::int64_t{minutes} * 60;
    return west ? -seconds : seconds;
  }

  std::string_view rest_;
  bool failed_ = false;
};

template <class Number>
std::optional<Number> parseWhole(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
  const auto number = parseWhole<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<std::int64_t> parseInteger(std::string_view text, std::int64_t least, std::int64_t most) {
  const auto number = parseWhole<std::int64_t>(text);
  return number && *number >= least && *number <= most ? number : std::nullopt;
}

std::optional<Date> parseInstant(std::string_view text) {
  if (const auto seconds = parseNumber(text)) return dateFromSeconds(*seconds);
  return InstantReader(text).read();
}

std::string dayText(const TimeZone& zone, std::int64_t instant) {
  static constexpr std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  static constexpr std::array<const char*, 7> weekdays = {"Thu", "Fri", "Sat", "Sun", "Mon", "Tue", "Wed"};
  const CivilTime local = zone.civil(instant);
  const std::int64_t noon = TimeZone().instant({local.year, local.month, local.day, 12, 0, 0});
  const std::int64_t day = (noon - 43200) / 86400;  // since 1970-01-01, a Thursday
  const auto weekday = static_cast<std::size_t>((day % 7 + 7) % 7);
  return fmt::format("{} {} {} {}", weekdays[weekday], local.day,
                     months[static_cast<std::size_t>(local.month - 1)], local.year);
}

std::string clockText(const TimeZone& zone, std::int64_t instant) {
  const CivilTime local = zone.civil(instant);
  return fmt::format("{:02}:{:02}", local.hour, local.minute);
}

std::string momentText(const TimeZone& zone, std::int64_t instant) {
  const CivilTime local = zone.civil(instant);
  std::string text = fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", local.year, local.month, local.day,
                                 local.hour, local.minute);
  if (local.second != 0) text += fmt::format(":{:02}", local.second);
  return text + " " + zone.abbreviation(instant);
}

std::string durationText(double seconds) {
  if (seconds < 60) return fmt::format("{:.1f} s", seconds);
  const auto whole = static_cast<std::int64_t>(seconds);
  return fmt::format("{} min {} s", whole / 60, whole % 60);
}

}  // namespace marlune::cli
