#include "marlune/ocean/noaa/NOAAStationDays.h"

#include <fmt/format.h>

namespace marlune {

namespace {

constexpr std::string_view defaultBaseURL = "https://coops.marlune.example";
constexpr double reach = 100.0;              // kilometres
constexpr std::int64_t dayLength = 86'400;   // seconds, also on a day of a clock change
constexpr std::int64_t dayIsOver = 90'000;   // seconds after its start
constexpr double longestAgeOfToday = 1'800;  // seconds

}  // namespace

NOAAStationSource::NOAAStationSource(const Host& sourceHost, std::shared_ptr<SeriesDiskCache> cache,
                                     NOAAProduct asked)
    : OceanSource(sourceHost, "noaa-" + asked.name),
      product(std::move(asked)),
      diskCache_(std::move(cache)),
      baseURL_(ocean::baseAddress(host.settings, host.settings.coopsBaseURL, defaultBaseURL)) {}

std::shared_ptr<Location> NOAAStationSource::nearestStation(double lat, double lng) {
  if (!stations_) {
    const std::string name = product.stationFilename + ".json";
    const auto bytes = host.resources->read(name);
    auto reading = bytes ? Location::readList(*bytes) : Location::Reading{{}, "There is no " + name + "."};
    if (reading.error) {
      host.log->line("Error loading file: " + *reading.error);
      return nullptr;
    }
    stations_.emplace(std::move(reading.locations));
  }
  return stations_->closestTo(lat, lng, reach);
}

std::string NOAAStationSource::addressOf(const std::string& stationId, std::int64_t start) const {
  return fmt::format(
      "{}/api/prod/"
      "datagetter?begin_date={}&end_date={}&station={}&product={}&time_zone=gmt&interval=h&units={}"
      "&application=DataAPI&format=json",
      baseURL_, ocean_times::utcMinute(start), ocean_times::utcMinute(start + dayLength), stationId,
      product.name, product.units);
}

std::optional<double> NOAAStationSource::longestAge(std::int64_t start) const {
  const bool isOver = static_cast<double>(start + dayIsOver) <= secondsOf(host.clock->now());
  return isOver ? std::nullopt : std::optional(longestAgeOfToday);
}

Task<NOAAStationSource::StationDay> NOAAStationSource::stationDay(std::shared_ptr<NOAAStationSource> source,
                                                                  std::string stationId, std::int64_t start) {
  const std::string fileName =
      fmt::format("noaa_{}_{}_{}.json", source->product.name, stationId, ocean_times::utcDay(start));
  if (auto kept = source->diskCache_->load(fileName, source->longestAge(start)); kept && !kept->empty())
    co_return StationDay{std::move(kept), true};
  const HttpAnswer answer = co_await ocean::fetch(source->fetcher, source->addressOf(stationId, start));
  std::string fault = ocean::failureOf(answer);
  noaa_observations::Reading reading;
  if (fault.empty()) {
    reading = noaa_observations::read(*answer.body, source->product.kind, source->readers);
    fault = reading.fault;
  }
  if (!reading.samples) {
    source->host.log->line(source->product.failure + fault);
    co_return StationDay();
  }
  // What comes with an error may be less than there is, so it is asked for again.
  if (!reading.hasError) source->diskCache_->save(*reading.samples, fileName);
  co_return StationDay{std::move(reading.samples), !reading.hasError};
}

}  // namespace marlune
