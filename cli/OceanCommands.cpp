#include <future>
#include <utility>

#include "cli/OceanRecords.h"
#include "cli/Session.h"
#include "marlune/ocean/openmeteo/OpenMeteoDataProvider.h"

namespace marlune::cli {
namespace {

using Ocean = OceanDataServiceProvider;

const char* const kNone = "There is nothing known for this place and day.";

/// Waits for a task's end; not for the main thread.
template <class T>
T resultOf(Task<T> task) {
  std::promise<T> ended;
  auto end = ended.get_future();
  start(std::move(task), [&](T value) { ended.set_value(std::move(value)); });
  return end.get();
}

/// LAT LON INSTANT ZONE LOCATION, of the service or of one of its sources.
template <class T, class Source>
T askDay(Source& source, Task<T> (Source::*question)(double, double, Date, TimeZone, std::string),
         const Call& call) {
  return resultOf(
      (source.*question)(call.number(0), call.number(1), call.instant(2), call.zone(3), call.text(4)));
}

/// LAT LON FROM TO ZONE LOCATION.
template <class T, class Source>
T askInterval(Source& source, Task<T> (Source::*question)(double, double, Date, Date, TimeZone, std::string),
              const Call& call) {
  return resultOf((source.*question)(call.number(0), call.number(1), call.instant(2), call.instant(3),
                                     call.zone(4), call.text(5)));
}

Answer temperature(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailyTemperatureData, call), call.zone(3),
                  kNone);
}
Answer temperatureAt(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getTemperatureDataAtTime, call), call.zone(3),
                  kNone);
}
Answer airTemperature(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailyObservedAirTemperatureData, call),
                  call.zone(3), kNone);
}
Answer swell(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailySwellData, call), call.zone(3), kNone);
}
Answer wind(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailyWindData, call), call.zone(3), kNone);
}
Answer windObserved(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailyObservedWindData, call), call.zone(3),
                  kNone);
}
Answer windForecast(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailyForecastWindData, call), call.zone(3),
                  kNone);
}

Answer currentsDay(Context& context, const Call& call) {
  return answerOf(askDay(context.session.ocean(), &Ocean::getDailyOceanCurrentData, call), call.zone(3),
                  kNone, "kt");
}
Answer currents(Context& context, const Call& call) {
  return answerOf(askInterval(context.session.ocean(), &Ocean::getOceanCurrentData, call), call.zone(4),
                  kNone, "kt");
}
Answer marineCurrentsDay(Context& context, const Call& call) {
  auto& marine = context.session.ocean().service();
  return answerOf(askDay(marine, &OpenMeteoDataProvider::getDailyOceanCurrentData, call), call.zone(3), kNone,
                  "mph");
}
Answer marineCurrents(Context& context, const Call& call) {
  auto& marine = context.session.ocean().service();
  return answerOf(askInterval(marine, &OpenMeteoDataProvider::getOceanCurrentData, call), call.zone(4), kNone,
                  "mph");
}

Answer coverage(Context& context, const Call& call) {
  return answerOf(std::optional(
      resultOf(context.session.ocean().hasCurrentsCoverage(call.number(0), call.number(1), call.text(2)))));
}

}  // namespace

std::vector<Command> oceanCommands() {
  constexpr Argument lat{"LAT", Kind::number};
  constexpr Argument lon{"LON", Kind::number};
  constexpr Argument zone{"ZONE", Kind::zone};
  constexpr Argument location{"LOCATION"};
  const std::vector<Argument> ofDay = {lat, lon, {"INSTANT", Kind::instant}, zone, location};
  const std::vector<Argument> ofInterval = {lat,  lon,     {"FROM", Kind::instant}, {"TO", Kind::instant},
                                            zone, location};
  constexpr auto place = Place::worker;
  return {
      {"ocean temperature", ofDay, {}, "water temperature of a day", place, temperature},
      {"ocean temperature-at", ofDay, {}, "water temperature at an instant", place, temperatureAt},
      {"ocean air-temperature",
       ofDay,
       {},
       "air temperature of a day, as observed (US)",
       place,
       airTemperature},
      {"ocean swell", ofDay, {}, "swell of a day", place, swell},
      {"ocean wind", ofDay, {}, "wind of a day, forecast", place, wind},
      {"ocean wind-observed", ofDay, {}, "wind of a day, as observed (US)", place, windObserved},
      {"ocean wind-forecast", ofDay, {}, "wind of a day, by the US weather service", place, windForecast},
      {"ocean currents-day", ofDay, {}, "currents of a day, with six hours before", place, currentsDay},
      {"ocean currents", ofInterval, {}, "currents of an interval", place, currents},
      {"ocean coverage", {lat, lon, location}, {}, "is there a station of currents near?", place, coverage},
      {"ocean marine-currents-day",
       ofDay,
       {},
       "currents of a day, by the marine forecast",
       place,
       marineCurrentsDay},
      {"ocean marine-currents",
       ofInterval,
       {},
       "currents of an interval, by the marine forecast",
       place,
       marineCurrents},
  };
}

}  // namespace marlune::cli
