#include "marlune/ocean/openmeteo/WindDays.h"

#include <array>
#include <cmath>
#include <optional>
#include <utility>

namespace marlune::wind_days {

namespace {

enum Column : std::size_t { speed, direction, gust };
constexpr std::array<std::string_view, 3> columnNames = {"wind_speed_10m", "wind_direction_10m",
                                                         "wind_gusts_10m"};

}  // namespace

HourlyReading read(std::string_view json, const TimeZone& zone, JsonReaders& readers) {
  return readHourlyForecast(json, columnNames, zone, MidnightHour::beginsItsDay, readers);
}

std::vector<Day> daysOf(const HourlyForecast& forecast) {
  std::vector<Day> days;
  days.reserve(forecast.days.size());
  for (const HourlyForecast::Day& hours : forecast.days) {
    Day& day = days.emplace_back(Day{hours.name, {}});
    for (std::size_t hour = hours.begin; hour < hours.end; ++hour) {
      const double value = forecast.columns[Column::speed][hour];
      if (std::isnan(value)) continue;
      TimeSeriesData::Attributes attributes;
      const auto add = [&](std::string_view name, Column column) {
        const double number = forecast.columns[column][hour];
        if (!std::isnan(number)) attributes.emplace(name, numberAttribute(number));
      };
      add(ocean_attributes::direction, Column::direction);
      add(ocean_attributes::gust, Column::gust);
      day.samples.push_back(std::make_shared<const TimeSeriesData>(
          dateFromSeconds(static_cast<double>(forecast.instants[hour])), value,
          attributes.empty() ? std::nullopt : std::optional(std::move(attributes)),
          std::string(ocean_series::wind)));
    }
  }
  return days;
}

}  // namespace marlune::wind_days
