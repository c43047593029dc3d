#include "marlune/ocean/openmeteo/OpenMeteoDataProvider.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <map>
#include <utility>

#include "marlune/ocean/openmeteo/MarineDays.h"
#include "marlune/ocean/source/OceanSource.h"
#include "marlune/ocean/source/OceanTimes.h"

namespace marlune {

namespace {

using Temperatures = WaterTemperatureDataProvider::Answer;
using Swell = SwellDataProvider::Answer;
using Currents = OceanCurrentDataProvider::Answer;
using Forecast = std::shared_ptr<const HourlyForecast>;
using Day = std::shared_ptr<MarineDay>;

/// Where and for whom.
struct Place {
  double latitude;
  double longitude;
  TimeZone zone;
  std::string locationId;
};

void replaceAll(std::string& text, std::string_view part, std::string_view by) {
  if (part.empty()) return;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + by.size())) {
    text.replace(at, part.size(), by);
  }
}

/// Whoever reads a log must not learn the key from an address in it, as it is written or as it travels.
std::string withoutKey(std::string text, const std::string& key) {
  constexpr std::string_view instead = "***";
  replaceAll(text, encodedAddress("?" + key).substr(1), instead);
  replaceAll(text, key, instead);
  return text;
}

/// Days from one to another, both included.
std::size_t countOfDays(const CivilTime& first, const CivilTime& last) {
  return static_cast<std::size_t>((TimeZone().instant(last) - TimeZone().instant(first)) / 86'400 + 1);
}

}  // namespace

struct OpenMeteoDataProvider::State : OceanSource {
  explicit State(const Host& sourceHost)
      : OceanSource(sourceHost, "open-meteo-marine"),
        baseURL(ocean::baseAddress(host.settings, host.settings.openMeteoMarineBaseURL,
                                   "https://marine.marlune.example")),
        requests(std::make_shared<JoinedRequests<Forecast>>(queue)) {}

  std::string addressOf(const Place& place) const {
    return fmt::format(
        FMT_COMPILE("{}/v1/marine?latitude={:f}&longitude={:f}&hourly=sea_surface_temperature,"
                    "swell_wave_height,swell_wave_direction,swell_wave_period,ocean_current_velocity,"
                    "ocean_current_direction&length_unit=imperial&wind_speed_unit=mph&timezone={}"
                    "&forecast_days=9&apikey={}"),
        baseURL, place.latitude, place.longitude, place.zone.name(), host.settings.openMeteoApiKey);
  }

  static Task<Forecast> fetch(std::shared_ptr<State> state, std::string address, TimeZone zone);
  static Task<Forecast> forecastFor(const std::shared_ptr<State>& state, const Place& place);
  static Task<Day> day(std::shared_ptr<State> state, Place place, Date date);

  static Task<Temperatures> temperatureAt(std::shared_ptr<State> state, Place place, Date time);
  static Task<Temperatures> temperatures(std::shared_ptr<State> state, Place place, Date date);
  static Task<Swell> swell(std::shared_ptr<State> state, Place place, Date date);
  static Task<Currents> currents(std::shared_ptr<State> state, Place place, Date date);
  static Task<Currents> currentsBetween(std::shared_ptr<State> state, Place place, Date from, Date to);

  const std::string baseURL;
  const std::shared_ptr<JoinedRequests<Forecast>> requests;  // by address
  MarineDays days;
};

Task<Forecast> OpenMeteoDataProvider::State::fetch(std::shared_ptr<State> state, std::string address,
                                                   TimeZone zone) {
  const HttpAnswer answer = co_await ocean::fetch(state->fetcher, std::move(address));
  HourlyReading reading;
  reading.error = withoutKey(ocean::failureOf(answer), state->host.settings.openMeteoApiKey);
  if (reading.error.empty()) reading = MarineDays::read(*answer.body, zone, state->readers);
  if (!reading.forecast) state->host.log->line("Error fetching marine data: " + reading.error);
  co_return reading.forecast;
}

Task<Forecast> OpenMeteoDataProvider::State::forecastFor(const std::shared_ptr<State>& state,
                                                         const Place& place) {
  const std::string address = state->addressOf(place);
  return askTogether<Forecast>(state->requests, address,
                               [state, address, zone = place.zone] { return fetch(state, address, zone); });
}

Task<Day> OpenMeteoDataProvider::State::day(std::shared_ptr<State> state, Place place, Date date) {
  co_await resumeOn(state->queue);
  if (!ocean::isPlace(place.latitude, place.longitude)) co_return nullptr;
  const auto asked = ocean_times::dayOf(date, place.zone);
  if (!asked) co_return nullptr;
  if (auto known = state->days.find(place.locationId, asked->name, place.zone)) co_return known;
  const Forecast forecast = co_await forecastFor(state, place);
  if (!forecast) co_return nullptr;
  // Another question that waited for the same forecast may have been first.
  if (auto known = state->days.find(place.locationId, asked->name, place.zone)) co_return known;
  for (Day& kept : state->days.keep(forecast, place.locationId, place.latitude, place.longitude)) {
    if (kept->name() == asked->name) co_return std::move(kept);
  }
  co_return nullptr;
}

Task<Temperatures> OpenMeteoDataProvider::State::temperatureAt(std::shared_ptr<State> state, Place place,
                                                               Date time) {
  const Day found = co_await day(state, std::move(place), time);
  co_return found ? sampleNearestTo(time, found->temperature()) : nullptr;
}

Task<Temperatures> OpenMeteoDataProvider::State::temperatures(std::shared_ptr<State> state, Place place,
                                                              Date date) {
  const Day found = co_await day(state, std::move(place), date);
  co_return found ? found->temperature() : nullptr;
}

Task<Swell> OpenMeteoDataProvider::State::swell(std::shared_ptr<State> state, Place place, Date date) {
  const Day found = co_await day(state, std::move(place), date);
  co_return found ? found->swell() : nullptr;
}

Task<Currents> OpenMeteoDataProvider::State::currents(std::shared_ptr<State> state, Place place, Date date) {
  const Day found = co_await day(state, std::move(place), date);
  co_return found ? found->currents() : nullptr;
}

Task<Currents> OpenMeteoDataProvider::State::currentsBetween(std::shared_ptr<State> state, Place place,
                                                             Date from, Date to) {
  co_await resumeOn(state->queue);
  if (!ocean::isPlace(place.latitude, place.longitude) || !(from <= to)) co_return nullptr;
  const auto first = ocean_times::dayOf(from, place.zone);
  const auto last = ocean_times::dayOf(to, place.zone);
  if (!first || !last) co_return nullptr;
  // The days of the interval are counted, not walked: it may be as long as the calendar.
  const std::size_t count = countOfDays(first->date, last->date);
  auto days = state->days.between(place.locationId, first->name, last->name, place.zone);
  if (days.size() < count) {
    const Forecast forecast = co_await forecastFor(state, place);
    std::map<std::string, Day> byName;
    for (const Day& day : state->days.between(place.locationId, first->name, last->name, place.zone))
      byName[day->name()] = day;
    if (forecast) {
      for (const Day& day : state->days.keep(forecast, place.locationId, place.latitude, place.longitude)) {
        if (first->name <= day->name() && day->name() <= last->name) byName[day->name()] = day;
      }
    }
    days.clear();
    for (const auto& [name, day] : byName) days.push_back(day);
  }
  if (days.empty()) co_return nullptr;
  TimeSeries samples;
  for (const Day& day : days) {
    for (const auto& sample : day->currents()->timeSeries) {
      if (sample->date < from || sample->date > to) continue;
      // The hour that ends a day begins the next one, whose own forecast may be newer.
      if (!samples.empty() && samples.back()->date == sample->date) samples.pop_back();
      samples.push_back(sample);
    }
  }
  co_return std::make_shared<const OceanCurrentData>(place.latitude, place.longitude, std::move(samples),
                                                     OceanCurrentData::Events());
}

OpenMeteoDataProvider::OpenMeteoDataProvider(const Host& host) : state_(std::make_shared<State>(host)) {}

OpenMeteoDataProvider::~OpenMeteoDataProvider() {
  state_->close();
}

Task<Temperatures> OpenMeteoDataProvider::getTemperatureDataAtTime(double lat, double lng, Date time,
                                                                   TimeZone timezone,
                                                                   std::string locationId) {
  return inOwnChain(State::temperatureAt(state_, {lat, lng, timezone, std::move(locationId)}, time));
}

Task<Temperatures> OpenMeteoDataProvider::getDailyTemperatureData(double lat, double lng, Date date,
                                                                  TimeZone timezone, std::string locationId) {
  return inOwnChain(State::temperatures(state_, {lat, lng, timezone, std::move(locationId)}, date));
}

Task<Swell> OpenMeteoDataProvider::getDailySwellData(double lat, double lng, Date date, TimeZone timezone,
                                                     std::string locationId) {
  return inOwnChain(State::swell(state_, {lat, lng, timezone, std::move(locationId)}, date));
}

Task<Currents> OpenMeteoDataProvider::getDailyOceanCurrentData(double lat, double lng, Date date,
                                                               TimeZone timezone, std::string locationId) {
  return inOwnChain(State::currents(state_, {lat, lng, timezone, std::move(locationId)}, date));
}

Task<Currents> OpenMeteoDataProvider::getOceanCurrentData(double lat, double lng, Date from, Date to,
                                                          TimeZone timezone, std::string locationId) {
  return inOwnChain(State::currentsBetween(state_, {lat, lng, timezone, std::move(locationId)}, from, to));
}

}  // namespace marlune
