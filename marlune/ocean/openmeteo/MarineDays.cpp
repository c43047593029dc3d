#include "marlune/ocean/openmeteo/MarineDays.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

namespace marlune {

namespace {

enum Column : std::size_t { temperature, height, direction, period, velocity, currentDirection };
constexpr std::array<std::string_view, 6> columnNames = {
    "sea_surface_temperature", "swell_wave_height",      "swell_wave_direction",
    "swell_wave_period",       "ocean_current_velocity", "ocean_current_direction"};

/// The day stands last, so that the days of a place in a zone follow each other.
std::string keyOf(std::string_view locationId, const TimeZone& zone, std::string_view day) {
  std::string key;
  key.reserve(locationId.size() + zone.name().size() + day.size() + 2);
  key += locationId;
  key += ',';
  key += zone.name();
  key += ',';
  key += day;
  return key;
}

/// The samples of some hours; adds none for a value that there is not.
class Samples {
 public:
  Samples(const HourlyForecast& forecast, std::size_t mostSamples) : forecast_(forecast) {
    samples_.reserve(mostSamples);
  }

  void add(std::size_t hour, Column column, std::string_view series = {},
           std::optional<Column> directionColumn = std::nullopt) {
    const double value = forecast_.columns[column][hour];
    if (std::isnan(value)) return;
    std::optional<TimeSeriesData::Attributes> attributes;
    if (directionColumn) {
      const double degrees = forecast_.columns[*directionColumn][hour];
      if (!std::isnan(degrees)) {
        attributes.emplace();
        attributes->emplace(ocean_attributes::direction, numberAttribute(degrees));
      }
    }
    samples_.push_back(std::make_shared<const TimeSeriesData>(
        dateFromSeconds(static_cast<double>(forecast_.instants[hour])), value, std::move(attributes),
        series.empty() ? std::nullopt : std::optional<std::string>(series)));
  }

  TimeSeries take() { return std::move(samples_); }

 private:
  const HourlyForecast& forecast_;
  TimeSeries samples_;
};

}  // namespace

const std::shared_ptr<const WaterTempData>& MarineDay::temperature() {
  if (temperature_) return temperature_;
  Samples samples(*forecast_, hours().end - hours().begin);
  for (std::size_t hour = hours().begin; hour < hours().end; ++hour) samples.add(hour, Column::temperature);
  return temperature_ =
             std::make_shared<const WaterTempData>(latitude_, longitude_, samples.take(), /*celsius=*/true);
}

const std::shared_ptr<const SwellData>& MarineDay::swell() {
  if (swell_) return swell_;
  Samples samples(*forecast_, 2 * (hours().end - hours().begin));
  for (std::size_t hour = hours().begin; hour < hours().end; ++hour) {
    samples.add(hour, Column::height, ocean_series::height, Column::direction);
    samples.add(hour, Column::period, ocean_series::period, Column::direction);
  }
  return swell_ = std::make_shared<const SwellData>(latitude_, longitude_, samples.take(), /*feet=*/true);
}

const std::shared_ptr<const OceanCurrentData>& MarineDay::currents() {
  if (currents_) return currents_;
  Samples samples(*forecast_, hours().end - hours().begin);
  for (std::size_t hour = hours().begin; hour < hours().end; ++hour)
    samples.add(hour, Column::velocity, ocean_series::velocity, Column::currentDirection);
  return currents_ = std::make_shared<const OceanCurrentData>(latitude_, longitude_, samples.take(),
                                                              OceanCurrentData::Events());
}

HourlyReading MarineDays::read(std::string_view json, const TimeZone& zone, JsonReaders& readers) {
  return readHourlyForecast(json, columnNames, zone, MidnightHour::endsTheDayBeforeToo, readers);
}

std::shared_ptr<MarineDay> MarineDays::find(std::string_view locationId, std::string_view day,
                                            const TimeZone& zone) const {
  const auto* known = days_.find(keyOf(locationId, zone, day));
  return known != nullptr ? *known : nullptr;
}

MarineDays::Days MarineDays::between(std::string_view locationId, std::string_view first,
                                     std::string_view last, const TimeZone& zone) const {
  const std::string firstKey = keyOf(locationId, zone, first);
  Days days;
  // Of the keys between those two others are longer: what comes behind the same location is no day.
  days_.visitRange(firstKey, keyOf(locationId, zone, last), [&](const std::string& key, const auto& day) {
    if (key.size() == firstKey.size()) days.push_back(day);
  });
  return days;
}

MarineDays::Days MarineDays::keep(const std::shared_ptr<const HourlyForecast>& forecast,
                                  std::string_view locationId, double lat, double lng) {
  Days days;
  const std::size_t count = std::min(forecast->days.size(), maxOceanCacheItems);
  days.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string key = keyOf(locationId, forecast->zone, forecast->days[i].name);
    const auto* known = days_.find(key);
    // The first midnight of a forecast ends a day of which it knows nothing else: a fuller one stays.
    const bool isSame = known != nullptr && (*known)->forecast() == forecast;
    const bool isFuller = known != nullptr && i == 0 && (*known)->hourCount() > 1 &&
                          forecast->days[i].end - forecast->days[i].begin == 1;
    if (isSame || isFuller) {
      days.push_back(*known);
      continue;
    }
    days.push_back(std::make_shared<MarineDay>(forecast, i, lat, lng));
    days_.store(key, days.back());
  }
  return days;
}

}  // namespace marlune
