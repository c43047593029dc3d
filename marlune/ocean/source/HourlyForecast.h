#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// The hours of a forecast in columns, in time order, and the days of its zone as ranges of them. One is
/// shared by all who keep a day of it, and no longer changes.
struct HourlyForecast {
  struct Day {
    std::string name;  ///< "2025-03-05"
    std::size_t begin = 0;
    std::size_t end = 0;  ///< past its last hour
  };

  TimeZone zone;
  std::vector<std::int64_t> instants;
  /// A value for each hour, in the order of the names asked for; not a number where the service has none.
  std::vector<std::vector<double>> columns;
  std::vector<Day> days;  ///< in time order, each with at least one hour
};

/// Whether the hour that begins a day also ends the day before, which it then also makes a day of the
/// forecast.
enum class MidnightHour { beginsItsDay, endsTheDayBeforeToo };

struct HourlyReading {
  std::shared_ptr<const HourlyForecast> forecast;  ///< empty when the answer could not be decoded
  std::string error;                               ///< then: why, for people
};

/// Decodes a forecast service's answer, of which it takes the arrays `names` and the times beside them; see
/// docs/formats.md. An hour whose time is none, or does not exist in the zone, is left out.
HourlyReading readHourlyForecast(std::string_view json, std::span<const std::string_view> names,
                                 const TimeZone& zone, MidnightHour midnight, JsonReaders& readers);

}  // namespace marlune
