#include "marlune/ocean/nws/NWSWindForecastProvider.h"

#include <fmt/format.h>

#include <optional>
#include <utility>
#include <vector>

#include "marlune/ocean/nws/NWSGridpoint.h"
#include "marlune/ocean/source/OceanSource.h"
#include "marlune/ocean/source/OceanTimes.h"

namespace marlune {

namespace {

using Answer = NWSWindForecastProvider::Answer;
using GridWind = std::shared_ptr<const nws_gridpoint::Wind>;
using ocean_times::LocalDay;

constexpr std::string_view defaultBaseURL = "https://nws.marlune.example";
constexpr double longestAge = 3'600;  // seconds, of a forecast on the disk
constexpr const char* urlAttribute = "url";

struct Place {
  double lat;
  double lng;
};

Answer recordOf(Place place, TimeSeries samples) {
  return std::make_shared<const WindData>(place.lat, place.lng, std::move(samples), "kt");
}

/// The same record for the place it was made for, else one of that place's with the same samples.
Answer recordFor(Place place, const Answer& known) {
  if (known->latitude == place.lat && known->longitude == place.lng) return known;
  return recordOf(place, known->timeSeries);
}

}  // namespace

struct NWSWindForecastProvider::State : OceanSource {
  State(const Host& sourceHost, std::shared_ptr<SeriesDiskCache> cache, const std::string& userAgent)
      : OceanSource(sourceHost, "nws-wind"),
        diskCache(std::move(cache)),
        headers{{"Accept", "application/geo+json"}, {"User-Agent", userAgent}},
        baseURL(ocean::baseAddress(host.settings, host.settings.nwsBaseURL, defaultBaseURL)) {}

  static Task<Answer> day(std::shared_ptr<State> state, Place place, Date date, TimeZone timezone,
                          std::string locationId);

 private:
  /// Empty where there is none. Goes on on the queue.
  static Task<std::string> gridURL(std::shared_ptr<State> state, Place place, std::string locationId);
  static Task<std::string> askPoints(std::shared_ptr<State> state, std::string path);
  static Task<GridWind> askGrid(std::shared_ptr<State> state, std::string gridURL);

  std::optional<std::string> storedGridURL(const std::string& fileName) const;
  /// Cuts a day out of a forecast and keeps it.
  Answer keepDay(const nws_gridpoint::Wind& wind, Place place, const LocalDay& day, const std::string& key,
                 const std::string& fileName);

  const std::shared_ptr<SeriesDiskCache> diskCache;
  const std::vector<std::pair<std::string, std::string>> headers;
  const std::string baseURL;
  BoundedCache<std::string> gridURLByLocationId{maxOceanCacheItems};
  BoundedCache<Answer> dataCacheByKey{maxOceanCacheItems};  // by gridpoint address and day
  // By path, and by gridpoint address: a forecast is decoded once for all days that are asked of it.
  const std::shared_ptr<JoinedRequests<std::string>> pointsRequests =
      std::make_shared<JoinedRequests<std::string>>(queue);
  const std::shared_ptr<JoinedRequests<GridWind>> gridRequests =
      std::make_shared<JoinedRequests<GridWind>>(queue);
};

Task<Answer> NWSWindForecastProvider::State::day(std::shared_ptr<State> state, Place place, Date date,
                                                 TimeZone timezone, std::string locationId) {
  co_await resumeOn(state->queue);
  if (!ocean::isPlace(place.lat, place.lng)) co_return nullptr;
  const auto localDay = ocean_times::dayOf(date, timezone);
  if (!localDay) co_return nullptr;
  const std::string address = co_await gridURL(state, place, std::move(locationId));
  if (address.empty()) co_return nullptr;
  const std::string key = address + "," + localDay->name;
  if (const auto* known = state->dataCacheByKey.find(key)) co_return recordFor(place, *known);
  const std::string fileName =
      fmt::format("nws_wind_{}_{}.json", nws_gridpoint::gridKey(address), localDay->name);
  if (auto kept = state->diskCache->load(fileName, longestAge); kept && !kept->empty()) {
    const Answer record = recordOf(place, std::move(*kept));
    state->dataCacheByKey.store(key, record);
    co_return record;
  }
  auto asking = askTogether<GridWind>(state->gridRequests, address,
                                      [state, address] { return askGrid(state, address); });
  const GridWind wind = co_await std::move(asking);
  if (!wind) co_return nullptr;
  if (const auto* known = state->dataCacheByKey.find(key)) co_return recordFor(place, *known);
  co_return state->keepDay(*wind, place, *localDay, key, fileName);
}

Task<std::string> NWSWindForecastProvider::State::gridURL(std::shared_ptr<State> state, Place place,
                                                          std::string locationId) {
  const std::string path = fmt::format("/points/{:.4f},{:.4f}", place.lat, place.lng);
  // A location without a name, or a file that would be without one, must not pass its cell on to others.
  const std::string mapKey = locationId.empty() ? path : locationId;
  const std::string fileKey = nws_gridpoint::locationKey(locationId);
  const std::string fileName = fileKey.empty() ? std::string() : "nws_points_" + fileKey + ".json";
  if (const auto* known = state->gridURLByLocationId.find(mapKey)) co_return *known;
  if (auto stored = state->storedGridURL(fileName)) {
    state->gridURLByLocationId.store(mapKey, *stored);
    co_return std::move(*stored);
  }
  auto asking =
      askTogether<std::string>(state->pointsRequests, path, [state, path] { return askPoints(state, path); });
  std::string address = co_await std::move(asking);
  // What can never be asked is not kept: the forecast's request says what is wrong with it.
  if (!isHttpAddress(address)) co_return address;
  if (const auto* known = state->gridURLByLocationId.find(mapKey); known && *known == address)
    co_return address;
  state->gridURLByLocationId.store(mapKey, address);
  if (!fileName.empty()) {
    state->diskCache->save(
        {std::make_shared<const TimeSeriesData>(state->host.clock->now(), 0.0,
                                                TimeSeriesData::Attributes{{urlAttribute, address}})},
        fileName);
  }
  co_return address;
}

std::optional<std::string> NWSWindForecastProvider::State::storedGridURL(const std::string& fileName) const {
  if (fileName.empty()) return std::nullopt;
  const auto samples = diskCache->load(fileName, std::nullopt);
  if (!samples || samples->empty() || !samples->front()->attributes) return std::nullopt;
  const auto& attributes = *samples->front()->attributes;
  const auto url = attributes.find(urlAttribute);
  if (url == attributes.end() || !isHttpAddress(url->second)) return std::nullopt;
  return url->second;
}

Task<std::string> NWSWindForecastProvider::State::askPoints(std::shared_ptr<State> state, std::string path) {
  const HttpAnswer answer = co_await ocean::fetch(state->fetcher, state->baseURL + path, state->headers);
  std::string fault = ocean::failureOf(answer);
  if (fault.empty()) {
    if (auto address = nws_gridpoint::addressOf(*answer.body, state->readers)) co_return std::move(*address);
    fault = "the answer names no gridpoint";
  }
  state->host.log->line("Error fetching NWS gridpoint: " + fault);
  co_return std::string();
}

Task<GridWind> NWSWindForecastProvider::State::askGrid(std::shared_ptr<State> state, std::string gridURL) {
  const HttpAnswer answer =
      co_await ocean::fetch(state->fetcher, gridURL, state->headers, HttpFetcher::Address::given);
  if (answer.error.empty() && answer.status != 200) {
    state->host.log->line(fmt::format("NWS Wind: HTTP {} for {}", answer.status, gridURL));
    co_return nullptr;
  }
  std::string fault = answer.error;
  if (fault.empty()) {
    if (GridWind wind = nws_gridpoint::windOf(*answer.body, state->readers)) co_return wind;
    fault = "the answer has not the three layers of wind of a gridpoint";
  }
  state->host.log->line("Error fetching NWS wind forecast: " + fault);
  co_return nullptr;
}

Answer NWSWindForecastProvider::State::keepDay(const nws_gridpoint::Wind& wind, Place place,
                                               const LocalDay& localDay, const std::string& key,
                                               const std::string& fileName) {
  auto samples = nws_gridpoint::samplesOf(wind, localDay.start, localDay.end);
  if (!samples) {
    host.log->line("Error fetching NWS wind forecast: more samples on " + localDay.name +
                   " than a forecast has");
    return nullptr;
  }
  Answer record = recordOf(place, std::move(*samples));
  dataCacheByKey.store(key, record);
  // A file of none would be passed over when it is read.
  if (!record->timeSeries.empty()) diskCache->save(record->timeSeries, fileName);
  return record;
}

NWSWindForecastProvider::NWSWindForecastProvider(const Host& host, std::shared_ptr<SeriesDiskCache> diskCache,
                                                 std::string agent)
    : userAgent(std::move(agent)), state_(std::make_shared<State>(host, std::move(diskCache), userAgent)) {}

NWSWindForecastProvider::~NWSWindForecastProvider() {
  state_->close();
}

Task<Answer> NWSWindForecastProvider::getDailyWindData(double lat, double lng, Date date, TimeZone timezone,
                                                       std::string locationId) {
  return inOwnChain(State::day(state_, {lat, lng}, date, timezone, std::move(locationId)));
}

}  // namespace marlune
