#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "marlune/geo/Location.h"
#include "marlune/ocean/noaa/NOAAObservations.h"
#include "marlune/ocean/source/OceanSource.h"
#include "marlune/ocean/source/OceanTimes.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// What a source of NOAA's observations asks for.
struct NOAAProduct {
  std::string name;   ///< in requests and file names: "water_temperature"
  std::string units;  ///< "metric" or "english"
  noaa_observations::Kind kind;
  std::string stationFilename;  ///< of the list of stations among the resources, without ".json"
  std::string failure;          ///< how the line about a request that failed begins
};

/// Finds the station and gets the samples of its days: from the disk, or from the service.
struct NOAAStationSource : OceanSource {
  NOAAStationSource(const Host& sourceHost, std::shared_ptr<SeriesDiskCache> cache, NOAAProduct asked);

  /// On the queue: the station within reach. The list is read by the first call that can.
  std::shared_ptr<Location> nearestStation(double lat, double lng);

  struct StationDay {
    std::optional<TimeSeries> samples;
    bool isToBeRemembered = false;
  };
  /// On the queue: the day of a station that begins at an instant.
  static Task<StationDay> stationDay(std::shared_ptr<NOAAStationSource> source, std::string stationId,
                                     std::int64_t start);

  const NOAAProduct product;

 private:
  std::string addressOf(const std::string& stationId, std::int64_t start) const;
  std::optional<double> longestAge(std::int64_t start) const;

  const std::shared_ptr<SeriesDiskCache> diskCache_;
  const std::string baseURL_;
  std::optional<LocationList> stations_;
};

/// The state of a source that makes records of such days: remembers them, and lets equal questions share a
/// request.
template <class Record>
struct NOAAStationDays : NOAAStationSource {
  using Answer = std::shared_ptr<const Record>;
  /// Makes the record of a station's samples. It carries the station's place, since all places share it that
  /// the station is nearest to.
  using Make = Answer (*)(const Location& station, TimeSeries samples);

  NOAAStationDays(const Host& sourceHost, std::shared_ptr<SeriesDiskCache> cache, NOAAProduct asked,
                  Make makeRecord)
      : NOAAStationSource(sourceHost, std::move(cache), std::move(asked)), make(makeRecord) {}

  static Task<Answer> day(std::shared_ptr<NOAAStationDays> state, double lat, double lng, Date date,
                          TimeZone timezone) {
    co_await resumeOn(state->queue);
    if (!ocean::isPlace(lat, lng)) co_return nullptr;
    const auto day = ocean_times::dayOf(date, timezone);
    if (!day) co_return nullptr;
    const auto station = state->nearestStation(lat, lng);
    if (!station) co_return nullptr;
    const std::string key = station->id + "," + ocean_times::utcMinute(day->start);
    if (const auto* known = state->days.find(key)) co_return *known;
    auto asking = askTogether<Answer>(state->requests, key, [state, station, key, start = day->start] {
      return record(state, station, key, start);
    });
    co_return co_await std::move(asking);
  }

  const Make make;
  BoundedCache<Answer> days{maxOceanCacheItems};  // by station and first instant
  const std::shared_ptr<JoinedRequests<Answer>> requests = std::make_shared<JoinedRequests<Answer>>(queue);

 private:
  static Task<Answer> record(std::shared_ptr<NOAAStationDays> state, std::shared_ptr<Location> station,
                             std::string key, std::int64_t start) {
    StationDay day = co_await stationDay(state, station->id, start);
    if (!day.samples) co_return nullptr;
    Answer made = state->make(*station, std::move(*day.samples));
    if (day.isToBeRemembered) state->days.store(key, made);
    co_return made;
  }
};

}  // namespace marlune
