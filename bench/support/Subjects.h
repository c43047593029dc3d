#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/platform/Host.h"
#include "marlune/providers/TideDataProvider.h"

namespace marlune::bench {

inline constexpr std::string_view stationId = "398997177";
inline constexpr int year = 2026;

/// The bytes of a shipped resource; ends the program when there is none.
Bytes resource(std::string_view name);

/// The year document of the default station, and its events.
const Bytes& yearDocument();
const std::vector<TideEvent>& yearEvents();

/// The same events as a forecast of the Bureau of Meteorology: a period a day, with the other elements of
/// such documents.
const Bytes& forecastDocument();

/// The default station, with its zone.
std::shared_ptr<TideStation> station();

/// Where files are made: TMPDIR, else /tmp.
std::string workPlace();

/// A folder that goes with its owner, on the disk or in memory.
class WorkFolder {
 public:
  /// Made in `parent`; empty when that cannot be.
  explicit WorkFolder(const std::string& parent);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  bool exists() const { return !path_.empty(); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// A provider on real files with everything that it stands on, new at every construction. Nothing is shared
/// with another but the files.
struct Setting {
  explicit Setting(const std::string& folder);

  Host host;
  std::shared_ptr<FileAccess> files;
  std::shared_ptr<TideEventDiskCache> diskCache;
  std::unique_ptr<TideDataProvider> provider;
};

/// A file that is written for comparison.
struct PlainFile {
  std::string name;
  Bytes bytes;
};

/// The least that puts files in place in a folder, whole: created beside its name, written, renamed. False
/// when that fails.
bool writePlainly(const std::string& folder, const std::vector<PlainFile>& files);

/// Puts the year document into the container of the setting at `folder`.
void placeYearFile(const std::string& folder);

/// Waits until the files written so far count as settled.
void waitUntilSettled();

}  // namespace marlune::bench
