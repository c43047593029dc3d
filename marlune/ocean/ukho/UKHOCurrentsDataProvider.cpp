#include "marlune/ocean/ukho/UKHOCurrentsDataProvider.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "marlune/ocean/source/CurrentsPeriod.h"
#include "marlune/ocean/source/GroupFiles.h"
#include "marlune/ocean/source/NearestStationMemo.h"
#include "marlune/ocean/source/OceanSource.h"
#include "marlune/ocean/ukho/StreamRates.h"
#include "marlune/ocean/ukho/UKHOStreamStation.h"

namespace marlune {

namespace {

using Answer = UKHOCurrentsDataProvider::Answer;
using Station = std::shared_ptr<const UKHOStreamStation>;
using stream_rates::Entries;
using Rates = std::optional<Entries>;

constexpr std::string_view defaultHost = "https://admiralty.marlune.example";
constexpr std::string_view streamsPath = "/uktidalapi-premium/api/V2/Streams";
constexpr std::string_view stationFile = "stream_stations_uk.json";
constexpr std::chrono::seconds timeOut{60};
constexpr std::int64_t hour = 3600;
constexpr std::int64_t interval = 1800;             // seconds between rates
constexpr std::int64_t longestStep = 2 * interval;  // one rate may be missing
constexpr std::int64_t mostHours = 366 * 24 + 2;    // of the longest period

UKHOStreamStation::List loadStations(const Host& host) {
  const auto bytes = host.resources->read(stationFile);
  const auto reading = bytes ? StreamStationsGeoJSON::read(*bytes)
                             : StreamStationsGeoJSON::Reading{{}, fmt::format("there is no {}", stationFile)};
  if (reading.error) host.log->line("Error loading UKHO stream stations: " + *reading.error);
  return UKHOStreamStation::listOf(reading.document);
}

std::string dayFileName(const UKHOStreamStation& station, std::int64_t day) {
  return fmt::format(FMT_COMPILE("ukho_streams_{}_{}.json"), station.id, ocean_times::utcDay(day));
}

/// Takes out what does not count or lies outside the period, and sorts the rest.
Entries entriesWithin(const CurrentsPeriod& period, Entries entries) {
  std::erase_if(entries, [&](const StreamRateEntry& entry) {
    const auto instant = entry.instant();
    return !instant || !period.holds(*instant);
  });
  putInTimeOrder(entries, [](const StreamRateEntry& entry) { return entry.instant().value_or(0); });
  return entries;
}

/// What the service is asked for: whole hours from a whole second on.
struct Request {
  std::int64_t start = 0;
  std::int64_t hours = 0;

  static Request of(Date from, Date to) {
    const double whole = std::floor((secondsOf(to) - secondsOf(from)) / hour);
    return {static_cast<std::int64_t>(std::floor(secondsOf(from))),
            std::max<std::int64_t>(24, static_cast<std::int64_t>(whole) + 2)};
  }
  /// The whole days that the answer may have rates of.
  CurrentsPeriod days(const CurrentsPeriod& period) const {
    const CurrentsPeriod asked{start, std::max(period.to, start + hours * hour)};
    return {asked.firstDay(), asked.lastDay() + CurrentsPeriod::day - 1};
  }
};

/// Do the entries of a day, in order, reach over what a period has of it, or are some missing at an end or
/// between two answers that lie apart? A file may hold parts of a day only.
bool reachOver(const Entries& entries, std::int64_t day, const CurrentsPeriod& period) {
  if (entries.empty()) return false;
  const std::int64_t begin = std::max(period.from, day);
  const std::int64_t end = std::min(period.to, day + CurrentsPeriod::day - 1);
  const auto isGap = [&](const StreamRateEntry& a, const StreamRateEntry& b) {
    const std::int64_t last = a.instant().value_or(0);
    const std::int64_t next = b.instant().value_or(0);
    return last < end && next > begin && next - last > longestStep;
  };
  return entries.front().instant() < begin + interval && entries.back().instant() > end - interval &&
         std::adjacent_find(entries.begin(), entries.end(), isGap) == entries.end();
}

/// Entries of a day, in order, with an answer's. Of an instant that both have only the answer's count.
Entries merged(Entries stored, const Entries& newer) {
  const auto instantOf = [](const StreamRateEntry& entry) { return entry.instant().value_or(0); };
  const auto earlier = [&](const StreamRateEntry& a, const StreamRateEntry& b) {
    return instantOf(a) < instantOf(b);
  };
  std::erase_if(stored, [&](const StreamRateEntry& entry) {
    return std::binary_search(newer.begin(), newer.end(), entry, earlier);
  });
  stored.insert(stored.end(), newer.begin(), newer.end());
  putInTimeOrder(stored, instantOf);
  return stored;
}

}  // namespace

struct UKHOCurrentsDataProvider::State : OceanSource {
  explicit State(const Host& sourceHost)
      : OceanSource(sourceHost, "ukho-currents"),
        baseURL(ocean::baseAddress(host.settings, host.settings.admiraltyBaseURL, defaultHost)
                    .append(streamsPath)),
        files(host),
        stations([asked = host] { return loadStations(asked); }),
        requests(std::make_shared<JoinedRequests<Answer>>(queue)),
        downloads(std::make_shared<JoinedRequests<Rates>>(queue)) {}

  static Task<Station> nearestStation(std::shared_ptr<State> state, std::string key, double lat, double lng);
  static Task<Rates> fetch(std::shared_ptr<State> state, Station station, Date start, std::int64_t hours);
  static Task<Answer> currents(std::shared_ptr<State> state, double lat, double lng, Date from, Date to,
                               std::string locationId);
  static Task<Answer> day(std::shared_ptr<State> state, double lat, double lng, Date date, TimeZone timezone,
                          std::string locationId);
  /// The record of a period, with the station's own place.
  static Task<Answer> load(std::shared_ptr<State> state, Station station, CurrentsPeriod period,
                           Request asked);
  static Task<Rates> ask(std::shared_ptr<State> state, Station station, Request asked);
  static Task<Rates> download(std::shared_ptr<State> state, Station station, std::string url);

  Entries storedDay(const UKHOStreamStation& station, std::int64_t day);
  Rates stored(const UKHOStreamStation& station, const CurrentsPeriod& period);
  /// Merges an answer into the files of the days that were asked for; what is known of them then.
  Entries store(const UKHOStreamStation& station, const CurrentsPeriod& days, Entries answer);

  const std::string baseURL;
  const GroupFiles files;
  NearestStationMemo<UKHOStreamStation> stations;
  BoundedCache<Answer> processedCacheByKey{maxOceanCacheItems};
  const std::shared_ptr<JoinedRequests<Answer>> requests;  // by station and period
  const std::shared_ptr<JoinedRequests<Rates>> downloads;  // by address
};

Task<Station> UKHOCurrentsDataProvider::State::nearestStation(std::shared_ptr<State> state, std::string key,
                                                              double lat, double lng) {
  co_await resumeOn(state->queue);
  co_return ocean::isPlace(lat, lng) ? state->stations.find(key, lat, lng) : nullptr;
}

Task<Rates> UKHOCurrentsDataProvider::State::fetch(std::shared_ptr<State> state, Station station, Date start,
                                                   std::int64_t hours) {
  co_await resumeOn(state->queue);
  const bool isQuestion =
      station && ocean_times::dayOf(start, TimeZone()) && hours >= 1 && hours <= mostHours;
  if (!isQuestion) co_return std::nullopt;
  const Request asked{static_cast<std::int64_t>(std::floor(secondsOf(start))), hours};
  co_return co_await ask(state, station, asked);
}

Task<Answer> UKHOCurrentsDataProvider::State::day(std::shared_ptr<State> state, double lat, double lng,
                                                  Date date, TimeZone timezone, std::string locationId) {
  co_await resumeOn(state->queue);
  const auto local = ocean_times::dayOf(date, timezone);
  if (!local) co_return nullptr;
  const auto from = dateFromSeconds(static_cast<double>(local->start));
  const auto to = dateFromSeconds(static_cast<double>(local->end));
  co_return co_await currents(state, lat, lng, from, to, std::move(locationId));
}

Task<Answer> UKHOCurrentsDataProvider::State::currents(std::shared_ptr<State> state, double lat, double lng,
                                                       Date from, Date to, std::string locationId) {
  co_await resumeOn(state->queue);
  const auto period = CurrentsPeriod::of(from, to);
  if (!ocean::isPlace(lat, lng) || !period) co_return nullptr;
  const Station station = state->stations.find(locationId, lat, lng);
  if (!station) co_return nullptr;
  const std::string key = fmt::format(FMT_COMPILE("{},{}-{}"), station->id, period->from, period->to);
  Answer record;
  if (const auto* known = state->processedCacheByKey.find(key)) record = *known;
  const bool isKnown = record != nullptr;
  if (!isKnown) {
    auto asked = askTogether<Answer>(state->requests, key,
                                     [state, station, wanted = *period, request = Request::of(from, to)] {
                                       return load(state, station, wanted, request);
                                     });
    record = co_await std::move(asked);
    if (!record) co_return nullptr;
  }
  const bool isOfPlace = record->latitude == lat && record->longitude == lng;
  if (!isOfPlace)
    record = std::make_shared<const OceanCurrentData>(lat, lng, record->timeSeries, record->events);
  if (!isKnown || !isOfPlace) state->processedCacheByKey.store(key, record);
  co_return record;
}

Task<Answer> UKHOCurrentsDataProvider::State::load(std::shared_ptr<State> state, Station station,
                                                   CurrentsPeriod period, Request asked) {
  auto entries = state->stored(*station, period);
  if (!entries) {
    auto answer = co_await ask(state, station, asked);
    if (!answer) co_return nullptr;
    entries = state->store(*station, asked.days(period), std::move(*answer));
  }
  co_return stream_rates::currentsOf(entriesWithin(period, std::move(*entries)), station->lat, station->lng);
}

Task<Rates> UKHOCurrentsDataProvider::State::ask(std::shared_ptr<State> state, Station station,
                                                 Request asked) {
  const CivilTime civil = TimeZone().civil(asked.start);
  const std::string url = fmt::format(
      FMT_COMPILE(
          "{}/{}/TidalStreamRates?dateTime={:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z&duration={}&interval=30"),
      state->baseURL, station->id, civil.year, civil.month, civil.day, civil.hour, civil.minute, civil.second,
      asked.hours);
  auto asking = askTogether<Rates>(state->downloads, url,
                                   [state, station, url] { return download(state, station, url); });
  co_return co_await std::move(asking);
}

Task<Rates> UKHOCurrentsDataProvider::State::download(std::shared_ptr<State> state, Station station,
                                                      std::string url) {
  HttpRequest request;
  request.url = std::move(url);
  request.headers = {{"Ocp-Apim-Subscription-Key", state->host.settings.admiraltySubscriptionKey}};
  request.silenceLimit = request.totalLimit = timeOut;
  HttpAnswer answer;
  if (isHttpAddress(request.url)) {
    answer = co_await state->fetcher->fetchAnswer(std::move(request));
  } else {
    answer.error = fmt::format("\"{}\" is no address to ask by http or https", request.url);
  }
  if (answer.error.empty() && answer.status != 200) {
    state->host.log->line(fmt::format("UKHO Currents: HTTP {} for station {}", answer.status, station->id));
    co_return std::nullopt;
  }
  stream_rates::Reading reading;
  if (answer.error.empty()) reading = stream_rates::read(*answer.body, state->readers);
  const std::string error = answer.error.empty() ? reading.error.value_or(std::string()) : answer.error;
  if (!error.empty()) {
    state->host.log->line("UKHO Currents fetch error: " + error);
    co_return std::nullopt;
  }
  co_return std::move(reading.entries);
}

Entries UKHOCurrentsDataProvider::State::storedDay(const UKHOStreamStation& station, std::int64_t day) {
  const auto bytes = files.read(dayFileName(station, day));
  if (!bytes) return {};
  return entriesWithin({day, day + CurrentsPeriod::day - 1}, stream_rates::read(*bytes, readers).entries);
}

Rates UKHOCurrentsDataProvider::State::stored(const UKHOStreamStation& station,
                                              const CurrentsPeriod& period) {
  Entries all;
  for (std::int64_t day = period.firstDay(); day <= period.lastDay(); day += CurrentsPeriod::day) {
    Entries entries = storedDay(station, day);
    if (!reachOver(entries, day, period)) return std::nullopt;
    all.insert(all.end(), std::make_move_iterator(entries.begin()), std::make_move_iterator(entries.end()));
  }
  return all;
}

Entries UKHOCurrentsDataProvider::State::store(const UKHOStreamStation& station, const CurrentsPeriod& days,
                                               Entries answer) {
  answer = entriesWithin(days, std::move(answer));
  Entries all;
  auto begin = answer.begin();
  for (std::int64_t day = days.firstDay(); day <= days.lastDay(); day += CurrentsPeriod::day) {
    const auto next = std::find_if(begin, answer.end(), [day](const StreamRateEntry& entry) {
      return CurrentsPeriod::dayOf(entry.instant().value_or(0)) != day;
    });
    // A day at the end of an answer is there in part only; the rest of it may be known.
    const Entries known = merged(storedDay(station, day), Entries(begin, next));
    if (begin != next) files.write(dayFileName(station, day), stream_rates::fileOf(known));
    all.insert(all.end(), known.begin(), known.end());
    begin = next;
  }
  return all;
}

UKHOCurrentsDataProvider::UKHOCurrentsDataProvider(const Host& host)
    : state_(std::make_shared<State>(host)) {}

UKHOCurrentsDataProvider::~UKHOCurrentsDataProvider() {
  state_->close();
}

Task<Answer> UKHOCurrentsDataProvider::getDailyOceanCurrentData(double lat, double lng, Date date,
                                                                TimeZone timezone, std::string locationId) {
  return inOwnChain(State::day(state_, lat, lng, date, timezone, std::move(locationId)));
}

Task<Answer> UKHOCurrentsDataProvider::getOceanCurrentData(double lat, double lng, Date from, Date to,
                                                           TimeZone, std::string locationId) {
  return inOwnChain(State::currents(state_, lat, lng, from, to, std::move(locationId)));
}

Task<Station> UKHOCurrentsDataProvider::nearestStation(std::string key, double lat, double lng) {
  return inOwnChain(State::nearestStation(state_, std::move(key), lat, lng));
}

Task<Rates> UKHOCurrentsDataProvider::fetch(Station station, Date start, std::int64_t hours) {
  return inOwnChain(State::fetch(state_, std::move(station), start, hours));
}

Answer UKHOCurrentsDataProvider::process(const Entries& entries, double lat, double lng) {
  return stream_rates::currentsOf(entries, lat, lng);
}

}  // namespace marlune
