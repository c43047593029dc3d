#include "marlune/ocean/noaa/NOAATemperatureDataProvider.h"

#include <utility>

#include "marlune/ocean/noaa/NOAAStationDays.h"

namespace marlune {

namespace {

using Answer = WaterTemperatureDataProvider::Answer;

Answer recordOf(const Location& station, TimeSeries samples) {
  return std::make_shared<const WaterTempData>(station.lat, station.lng, std::move(samples), true);
}

}  // namespace

struct NOAATemperatureDataProvider::State : NOAAStationDays<WaterTempData> {
  State(const Host& sourceHost, std::shared_ptr<SeriesDiskCache> cache, const std::string& productName,
        const std::string& stationFilename)
      : NOAAStationDays(sourceHost, std::move(cache),
                        {productName, "metric", noaa_observations::Kind::temperature, stationFilename,
                         "Error fetching temerature data: "},  // published so
                        &recordOf) {}

  static Task<Answer> atTime(std::shared_ptr<State> state, double lat, double lng, Date time,
                             TimeZone timezone) {
    co_return sampleNearestTo(time, co_await day(state, lat, lng, time, timezone));
  }
};

NOAATemperatureDataProvider::NOAATemperatureDataProvider(const Host& host,
                                                         std::shared_ptr<SeriesDiskCache> diskCache,
                                                         std::string productName, std::string stationFilename)
    : product(std::move(productName)),
      station_filename(std::move(stationFilename)),
      state_(std::make_shared<State>(host, std::move(diskCache), product, station_filename)) {}

NOAATemperatureDataProvider::~NOAATemperatureDataProvider() {
  state_->close();
}

Task<Answer> NOAATemperatureDataProvider::getTemperatureDataAtTime(double lat, double lng, Date time,
                                                                   TimeZone timezone,
                                                                   std::string /*locationId*/) {
  return inOwnChain(State::atTime(state_, lat, lng, time, timezone));
}

Task<Answer> NOAATemperatureDataProvider::getDailyTemperatureData(double lat, double lng, Date date,
                                                                  TimeZone timezone,
                                                                  std::string /*locationId*/) {
  return inOwnChain(State::day(state_, lat, lng, date, timezone));
}

}  // namespace marlune
