#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "marlune/platform/Data.h"
#include "marlune/platform/FileSystem.h"
#include "marlune/tides/TideEvent.h"

namespace marlune {

/// The events of a year's document, in document order. Never changed once made, so safe from any thread.
class YearEvents {
 public:
  explicit YearEvents(std::vector<TideEvent> inDocumentOrder);

  /// Those from `begin` to `end`, seconds since 1970, both inclusive.
  std::vector<TideEvent> between(std::int64_t begin, std::int64_t end) const;

 private:
  std::vector<TideEvent> events_;
  bool ascending_;  // as nearly every document is; then a month is found without looking at the rest
};

/// Remembers the last few year files and the events parsed from them, so that the twelve months of a file
/// cost one reading and one parse. A file that changed in any way is read again. Safe from any thread.
class YearFileMemo {
 public:
  using Events = std::shared_ptr<const YearEvents>;

  /// How many files are remembered; about 100 KB each.
  static constexpr std::size_t capacity = 3;

  /// The content of the file at `path`; the same pointer again while the file has not changed. One that was
  /// changed a moment ago is read to see that, but has the same pointer too while it reads the same.
  Data load(FileSystem& files, const std::string& path);

  /// Every event of a high/low document, in document order; an empty pointer when it is not well-formed. A
  /// document whose pointer was handed in before is not parsed again.
  Events parsed(const Data& document);

 private:
  struct File {
    std::string path;
    FileIdentity identity;
    Data data;
  };
  struct Document {
    Data data;
    Events events;
  };

  std::mutex mutex_;
  std::vector<File> files_;  // most recent last, as below
  std::vector<Document> documents_;
};

}  // namespace marlune
