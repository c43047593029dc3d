#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/providers/TideDataProvider.h"

namespace marlune {

class TideDataProviderAus;

/// The tide provider of the worldwide build: three families of stations from one catalogue, told apart by
/// their country alone. Stations of "Australia" are handed to a provider for Australia; those of "United
/// States" are served as the base class does; all others, with or without a country, are the Admiralty's, of
/// the United Kingdom and Ireland. Every level that reaches a caller is in metres, those of the United States
/// included, whichever build has kept them on the disk.
///
/// Every request carries the deployment's subscription key, also when that is empty. Answers are judged by
/// their size alone: an error page that is large enough is kept, holds no events, and is asked for again by
/// the next request.
///
/// Threads and lifetime are those of TideDataProvider, save that loadDataAtURL() does not wait.
///
///     TideDataProviderUK provider(host, files, diskCache, globalService);
///     provider.fetchTideEventsForStation(provider.getDefaultTideStation(), from, to, [](auto events) { ...
///     });
class MARLUNE_API TideDataProviderUK : public TideDataProvider {
 public:
  TideDataProviderUK(Host host, std::shared_ptr<FileAccess> files,
                     std::shared_ptr<TideEventDiskCache> diskCache,
                     std::shared_ptr<PelagoraService> globalService, FavoriteHooks favorites = {});
  ~TideDataProviderUK() override;

  bool isAustralianStation(const StationPtr& station) const;
  bool isUSStation(const StationPtr& station) const;

  /// The provider that Australian stations are handed to; made at the first call, loads no catalogue.
  TideDataProviderAus& ausDelegate() const;

  /// The two other parts of the catalogue, added to what is loaded. A resource that is missing or cannot be
  /// read adds nothing. Returns false if no station was in it.
  bool loadAustralianStations();
  bool loadUSStations();

  /// Brighton Marina, without a country.
  StationPtr getDefaultTideStation() const override;
  bool tideLevelUnitInMeters() const override { return true; }
  bool defaultUnitIsMeters() const override { return true; }

  /// Levels in metres. The bytes of an Australian station may be its archive or the document in it.
  std::optional<Events> getHighLowTideDataFromNSData(const Data& data, const StationPtr& station,
                                                     std::int64_t year, int month) override;

  /// By the family of the station of that id in the catalogue, as far as that is loaded:
  /// "2025VIC_TP002.archive", "2025398997177.xml", or "2025_0082.json", also for an id that is not there.
  std::string fileNameForStation(std::string_view stationId, std::int64_t year) const override;
  std::string getTideDataEndpointForStation(const StationPtr& station, std::int64_t year) const override;
  /// A name that ends in ".archive" gives the document in the archive, any other the file as it stands.
  Data loadDataAtFilePath(std::string_view fileName) override;
  /// Starts a download and returns. Kept as `fileName` when it has at least 251 bytes, whatever the status.
  /// Posts "downloadedTideData" or "downloadTideDataFailed" and calls the completion, with the bytes as they
  /// came or none, on the callback thread. Destroying the provider calls it with none.
  void loadDataAtURL(const std::string& url, const std::string& fileName, DataCompletion completion) override;
  /// Nothing: no year file is shipped for the default station.
  void saveDefaultStationFileFromBundle() override {}

  /// The events of a range; downloads the year of its begin where memory and disk have none. The completion
  /// is called once: with events at hand on this thread before the call returns, else on the callback thread.
  /// A worldwide point is fetched as fetchGlobalTideEventsForStation() does. Posts nothing.
  void fetchTideEventsForStation(const StationPtr& station, Date from, Date to,
                                 EventsCompletion completion) override;
  /// This year.
  std::vector<std::string> yearsForFavoriteDownload() const override;

 protected:
  ReadCatalogue readStationList() override;
  Events inProviderUnit(const TideStation& station, Events events) const override;

 private:
  std::optional<Events> admiraltyEvents(const Data& data, const StationPtr& station, std::int64_t year,
                                        int month);
  Data openedArchive(const Data& bytes);
  void takeFetchedYear(const StationPtr& station, Date from, Date to, const std::string& fileName,
                       const Data& data);

  const std::shared_ptr<TideEventDiskCache> months_;
  const std::shared_ptr<PelagoraService> globalService_;

  mutable std::once_flag ausDelegateMade_;
  mutable std::unique_ptr<TideDataProviderAus> ausDelegate_;

  const std::unique_ptr<YearFileMemo> admiraltyYears_;

  // The last archive that came as it is stored: the months of one answer open it once.
  std::mutex archiveMutex_;
  Data archive_;
  Data archived_;
};

}  // namespace marlune
