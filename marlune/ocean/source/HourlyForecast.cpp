#include "marlune/ocean/source/HourlyForecast.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "marlune/formats/JsonReader.h"
#include "marlune/ocean/source/LocalHours.h"

namespace marlune {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t secondsOfDay = 86'400;
/// More than a year of hours. What is longer is no answer to what is asked for, and would be kept whole.
constexpr std::size_t mostHours = 10'000;

struct Row {
  LocalHours::Hour hour;
  std::string_view time;  // of the tree
  std::size_t index = 0;  // in the answer
};

/// Nothing when an element is no text.
std::optional<std::vector<Row>> rowsOf(array times, const TimeZone& zone) {
  std::vector<Row> rows;
  rows.reserve(times.size());
  LocalHours hours(zone);
  std::size_t index = 0;
  for (const element value : times) {
    std::string_view text;
    if (value.get_string().get(text) != simdjson::SUCCESS) return std::nullopt;
    if (const auto hour = hours.read(text)) rows.push_back({*hour, text, index});
    ++index;
  }
  const auto earlier = [](const Row& a, const Row& b) { return a.hour.instant < b.hour.instant; };
  if (!std::is_sorted(rows.begin(), rows.end(), earlier)) std::stable_sort(rows.begin(), rows.end(), earlier);
  return rows;
}

/// The first `count` numbers, with `none` for a null and for what is missing at the end; nothing when one of
/// them is something else.
std::optional<std::vector<double>> columnOf(array values, std::size_t count) {
  std::vector<double> column(count, none);
  std::size_t index = 0;
  for (const element value : values) {
    if (index == count) break;
    if (value.get_double().get(column[index]) != simdjson::SUCCESS) {
      if (!value.is_null()) return std::nullopt;
      column[index] = none;
    }
    column[index] += 0.0;  // takes the sign off a zero
    ++index;
  }
  return column;
}

void takeRows(std::vector<double>& column, const std::vector<Row>& rows) {
  std::vector<double> taken;
  taken.reserve(rows.size());
  for (const Row& row : rows) taken.push_back(column[row.index]);
  column = std::move(taken);
}

std::string nameOfDate(std::int64_t date) {
  const CivilTime civil = TimeZone().civil(date);
  return fmt::format("{:04}-{:02}-{:02}", civil.year, civil.month, civil.day);
}

std::vector<HourlyForecast::Day> daysOf(const std::vector<Row>& rows, MidnightHour midnight) {
  std::vector<HourlyForecast::Day> days;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const LocalHours::Hour& hour = rows[i].hour;
    if (i > 0 && hour.date == rows[i - 1].hour.date) {
      days.back().end = i + 1;
      continue;
    }
    if (hour.beginsDay && midnight == MidnightHour::endsTheDayBeforeToo) {
      const std::int64_t before = hour.date - secondsOfDay;
      if (i == 0 || rows[i - 1].hour.date != before) days.push_back({nameOfDate(before), i, i});
      std::size_t past = i;
      while (past < rows.size() && rows[past].hour.instant == hour.instant) ++past;
      days.back().end = past;
    }
    days.push_back({std::string(rows[i].time.substr(0, 10)), i, i + 1});
  }
  return days;
}

HourlyReading failure(std::string_view what, std::string_view name = {}) {
  return {nullptr, fmt::format("{}{}", what, name)};
}

}  // namespace

HourlyReading readHourlyForecast(std::string_view json, std::span<const std::string_view> names,
                                 const TimeZone& zone, MidnightHour midnight, JsonReaders& readers) {
  const auto reader = readers.take();
  const auto root = reader->read(json);
  if (!root) return failure("the answer is no JSON: ", reader->error());
  object answer;
  if (root->get(answer) != simdjson::SUCCESS) return failure("the answer is no object");
  bool isError = false;
  if (answer["error"].get(isError) == simdjson::SUCCESS && isError) return failure("the service refuses");
  object hourly;
  array times;
  if (answer["hourly"].get(hourly) != simdjson::SUCCESS || hourly["time"].get(times) != simdjson::SUCCESS)
    return failure("the answer has no hours");
  const auto forecast = std::make_shared<HourlyForecast>();
  forecast->zone = zone;
  if (times.size() > mostHours) return failure("the answer has more hours than a forecast");
  const auto rows = rowsOf(times, zone);
  if (!rows) return failure("the answer has a time that is no text");
  const bool asTheyStand =
      rows->size() == times.size() && std::all_of(rows->begin(), rows->end(), [&rows](const Row& row) {
        return row.index == static_cast<std::size_t>(&row - rows->data());
      });
  forecast->columns.reserve(names.size());
  for (const std::string_view name : names) {
    array values;
    if (hourly[name].get(values) != simdjson::SUCCESS) return failure("the answer has no array ", name);
    auto column = columnOf(values, times.size());
    if (!column) return failure("the answer has something else than numbers in ", name);
    if (!asTheyStand) takeRows(*column, *rows);
    forecast->columns.push_back(std::move(*column));
  }
  forecast->instants.reserve(rows->size());
  for (const Row& row : *rows) forecast->instants.push_back(row.hour.instant);
  forecast->days = daysOf(*rows, midnight);
  return {forecast, {}};
}

}  // namespace marlune
