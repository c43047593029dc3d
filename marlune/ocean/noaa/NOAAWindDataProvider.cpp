#include "marlune/ocean/noaa/NOAAWindDataProvider.h"

#include <utility>

#include "marlune/ocean/noaa/NOAAStationDays.h"

namespace marlune {

namespace {

using Answer = NOAAWindDataProvider::Answer;

Answer recordOf(const Location& station, TimeSeries samples) {
  return std::make_shared<const WindData>(station.lat, station.lng, std::move(samples), "kt");
}

}  // namespace

struct NOAAWindDataProvider::State : NOAAStationDays<WindData> {
  using NOAAStationDays::NOAAStationDays;
};

NOAAWindDataProvider::NOAAWindDataProvider(const Host& host, std::shared_ptr<SeriesDiskCache> diskCache)
    : state_(std::make_shared<State>(host, std::move(diskCache),
                                     NOAAProduct{"wind", "english", noaa_observations::Kind::wind,
                                                 station_filename, "Error fetching wind observations: "},
                                     &recordOf)) {}

NOAAWindDataProvider::~NOAAWindDataProvider() {
  state_->close();
}

Task<Answer> NOAAWindDataProvider::getDailyWindData(
    double lat, double lng, Date date, TimeZone timezone,
    std::string /*locationId*/) {  // NOLINT(performance-unnecessary-value-param)
  return inOwnChain(State::day(state_, lat, lng, date, timezone));
}

}  // namespace marlune
