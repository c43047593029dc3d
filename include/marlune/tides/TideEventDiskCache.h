#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/tides/TideEvent.h"

namespace marlune {

/// One file a station and month in the shared container, so that every process of the application finds the
/// events without a year file or the network. A file is valid until it is replaced or evicted. Nothing here
/// logs or fails aloud: what cannot be read is absent. Keeps no state: safe from any thread and from several
/// processes at once.
///
///     if (auto events = TideEventDiskCache::shared().cachedEvents("398997177", 2026, 3)) draw(*events);
class MARLUNE_API TideEventDiskCache {
 public:
  /// The cache of the process, over the installed host's files.
  static TideEventDiskCache& shared();

  explicit TideEventDiskCache(std::shared_ptr<FileAccess> files,
                              std::string container = std::string(kGroupContainerName));

  /// The events of a month, 1 to 12, in the order in which they were stored; absent when there is no whole
  /// file. An empty file gives an empty list. `isIntermediary` is not stored.
  std::optional<std::vector<TideEvent>> cachedEvents(std::string_view stationId, std::int64_t year,
                                                     int month) const;
  std::optional<std::vector<TideEvent>> cachedEventsWithStationId(std::string_view stationId,
                                                                  std::int64_t year, int month) const {
    return cachedEvents(stationId, year, month);
  }

  /// Replaces the file of a month. An empty list writes nothing; a failed write leaves the old file. A list
  /// of 2^32 events or more stops the process.
  void cacheEvents(const std::vector<TideEvent>& events, std::string_view stationId, std::int64_t year,
                   int month) const;

  /// Removes every month of one station, or of all; other files stay.
  void evictForStation(std::string_view stationId) const;
  void evictAll() const;

  /// The form of a month file, for those who check it; see docs/formats.md.
  static std::optional<std::vector<TideEvent>> decode(std::string_view bytes);
  static Bytes encode(const std::vector<TideEvent>& events);

  const std::string& containerName() const { return containerName_; }

 private:
  void evictWithPrefix(std::string_view prefix) const;

  const std::shared_ptr<FileAccess> files_;
  const std::string containerName_;
};

}  // namespace marlune
