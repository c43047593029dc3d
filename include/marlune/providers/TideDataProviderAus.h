#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/providers/TideDataProvider.h"

namespace marlune {

/// The tide provider of Australian ports: years of the Bureau of Meteorology's forecasts, in metres, packed
/// one archive a station and year. Threads and life as its base class.
///
///     TideDataProviderAus provider(host, files, diskCache, globalService, favorites);
///     auto address = provider.getTideDataEndpointForStation(provider.getDefaultTideStation(), 2025);
class MARLUNE_API TideDataProviderAus : public TideDataProvider {
 public:
  using TideDataProvider::TideDataProvider;
  ~TideDataProviderAus() override;

  /// Lorne, Victoria.
  StationPtr getDefaultTideStation() const override;
  bool tideLevelUnitInMeters() const override { return true; }
  bool defaultUnitIsMeters() const override { return true; }

  /// The forecast product that holds a station's years: "IDO59001" or "IDO59002".
  std::string getStationAreaIdentifier(const StationPtr& station) const;

  /// ".../2025/IDO59001_2025_VIC_TP002.archive" behind the host of the archives.
  std::string getTideDataEndpointForStation(const StationPtr& station, std::int64_t year) const override;
  /// "2025VIC_TP002.archive"
  std::string fileNameForStation(std::string_view stationId, std::int64_t year) const override;

  /// The forecast in a year's archive in the container, or an empty pointer. The bytes of an archive that has
  /// not changed are handed out again.
  Data loadDataAtFilePath(std::string_view fileName) override;
  /// As in the base class, but kept from 51 bytes on; the completion gets the forecast in the archive, none
  /// when there is none in it.
  void loadDataAtURL(const std::string& url, const std::string& fileName, DataCompletion completion) override;

  /// Every event of the document, whatever the year and the month: who files them sorts them into months. A
  /// document that is not well-formed gives those before the fault. No bytes or no station are logged.
  std::optional<Events> getHighLowTideDataFromNSData(const Data& data, const StationPtr& station,
                                                     std::int64_t year, int month) override;

  /// This year.
  std::vector<std::string> yearsForFavoriteDownload() const override;
  /// Puts the default station's archive of 2024 into the container, if it is shipped and not there. The year
  /// is fixed.
  void saveDefaultStationFileFromBundle() override;

 protected:
  ReadCatalogue readStationList() override;
  Data documentOfFile(const Data& bytes) override;
};

}  // namespace marlune
