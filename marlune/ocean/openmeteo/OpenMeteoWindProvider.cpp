#include "marlune/ocean/openmeteo/OpenMeteoWindProvider.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <utility>
#include <vector>

#include "marlune/ocean/openmeteo/WindDays.h"
#include "marlune/ocean/source/OceanSource.h"
#include "marlune/ocean/source/OceanTimes.h"

namespace marlune {

namespace {

using Answer = OpenMeteoWindProvider::Answer;
using Days = std::shared_ptr<const std::vector<wind_days::Day>>;

}  // namespace

struct OpenMeteoWindProvider::State : OceanSource {
  explicit State(const Host& sourceHost)
      : OceanSource(sourceHost, "open-meteo-wind"),
        baseURL(ocean::baseAddress(host.settings, host.settings.openMeteoForecastBaseURL,
                                   "https://forecast.marlune.example")),
        requests(std::make_shared<JoinedRequests<Days>>(queue)) {}

  std::string addressOf(double lat, double lng, const TimeZone& zone) const {
    return fmt::format(
        FMT_COMPILE("{}/v1/forecast?latitude={:f}&longitude={:f}&hourly=wind_speed_10m,wind_direction_10m,"
                    "wind_gusts_10m&wind_speed_unit=mph&timezone={}&forecast_days=2"),
        baseURL, lat, lng, zone.name());
  }

  static Task<Days> fetch(std::shared_ptr<State> state, std::string address, TimeZone zone);
  static Task<Days> daysFor(const std::shared_ptr<State>& state, const std::string& address, TimeZone zone) {
    return askTogether<Days>(state->requests, address,
                             [state, address, zone] { return fetch(state, address, zone); });
  }
  static Task<Answer> daily(std::shared_ptr<State> state, double lat, double lng, Date date, TimeZone zone,
                            std::string locationId);

  const std::string baseURL;
  const std::shared_ptr<JoinedRequests<Days>> requests;  // by address
  BoundedCache<Answer> cache{maxOceanCacheItems};        // by location, zone and day
};

Task<Days> OpenMeteoWindProvider::State::fetch(std::shared_ptr<State> state, std::string address,
                                               TimeZone zone) {
  const HttpAnswer answer = co_await ocean::fetch(state->fetcher, std::move(address));
  HourlyReading reading;
  reading.error = ocean::failureOf(answer);
  if (reading.error.empty()) reading = wind_days::read(*answer.body, zone, state->readers);
  if (!reading.forecast) {
    state->host.log->line("Error fetching wind data: " + reading.error);
    co_return nullptr;
  }
  co_return std::make_shared<const std::vector<wind_days::Day>>(wind_days::daysOf(*reading.forecast));
}

Task<Answer> OpenMeteoWindProvider::State::daily(std::shared_ptr<State> state, double lat, double lng,
                                                 Date date, TimeZone zone, std::string locationId) {
  co_await resumeOn(state->queue);
  if (!ocean::isPlace(lat, lng)) co_return nullptr;
  const auto asked = ocean_times::dayOf(date, zone);
  if (!asked) co_return nullptr;
  const std::string place = locationId + "," + zone.name() + ",";
  if (const auto* known = state->cache.find(place + asked->name)) co_return *known;
  const Days days = co_await daysFor(state, state->addressOf(lat, lng, zone), zone);
  if (!days) co_return nullptr;
  // Another question that waited for the same forecast may have been first.
  if (const auto* known = state->cache.find(place + asked->name)) co_return *known;
  Answer answer;
  for (const wind_days::Day& day : *days) {
    auto wind = std::make_shared<const WindData>(lat, lng, day.samples, "mph");
    state->cache.store(place + day.name, wind);
    if (day.name == asked->name) answer = std::move(wind);
  }
  co_return answer;
}

OpenMeteoWindProvider::OpenMeteoWindProvider(const Host& host) : state_(std::make_shared<State>(host)) {}

OpenMeteoWindProvider::~OpenMeteoWindProvider() {
  state_->close();
}

Task<Answer> OpenMeteoWindProvider::getDailyWindData(double lat, double lng, Date date, TimeZone timezone,
                                                     std::string locationId) {
  return inOwnChain(State::daily(state_, lat, lng, date, timezone, std::move(locationId)));
}

}  // namespace marlune
