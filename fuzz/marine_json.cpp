#include "fuzz/Target.h"
#include "marlune/ocean/openmeteo/MarineDays.h"
#include "marlune/ocean/source/OceanTimes.h"

namespace {

/// In time order, and without a number that is none.
void requireSound(const TimeSeries& samples) {
  double last = -HUGE_VAL;
  for (const auto& sample : samples) {
    MARLUNE_FUZZ_REQUIRE(secondsOf(sample->date) >= last && std::isfinite(sample->value));
    MARLUNE_FUZZ_REQUIRE(!sample->attributes || sample->attributes->size() == 1);
    last = secondsOf(sample->date);
  }
}

void requireSound(const HourlyForecast& forecast) {
  MARLUNE_FUZZ_REQUIRE(forecast.columns.size() == 6);
  for (const auto& column : forecast.columns) MARLUNE_FUZZ_REQUIRE(column.size() == forecast.instants.size());
  for (const auto& hours : forecast.days) {
    MARLUNE_FUZZ_REQUIRE(hours.begin < hours.end && hours.end <= forecast.instants.size());
    for (std::size_t hour = hours.begin; hour < hours.end; ++hour) {
      const std::int64_t instant = forecast.instants[hour];
      const auto day = ocean_times::dayOf(dateFromSeconds(static_cast<double>(instant)), forecast.zone);
      if (!day || day->name == hours.name) continue;
      // An hour of another day is the first of the next one.
      MARLUNE_FUZZ_REQUIRE(day->start == instant && instant == forecast.instants[hours.end - 1]);
      MARLUNE_FUZZ_REQUIRE(day->date.year < 2 || hours.name < day->name);
    }
  }
}

}  // namespace

/// Days are ranges of hours in order, and each hour lies in the day that it is filed under or ends it,
/// whatever the zone; records hold finite numbers; a failure has a text.
MARLUNE_FUZZ_TARGET(json) {
  JsonReaders readers;
  for (const char* const name : {"UTC", "America/Los_Angeles", "Africa/Cairo", "Australia/Lord_Howe"}) {
    const TimeZone zone = TimeZone::named(name).value_or(TimeZone());
    const HourlyReading reading = MarineDays::read(json, zone, readers);
    MARLUNE_FUZZ_REQUIRE((reading.forecast == nullptr) == !reading.error.empty());
    if (!reading.forecast) continue;
    requireSound(*reading.forecast);
    MarineDays days;
    for (const auto& day : days.keep(reading.forecast, "a", 1, 2)) {
      requireSound(day->temperature()->timeSeries);
      requireSound(day->swell()->timeSeries);
      requireSound(day->currents()->timeSeries);
      MARLUNE_FUZZ_REQUIRE(days.find("a", day->name(), zone) != nullptr);
    }
  }
}
