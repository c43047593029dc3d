#include <utility>

#include "marlune/providers/GlobalPoints.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/tides/StationFile.h"

// The catalogue section of the provider.

namespace marlune {

bool TideDataProvider::hasLoadedStations() const {
  return _hasLoadedStations;
}

void TideDataProvider::setHasLoadedStations(bool loaded) {
  _hasLoadedStations = loaded;
}

void TideDataProvider::loadStationData() {
  if (hasLoadedStations() && !loading_) return;
  {
    std::unique_lock lock(loadMutex_);
    // What the load itself asks of the provider must not wait for the load.
    if (loadingThread_ == std::this_thread::get_id()) return;
    loadEnded_.wait(lock, [this] { return !loading_; });
    loading_ = true;  // before the flag, so that whoever sees the flag sees this too
    loadingThread_ = std::this_thread::get_id();
  }
  // Without the lock: a deriving class may replace these steps, and the favourites ask for their stations.
  if (!hasLoadedStations()) {
    setHasLoadedStations(true);
    const ReadCatalogue read = readStationList();
    isCatalogueWhole_ = read == ReadCatalogue::whole;
    if (read != ReadCatalogue::nothing && favorites_.load) favorites_.load();
  }
  const std::lock_guard lock(loadMutex_);
  loadingThread_ = std::thread::id();
  loading_ = false;
  loadEnded_.notify_all();
}

bool TideDataProvider::isCatalogueWhole() const {
  return isCatalogueWhole_;
}

TideDataProvider::ReadCatalogue TideDataProvider::readStationList() {
  const auto text = readStationFile();
  const auto stations = text ? station_file::stationsOf(*text) : std::nullopt;
  if (!stations) return ReadCatalogue::nothing;
  _cache.removeAllStations();
  return addStationList(*stations) ? ReadCatalogue::whole : ReadCatalogue::part;
}

bool TideDataProvider::addStationList(const Stations& stations) {
  _cache.addStationsToCache(stations);
  return !stations.empty();
}

std::optional<Bytes> TideDataProvider::readStationFile() const {
  return host_.resources->read("stations_master_usa2.txt");
}

TideDataProvider::StationPtr TideDataProvider::parseLineFromStationFile(std::string_view line) const {
  return station_file::stationOfLine(line);
}

TideDataProvider::StationPtr TideDataProvider::loadStationDataForStationId(std::string_view stationId) {
  const auto text = readStationFile();
  if (!text) return nullptr;
  auto station = station_file::stationOf(*text, stationId);
  if (station) _cache.addStationsToCache({station});
  return station;
}

TideDataProvider::StationPtr TideDataProvider::getTideStationById(std::string_view stationId) {
  loadStationData();
  return _cache.getTideStationById(stationId);
}

TideDataProvider::Stations TideDataProvider::getAllTideStations() {
  loadStationData();
  return _cache.getAllStations();
}

std::size_t TideDataProvider::getTideStationGroupCount() {
  loadStationData();
  return _cache.getTideStationGroupCount();
}

std::vector<std::string> TideDataProvider::getTideStationStates() {
  loadStationData();
  return _cache.getTideStationStates();
}

std::optional<TideDataProvider::Stations> TideDataProvider::getTideStationsForState(std::string_view state) {
  loadStationData();
  return _cache.getTideStationsForState(state);
}

TideDataProvider::Stations TideDataProvider::getStationsByNearest(Coordinate coordinate) {
  loadGlobalStationPointsIfNeeded();
  return everyStation()->byDistance(coordinate);
}

std::shared_ptr<const StationList> TideDataProvider::everyStation() const {
  auto catalogue = _cache.stationTables()->list();
  auto points = globalPoints_->published();
  if (!points) return catalogue;
  const std::lock_guard lock(everyStationMutex_);
  if (everyStationCatalogue_ != catalogue || everyStationPoints_ != points) {
    Stations all;
    all.reserve(catalogue->all().size() + points->all().size());
    all.insert(all.end(), catalogue->all().begin(), catalogue->all().end());
    all.insert(all.end(), points->all().begin(), points->all().end());
    everyStation_ = std::make_shared<const StationList>(std::move(all));
    everyStationCatalogue_ = std::move(catalogue);
    everyStationPoints_ = std::move(points);
  }
  return everyStation_;
}

TideDataProvider::Stations TideDataProvider::getStationsInMapVisibleRect(const MapRect& rect) {
  return _cache.stationTables()->list()->inMapRect(rect);
}

TideDataProvider::Stations TideDataProvider::getStationsByRegionBoundary(Coordinate southWest,
                                                                         Coordinate northEast) {
  Stations inside;
  const auto catalogue = _cache.stationTables()->list();
  for (const auto& station : catalogue->all()) {
    const Coordinate& at = station->coordinate;
    if (southWest.latitude < at.latitude && southWest.longitude < at.longitude &&
        at.latitude < northEast.latitude && at.longitude < northEast.longitude) {
      inside.push_back(station);
    }
  }
  return inside;
}

TideDataProvider::StationPtr TideDataProvider::getDefaultTideStation() const {
  auto station = std::make_shared<TideStation>();
  station->stationId = "398997177";
  station->stationExtId = "9413745";
  station->stationName = "Santa Cruz, Monterey Bay";
  station->stateId = "California";
  station->timezoneName = "America/Los_Angeles";
  station->coordinate = {36.9583, -122.017};
  return station;
}

bool TideDataProvider::tideLevelUnitInMeters() const {
  return false;
}

bool TideDataProvider::defaultUnitIsMeters() const {
  return false;
}

void TideDataProvider::clearCache() {
  _cache.removeAllTideData();
}

void TideDataProvider::savePrefs() {
  if (favorites_.save) favorites_.save();
}

}  // namespace marlune
