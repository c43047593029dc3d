#include "marlune/ocean/OceanDataServiceProvider.h"

#include <fmt/format.h>

#include <optional>
#include <utility>

#include "marlune/tasks/OwnedQueue.h"
#include "marlune/tasks/WorkScope.h"

namespace marlune {

namespace {

enum class Region { usa, worldwide, other };

Region regionOf(const ApplicationBundle& application) {
  const std::string name = application.region().value_or("usa");
  if (name == "usa") return Region::usa;
  return name == "worldwide" ? Region::worldwide : Region::other;
}

/// A place, with what goes with it in every question.
struct Place {
  double lat;
  double lng;
  TimeZone timezone;
  std::string locationId;
};

struct Sources {
  Sources(const Host& host, const std::shared_ptr<SeriesDiskCache>& diskCache,
          std::shared_ptr<OpenMeteoWindProvider> windForecast)
      : service(host),
        noaaCurrents(host),
        ukhoCurrents(host),
        noaaWaterTemp(host, diskCache, "water_temperature", "water_temp_stations_usa"),
        noaaAirTemp(host, diskCache, "air_temperature", "air_temp_stations_usa"),
        noaaWind(host, diskCache),
        nwsWind(host, diskCache, fmt::format("Korvantis ({})", host.settings.contactEmail)),
        wind(std::move(windForecast)) {}

  OpenMeteoDataProvider service;
  NOAACurrentsDataProvider noaaCurrents;
  UKHOCurrentsDataProvider ukhoCurrents;
  NOAATemperatureDataProvider noaaWaterTemp;
  NOAATemperatureDataProvider noaaAirTemp;
  NOAAWindDataProvider noaaWind;
  NWSWindForecastProvider nwsWind;
  const std::shared_ptr<OpenMeteoWindProvider> wind;
};

template <class Record>
using Answer = OceanDataServiceProvider::Answer<Record>;

}  // namespace

/// What the service's tasks run on; they keep it beyond the service's life. The sources end with the service,
/// so a task looks whether they are still there each time it asks one.
struct OceanDataServiceProvider::State {
  State(const Host& host, const std::shared_ptr<SeriesDiskCache>& diskCache,
        std::shared_ptr<OpenMeteoWindProvider> windForecast)
      : region(regionOf(*host.application)),
        queue(std::make_shared<OwnedQueue>(host.executors->makeQueue("ocean", answersAtATime))),
        sources(std::in_place, host, diskCache, std::move(windForecast)) {}

  void close() {
    scope->close();
    sources.reset();
    queue->close();
  }

  /// The task that `question` makes of the sources; none once they are gone.
  template <class T, class Question>
  std::optional<Task<T>> taskOf(Question question) {
    const auto entered = WorkScope::enter(scope);
    return entered ? std::optional<Task<T>>(question(*sources)) : std::nullopt;
  }

  static Task<Answer<WaterTempData>> waterTemperature(std::shared_ptr<State> state, Place place, Date date);
  static Task<Answer<WaterTempData>> waterTemperatureAt(std::shared_ptr<State> state, Place place, Date time);
  static Task<Answer<OceanCurrentData>> currents(std::shared_ptr<State> state, Place place, Date from,
                                                 Date to);
  static Task<bool> coverage(std::shared_ptr<State> state, double lat, double lng, std::string locationId);

  // What waits for an answer must hold up no source, and hardly the others who wait.
  static constexpr std::size_t answersAtATime = 4;

  const Region region;
  const std::shared_ptr<OwnedQueue> queue;
  const std::shared_ptr<WorkScope> scope = std::make_shared<WorkScope>();
  std::optional<Sources> sources;
};

namespace {

/// A task of one source, or nothing.
template <class T>
Task<T> orNothing(std::optional<Task<T>> task) {
  if (!task) co_return T();
  co_return co_await std::move(*task);
}

/// The same answer, given in a job of the service's own queue.
template <class T>
Task<T> handedOver(std::shared_ptr<OwnedQueue> queue, Task<T> question) {
  T answer = co_await std::move(question);
  co_await resumeOn(queue);
  co_return answer;
}

/// What every operation gives: a chain of its own, so that the end of the service is an answer of none.
template <class T>
Task<T> ask(const std::shared_ptr<OwnedQueue>& queue, Task<T> question) {
  return inOwnChain(handedOver(queue, std::move(question)));
}

}  // namespace

Task<Answer<WaterTempData>> OceanDataServiceProvider::State::waterTemperature(std::shared_ptr<State> state,
                                                                              Place place, Date date) {
  if (state->region == Region::usa) {
    auto observed = co_await orNothing(state->taskOf<Answer<WaterTempData>>([&](Sources& open) {
      return open.noaaWaterTemp.getDailyTemperatureData(place.lat, place.lng, date, place.timezone,
                                                        place.locationId);
    }));
    if (observed && !observed->timeSeries.empty()) co_return observed;
  }
  co_return co_await orNothing(state->taskOf<Answer<WaterTempData>>([&](Sources& open) {
    return open.service.getDailyTemperatureData(place.lat, place.lng, date, place.timezone, place.locationId);
  }));
}

Task<Answer<WaterTempData>> OceanDataServiceProvider::State::waterTemperatureAt(std::shared_ptr<State> state,
                                                                                Place place, Date time) {
  const auto day = co_await waterTemperature(state, std::move(place), time);
  co_return sampleNearestTo(time, day);
}

Task<Answer<OceanCurrentData>> OceanDataServiceProvider::State::currents(std::shared_ptr<State> state,
                                                                         Place place, Date from, Date to) {
  if (state->region == Region::other) co_return nullptr;
  co_return co_await orNothing(state->taskOf<Answer<OceanCurrentData>>([&](Sources& open) {
    OceanCurrentDataProvider* source = &open.noaaCurrents;
    if (state->region == Region::worldwide) source = &open.ukhoCurrents;
    return source->getOceanCurrentData(place.lat, place.lng, from, to, place.timezone, place.locationId);
  }));
}

Task<bool> OceanDataServiceProvider::State::coverage(std::shared_ptr<State> state, double lat, double lng,
                                                     std::string locationId) {
  if (state->region == Region::usa) {
    using Station = std::shared_ptr<const CurrentStation>;
    co_return (co_await orNothing(state->taskOf<Station>(
        [&](Sources& open) { return open.noaaCurrents.nearestStation(lat, lng, locationId); }))) != nullptr;
  }
  if (state->region == Region::worldwide) {
    using Station = std::shared_ptr<const UKHOStreamStation>;
    co_return (co_await orNothing(state->taskOf<Station>(
        [&](Sources& open) { return open.ukhoCurrents.nearestStation(locationId, lat, lng); }))) != nullptr;
  }
  co_return false;
}

OceanDataServiceProvider::OceanDataServiceProvider(const Host& host,
                                                   const std::shared_ptr<SeriesDiskCache>& diskCache,
                                                   std::shared_ptr<OpenMeteoWindProvider> windForecast)
    : state_(std::make_shared<State>(host, diskCache, std::move(windForecast))) {}

OceanDataServiceProvider::~OceanDataServiceProvider() {
  state_->close();
}

// --- Sources ---

OpenMeteoDataProvider& OceanDataServiceProvider::service() const {
  return state_->sources->service;
}

NOAACurrentsDataProvider& OceanDataServiceProvider::noaaCurrents() const {
  return state_->sources->noaaCurrents;
}

UKHOCurrentsDataProvider& OceanDataServiceProvider::ukhoCurrents() const {
  return state_->sources->ukhoCurrents;
}

NOAATemperatureDataProvider& OceanDataServiceProvider::noaaWaterTemp() const {
  return state_->sources->noaaWaterTemp;
}

NOAATemperatureDataProvider& OceanDataServiceProvider::noaaAirTemp() const {
  return state_->sources->noaaAirTemp;
}

NOAAWindDataProvider& OceanDataServiceProvider::noaaWind() const {
  return state_->sources->noaaWind;
}

NWSWindForecastProvider& OceanDataServiceProvider::nwsWind() const {
  return state_->sources->nwsWind;
}

// --- Temperature ---

Task<Answer<WaterTempData>> OceanDataServiceProvider::getTemperatureDataAtTime(double lat, double lng,
                                                                               Date time, TimeZone timezone,
                                                                               std::string locationId) {
  return ask(state_->queue,
             State::waterTemperatureAt(state_, {lat, lng, timezone, std::move(locationId)}, time));
}

Task<Answer<WaterTempData>> OceanDataServiceProvider::getDailyTemperatureData(double lat, double lng,
                                                                              Date date, TimeZone timezone,
                                                                              std::string locationId) {
  return ask(state_->queue,
             State::waterTemperature(state_, {lat, lng, timezone, std::move(locationId)}, date));
}

Task<Answer<WaterTempData>> OceanDataServiceProvider::getDailyObservedAirTemperatureData(
    double lat, double lng, Date date, TimeZone timezone, std::string locationId) {
  auto question = state_->region != Region::usa ? std::nullopt
                                                : state_->taskOf<Answer<WaterTempData>>([&](Sources& open) {
                                                    return open.noaaAirTemp.getDailyTemperatureData(
                                                        lat, lng, date, timezone, std::move(locationId));
                                                  });
  return ask(state_->queue, orNothing(std::move(question)));
}

// --- Swell ---

Task<Answer<SwellData>> OceanDataServiceProvider::getDailySwellData(double lat, double lng, Date date,
                                                                    TimeZone timezone,
                                                                    std::string locationId) {
  return ask(state_->queue, orNothing(state_->taskOf<Answer<SwellData>>([&](Sources& open) {
               return open.service.getDailySwellData(lat, lng, date, timezone, std::move(locationId));
             })));
}

// --- Currents ---

Task<Answer<OceanCurrentData>> OceanDataServiceProvider::getDailyOceanCurrentData(double lat, double lng,
                                                                                  Date date,
                                                                                  TimeZone timezone,
                                                                                  std::string locationId) {
  constexpr double sixHours = 21'600.0;
  constexpr double day = 86'400.0;
  return getOceanCurrentData(lat, lng, dateFromSeconds(secondsOf(date) - sixHours),
                             dateFromSeconds(secondsOf(date) + day), timezone, std::move(locationId));
}

Task<Answer<OceanCurrentData>> OceanDataServiceProvider::getOceanCurrentData(double lat, double lng,
                                                                             Date from, Date to,
                                                                             TimeZone timezone,
                                                                             std::string locationId) {
  return ask(state_->queue, State::currents(state_, {lat, lng, timezone, std::move(locationId)}, from, to));
}

Task<bool> OceanDataServiceProvider::hasCurrentsCoverage(double lat, double lng, std::string locationId) {
  return ask(state_->queue, State::coverage(state_, lat, lng, std::move(locationId)));
}

// --- Wind ---

Task<Answer<WindData>> OceanDataServiceProvider::getDailyWindData(double lat, double lng, Date date,
                                                                  TimeZone timezone, std::string locationId) {
  return ask(state_->queue, orNothing(state_->taskOf<Answer<WindData>>([&](Sources& open) {
               return open.wind->getDailyWindData(lat, lng, date, timezone, std::move(locationId));
             })));
}

Task<Answer<WindData>> OceanDataServiceProvider::getDailyObservedWindData(double lat, double lng, Date date,
                                                                          TimeZone timezone,
                                                                          std::string locationId) {
  auto question =
      state_->region != Region::usa ? std::nullopt : state_->taskOf<Answer<WindData>>([&](Sources& open) {
        return open.noaaWind.getDailyWindData(lat, lng, date, timezone, std::move(locationId));
      });
  return ask(state_->queue, orNothing(std::move(question)));
}

Task<Answer<WindData>> OceanDataServiceProvider::getDailyForecastWindData(double lat, double lng, Date date,
                                                                          TimeZone timezone,
                                                                          std::string locationId) {
  auto question =
      state_->region != Region::usa ? std::nullopt : state_->taskOf<Answer<WindData>>([&](Sources& open) {
        return open.nwsWind.getDailyWindData(lat, lng, date, timezone, std::move(locationId));
      });
  return ask(state_->queue, orNothing(std::move(question)));
}

// --- The same with completions ---

void OceanDataServiceProvider::getTemperatureDataAtTimeFor(double lat, double lng, Date time,
                                                           TimeZone timezone, std::string locationId,
                                                           Completion<WaterTempData> completionHandler) {
  start(getTemperatureDataAtTime(lat, lng, time, timezone, std::move(locationId)),
        std::move(completionHandler));
}

void OceanDataServiceProvider::getDailyTemperatureDataFor(double lat, double lng, Date date,
                                                          TimeZone timezone, std::string locationId,
                                                          Completion<WaterTempData> completionHandler) {
  start(getDailyTemperatureData(lat, lng, date, timezone, std::move(locationId)),
        std::move(completionHandler));
}

void OceanDataServiceProvider::getDailyObservedAirTemperatureDataFor(
    double lat, double lng, Date date, TimeZone timezone, std::string locationId,
    Completion<WaterTempData> completionHandler) {
  start(getDailyObservedAirTemperatureData(lat, lng, date, timezone, std::move(locationId)),
        std::move(completionHandler));
}

void OceanDataServiceProvider::getDailySwellDataFor(double lat, double lng, Date date, TimeZone timezone,
                                                    std::string locationId,
                                                    Completion<SwellData> completionHandler) {
  start(getDailySwellData(lat, lng, date, timezone, std::move(locationId)), std::move(completionHandler));
}

void OceanDataServiceProvider::getDailyOceanCurrentDataFor(double lat, double lng, Date date,
                                                           TimeZone timezone, std::string locationId,
                                                           Completion<OceanCurrentData> completionHandler) {
  start(getDailyOceanCurrentData(lat, lng, date, timezone, std::move(locationId)),
        std::move(completionHandler));
}

void OceanDataServiceProvider::getOceanCurrentDataFor(double lat, double lng, Date from, Date to,
                                                      TimeZone timezone, std::string locationId,
                                                      Completion<OceanCurrentData> completionHandler) {
  start(getOceanCurrentData(lat, lng, from, to, timezone, std::move(locationId)),
        std::move(completionHandler));
}

void OceanDataServiceProvider::hasCurrentsCoverageFor(double lat, double lng, std::string locationId,
                                                      UniqueFunction<void(bool)> completionHandler) {
  start(hasCurrentsCoverage(lat, lng, std::move(locationId)), std::move(completionHandler));
}

void OceanDataServiceProvider::getDailyWindDataFor(double lat, double lng, Date date, TimeZone timezone,
                                                   std::string locationId,
                                                   Completion<WindData> completionHandler) {
  start(getDailyWindData(lat, lng, date, timezone, std::move(locationId)), std::move(completionHandler));
}

void OceanDataServiceProvider::getDailyObservedWindDataFor(double lat, double lng, Date date,
                                                           TimeZone timezone, std::string locationId,
                                                           Completion<WindData> completionHandler) {
  start(getDailyObservedWindData(lat, lng, date, timezone, std::move(locationId)),
        std::move(completionHandler));
}

void OceanDataServiceProvider::getDailyForecastWindDataFor(double lat, double lng, Date date,
                                                           TimeZone timezone, std::string locationId,
                                                           Completion<WindData> completionHandler) {
  start(getDailyForecastWindData(lat, lng, date, timezone, std::move(locationId)),
        std::move(completionHandler));
}

}  // namespace marlune
