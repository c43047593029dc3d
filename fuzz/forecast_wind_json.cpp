#include "fuzz/Target.h"
#include "marlune/ocean/openmeteo/WindDays.h"
#include "marlune/ocean/source/OceanTimes.h"

/// Every sample lies in the one day that it is filed under, in time order, whatever the zone, and is a finite
/// number; a failure has a text.
MARLUNE_FUZZ_TARGET(json) {
  JsonReaders readers;
  for (const char* const name : {"UTC", "America/Los_Angeles", "Africa/Cairo", "Australia/Lord_Howe"}) {
    const TimeZone zone = TimeZone::named(name).value_or(TimeZone());
    const HourlyReading reading = wind_days::read(json, zone, readers);
    MARLUNE_FUZZ_REQUIRE((reading.forecast == nullptr) == !reading.error.empty());
    if (!reading.forecast) continue;
    double last = -HUGE_VAL;
    for (const wind_days::Day& day : wind_days::daysOf(*reading.forecast)) {
      for (const auto& sample : day.samples) {
        MARLUNE_FUZZ_REQUIRE(secondsOf(sample->date) >= last && std::isfinite(sample->value));
        last = secondsOf(sample->date);
        const auto its = ocean_times::dayOf(sample->date, zone);
        MARLUNE_FUZZ_REQUIRE(!its || its->name == day.name);
        MARLUNE_FUZZ_REQUIRE(sample->series == "Wind" &&
                             (!sample->attributes || !sample->attributes->empty()));
      }
    }
  }
}
