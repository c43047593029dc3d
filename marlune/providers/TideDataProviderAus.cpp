#include "marlune/providers/TideDataProviderAus.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "marlune/providers/AustralianStationFile.h"
#include "marlune/providers/BOMTideParser.h"
#include "marlune/providers/TideDataArchiver.h"
#include "marlune/providers/YearFileMemo.h"
#include "marlune/providers/YearFileRules.h"
#include "marlune/tasks/WorkScope.h"

namespace marlune {

namespace {

constexpr std::string_view defaultStationId = "VIC_TP002";
constexpr std::int64_t defaultArchiveYear = 2024;
constexpr std::string_view firstProduct = "IDO59001";
constexpr std::string_view secondProduct = "IDO59002";
constexpr std::string_view stationsOfSecondProduct[] = {"QLD_TS001", "VIC_TS001"};
constexpr std::string_view archiveHost = "https://archives.marlune.example";

Data openArchive(const Data& bytes) {
  auto document = TideDataArchiver::unarchive(*bytes);
  return document ? makeData(std::move(*document)) : nullptr;
}

}  // namespace

TideDataProviderAus::~TideDataProviderAus() {
  stopWork();
}

// --- Catalogue ---

TideDataProvider::ReadCatalogue TideDataProviderAus::readStationList() {
  const auto json = host().resources->read("stations_australia.json");
  const auto reading = json ? australian_station_file::read(*json) : australian_station_file::Reading{};
  if (!json) host().log->line("Json file error. There is no resource stations_australia.json.");
  if (reading.error) host().log->line(fmt::format("Json file error. {}", *reading.error));
  // Favourites are loaded in every case.
  return addStationList(reading.stations) ? ReadCatalogue::whole : ReadCatalogue::part;
}

TideDataProvider::StationPtr TideDataProviderAus::getDefaultTideStation() const {
  auto station = std::make_shared<TideStation>();
  station->stationId = defaultStationId;
  station->stationExtId = defaultStationId;
  station->stationAreaId = firstProduct;
  station->stationName = "Lorne";
  station->stateId = "Victoria";
  station->timezoneName = "Australia/Melbourne";
  station->coordinate = {-38.5471944444444, 143.988833333333};
  return station;
}

// --- Year files ---

std::string TideDataProviderAus::getStationAreaIdentifier(const StationPtr& station) const {
  if (!station) return std::string(firstProduct);
  const auto& second = stationsOfSecondProduct;
  if (station->stationId &&
      std::find(std::begin(second), std::end(second), *station->stationId) != std::end(second)) {
    return std::string(secondProduct);
  }
  const bool has = station->stationAreaId && !station->stationAreaId->empty();
  return has ? *station->stationAreaId : std::string(firstProduct);
}

std::string TideDataProviderAus::getTideDataEndpointForStation(const StationPtr& station,
                                                               std::int64_t year) const {
  const DeploymentSettings& settings = host().settings;
  std::string_view base = archiveHost;
  if (!settings.servicesBaseURL.empty()) {
    base = settings.servicesBaseURL;
  } else if (!settings.australianArchiveBaseURL.empty()) {
    base = settings.australianArchiveBaseURL;
  }
  while (base.ends_with('/')) base.remove_suffix(1);
  return fmt::format("{0}/{1}/{2}_{1}_{3}.archive", base, static_cast<std::int32_t>(year),
                     getStationAreaIdentifier(station),
                     station && station->stationId ? std::string_view(*station->stationId) : "");
}

std::string TideDataProviderAus::fileNameForStation(std::string_view stationId, std::int64_t year) const {
  return fmt::format("{}{}.archive", static_cast<std::int32_t>(year), stationId);
}

Data TideDataProviderAus::documentOfFile(const Data& bytes) {
  return openArchive(bytes);
}

Data TideDataProviderAus::loadDataAtFilePath(std::string_view fileName) {
  const auto path = files().pathInContainer(kGroupContainerName, fileName);
  return path ? yearFiles().load(*files().files(), *path, openArchive) : nullptr;
}

void TideDataProviderAus::loadDataAtURL(const std::string& url, const std::string& fileName,
                                        DataCompletion completion) {
  const auto scope = workScope();
  Data document;
  if (const auto entered = WorkScope::enter(scope)) {
    const Data archive = downloadAndKeep(url, fileName, year_file_rules::bytesToKeepArchive);
    // Who was told of the download may have destroyed the provider.
    if (archive && !scope->isClosed()) document = loadDataAtFilePath(fileName);
    // What could not be written is of use all the same.
    if (archive && !document) document = openArchive(archive);
  }
  completion(std::move(document));
}

void TideDataProviderAus::saveDefaultStationFileFromBundle() {
  const std::string name = fileNameForStation(defaultStationId, defaultArchiveYear);
  if (files().fileExistsInContainer(kGroupContainerName, name)) return;
  if (const auto bytes = host().resources->read(name)) {
    files().saveFileInContainer(kGroupContainerName, name, *bytes);
  }
}

std::optional<TideDataProvider::Events> TideDataProviderAus::getHighLowTideDataFromNSData(
    const Data& data, const StationPtr& station, std::int64_t /*year*/, int /*month*/) {
  if (!data || !station) {
    host().log->line("[TideDataProvider] Error: Nil parameter passed to getHighLowTideDataFromNSData");
    return std::nullopt;
  }
  const auto document = yearFiles().parsed(data, [this](std::string_view xml) {
    BOMTideParser parser(host().log);
    parser.getTideEventsFromData(xml);
    return std::optional(std::move(parser.events));
  });
  return document->all();
}

// --- Requests ---

std::vector<std::string> TideDataProviderAus::yearsForFavoriteDownload() const {
  const Calendar calendar(host().deviceTimeZone->current());
  return {std::to_string(calendar.components(host().clock->now()).year)};
}

}  // namespace marlune
