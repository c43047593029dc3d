#include "marlune/providers/TideDataProviderUK.h"

#include <fmt/format.h>

#include <utility>

#include "marlune/providers/AdmiraltyEvents.h"
#include "marlune/providers/AdmiraltyStationFile.h"
#include "marlune/providers/AustralianStationFile.h"
#include "marlune/providers/TideDataArchiver.h"
#include "marlune/providers/TideDataProviderAus.h"
#include "marlune/providers/YearFileMemo.h"
#include "marlune/providers/YearFileRules.h"
#include "marlune/tides/LevelUnits.h"
#include "marlune/tides/StationFile.h"

namespace marlune {

using namespace year_file_rules;

namespace {

bool isMarkup(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return true;  // UTF-16
  const std::size_t begin = bytes.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  return begin != std::string_view::npos && bytes[begin] == '<';
}

/// Sends the Admiralty's headers along with every request, whomever it goes to.
class AdmiraltyClient : public HttpClient {
 public:
  AdmiraltyClient(std::shared_ptr<HttpClient> client, std::string key)
      : client_(std::move(client)), key_(std::move(key)) {}

  std::shared_ptr<HttpTransfer> send(HttpRequest request, Completion completion) override {
    request.headers.emplace_back("Cache-Control", "no-cache");
    request.headers.emplace_back("Ocp-Apim-Subscription-Key", key_);
    return client_->send(std::move(request), std::move(completion));
  }

 private:
  const std::shared_ptr<HttpClient> client_;
  const std::string key_;
};

Host withAdmiraltyHeaders(Host host) {
  host.http = std::make_shared<AdmiraltyClient>(std::move(host.http), host.settings.admiraltySubscriptionKey);
  return host;
}

}  // namespace

TideDataProviderUK::TideDataProviderUK(Host host, std::shared_ptr<FileAccess> files,
                                       std::shared_ptr<TideEventDiskCache> diskCache,
                                       std::shared_ptr<PelagoraService> globalService,
                                       FavoriteHooks favorites)
    : TideDataProvider(withAdmiraltyHeaders(std::move(host)), std::move(files), diskCache, globalService,
                       std::move(favorites)),
      months_(std::move(diskCache)),
      globalService_(std::move(globalService)),
      admiraltyYears_(std::make_unique<YearFileMemo>()) {}

TideDataProviderUK::~TideDataProviderUK() {
  stopWork();
}

// --- Families ---

bool TideDataProviderUK::isAustralianStation(const StationPtr& station) const {
  return station && station->country == "Australia";
}

bool TideDataProviderUK::isUSStation(const StationPtr& station) const {
  return station && station->country == "United States";
}

TideDataProviderAus& TideDataProviderUK::ausDelegate() const {
  std::call_once(ausDelegateMade_, [this] {
    ausDelegate_ = std::make_unique<TideDataProviderAus>(host(), sharedFiles(), months_, globalService_);
  });
  return *ausDelegate_;
}

// --- Catalogue ---

TideDataProvider::ReadCatalogue TideDataProviderUK::readStationList() {
  const auto text = host().resources->read("stations_uk.json");
  const auto reading = text ? admiralty_station_file::read(*text)
                            : admiralty_station_file::Reading{{}, "There is no resource stations_uk.json."};
  if (reading.error) host().log->line(fmt::format("Json file error. {}", *reading.error));
  bool isWhole = addStationList(reading.stations);
  isWhole = loadAustralianStations() && isWhole;
  isWhole = loadUSStations() && isWhole;
  return isWhole ? ReadCatalogue::whole : ReadCatalogue::part;
}

bool TideDataProviderUK::loadAustralianStations() {
  const auto text = host().resources->read("stations_australia.json");
  return text && addStationList(australian_station_file::read(*text).stations);
}

bool TideDataProviderUK::loadUSStations() {
  const auto text = host().resources->read("stations_master_usa2.txt");
  const auto stations = text ? station_file::stationsOf(*text) : std::nullopt;
  return stations && addStationList(*stations);
}

TideDataProvider::StationPtr TideDataProviderUK::getDefaultTideStation() const {
  auto station = std::make_shared<TideStation>();
  station->stationId = station->stationExtId = station->stationAreaId = "0082";
  station->stationName = "Brighton Marina";
  station->stateId = "England";
  station->timezoneName = "Europe/London";
  station->coordinate = {50.81666, -0.1};
  return station;
}

// --- Prediction documents ---

std::optional<TideDataProvider::Events> TideDataProviderUK::getHighLowTideDataFromNSData(
    const Data& data, const StationPtr& station, std::int64_t year, int month) {
  if (data && isAustralianStation(station)) {
    return ausDelegate().getHighLowTideDataFromNSData(openedArchive(data), station, year, month);
  }
  if (data && station && !isUSStation(station)) return admiraltyEvents(data, station, year, month);
  auto events = TideDataProvider::getHighLowTideDataFromNSData(data, station, year, month);
  if (events) convertToMetres(*events);
  return events;
}

std::optional<TideDataProvider::Events> TideDataProviderUK::admiraltyEvents(const Data& data,
                                                                            const StationPtr& station,
                                                                            std::int64_t year, int month) {
  const auto document = admiraltyYears_->parsed(data, [this](std::string_view text) {
    auto read = admiralty_events::read(text);
    if (read.error) host().log->line(fmt::format("Json file error. {}", *read.error));
    return std::move(read.events);
  });
  if (!document) return std::nullopt;
  const InstantRange range = monthRangeForStation(station, year, month);
  return document->between(range.begin, range.end);
}

Data TideDataProviderUK::openedArchive(const Data& bytes) {
  if (isMarkup(*bytes)) return bytes;
  {
    const std::lock_guard lock(archiveMutex_);
    if (archive_ == bytes) return archived_;
  }
  Data opened = bytes;  // what is no archive is the parser's to judge
  if (auto document = TideDataArchiver::unarchive(*bytes)) opened = makeData(std::move(*document));
  const std::lock_guard lock(archiveMutex_);
  archive_ = bytes;
  archived_ = opened;
  return opened;
}

TideDataProvider::Events TideDataProviderUK::inProviderUnit(const TideStation& station, Events events) const {
  if (!station.isGlobal && station.country == "United States") convertToMetres(events);
  return events;
}

// --- Year files ---

std::string TideDataProviderUK::fileNameForStation(std::string_view stationId, std::int64_t year) const {
  const StationPtr station = cache().getTideStationById(stationId);
  if (isAustralianStation(station)) return ausDelegate().fileNameForStation(stationId, year);
  if (isUSStation(station)) return TideDataProvider::fileNameForStation(stationId, year);
  return fmt::format("{}_{}.json", static_cast<std::int32_t>(year), stationId);
}

std::string TideDataProviderUK::getTideDataEndpointForStation(const StationPtr& station,
                                                              std::int64_t year) const {
  if (isAustralianStation(station)) return ausDelegate().getTideDataEndpointForStation(station, year);
  if (isUSStation(station)) return TideDataProvider::getTideDataEndpointForStation(station, year);
  const DeploymentSettings& settings = host().settings;
  std::string_view base = "https://admiralty.marlune.example";
  if (!settings.admiraltyBaseURL.empty()) base = settings.admiraltyBaseURL;
  if (!settings.servicesBaseURL.empty()) base = settings.servicesBaseURL;
  while (base.ends_with('/')) base.remove_suffix(1);
  return fmt::format(
      "{0}/uktidalapi-premium/api/V2/Stations/{1}/TidalEventsForDateRange?StartDate={2}-01-01 00:00:00"
      "&EndDate={2}-12-31 00:00:00",
      base, station && station->stationId ? std::string_view(*station->stationId) : "",
      static_cast<std::int32_t>(year));
}

Data TideDataProviderUK::loadDataAtFilePath(std::string_view fileName) {
  if (fileName.ends_with(".archive")) return ausDelegate().loadDataAtFilePath(fileName);
  return TideDataProvider::loadDataAtFilePath(fileName);
}

void TideDataProviderUK::loadDataAtURL(const std::string& url, const std::string& fileName,
                                       DataCompletion completion) {
  downloadAndKeepLater(url, fileName, bytesOfRangeTransfer, std::move(completion));
}

std::vector<std::string> TideDataProviderUK::yearsForFavoriteDownload() const {
  const Calendar calendar(host().deviceTimeZone->current());
  return {std::to_string(calendar.components(host().clock->now()).year)};
}

// --- Ranges ---

void TideDataProviderUK::fetchTideEventsForStation(const StationPtr& station, Date from, Date to,
                                                   EventsCompletion completion) {
  if (!station || !station->stationId) return completion(std::nullopt);
  if (station->isGlobal) return fetchGlobalTideEventsForStation(station, from, to, std::move(completion));
  const std::int64_t year = calendarForStation(station).components(from).year;
  constexpr std::size_t enough = 1;
  fetchRange(
      station, from, to, enough,
      [this, station, from, to, fileName = fileNameForStation(*station->stationId, year)](const Data& data) {
        takeFetchedYear(station, from, to, fileName, data);
        return getTideDataByTimestamp(station, wholeSecondsOf(from), wholeSecondsOf(to));
      },
      std::move(completion));
}

void TideDataProviderUK::takeFetchedYear(const StationPtr& station, Date from, Date to,
                                         const std::string& fileName, const Data& data) {
  const bool kept = files().saveFileInContainer(kGroupContainerName, fileName, *data);
  // As the file gives it, so that the months that are asked for next are neither opened nor parsed anew. What
  // could not be written is of use all the same.
  const Data document = kept ? loadDataAtFilePath(fileName) : data;
  if (!document) return;
  const Calendar calendar = calendarForStation(station);
  const CivilTime first = calendar.components(from);
  const CivilTime last = calendar.components(to);
  bool evicted = false;
  const auto take = [&](std::int64_t year, int month) {
    const auto events = getHighLowTideDataFromNSData(document, station, year, month);
    if (!events || events->empty()) return;  // an error page hides nothing that is known
    if (!std::exchange(evicted, true)) months_->evictForStation(*station->stationId);
    cache().removeTideData(*station->stationId, year, month);
    cache().addTideData(station->stationId, events, calendar);
    months_->cacheEvents(*events, *station->stationId, year, month);
  };
  take(first.year, first.month);
  // Of another year these bytes hold the margin at most, which would pass for its month.
  if (last.year == first.year && last.month != first.month) take(last.year, last.month);
}

}  // namespace marlune
