#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/records/TimeSeriesData.h"
#include "marlune/ocean/source/HourlyForecast.h"
#include "marlune/time/TimeZone.h"

/// The days of an hourly wind forecast. Safe from any thread.
namespace marlune::wind_days {

struct Day {
  std::string name;    ///< "2025-03-05", in the zone of the forecast
  TimeSeries samples;  ///< of its hours, from its midnight until before the next
};

/// Decodes an answer of the wind forecast.
HourlyReading read(std::string_view json, const TimeZone& zone, JsonReaders& readers);
std::vector<Day> daysOf(const HourlyForecast& forecast);

}  // namespace marlune::wind_days
