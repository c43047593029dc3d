#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/platform/FileSystem.h"
#include "marlune/tides/TideEvent.h"

namespace marlune {

/// The events of a year's document, in document order. Never changed once made, so safe from any thread.
class YearEvents {
 public:
  explicit YearEvents(std::vector<TideEvent> inDocumentOrder);

  const std::vector<TideEvent>& all() const { return events_; }

  /// Those from `begin` to `end`, seconds since 1970, both inclusive.
  std::vector<TideEvent> between(std::int64_t begin, std::int64_t end) const;

 private:
  std::vector<TideEvent> events_;
  bool ascending_;  // as nearly every document is; then a month is found without looking at the rest
};

/// Remembers the last few year files, the documents in them and the events parsed from those, so that the
/// twelve months of a file cost one reading and one parse. A file that changed in any way is read again. How
/// a file is opened and a document parsed is the caller's: the same for the same files. Safe from any thread.
class YearFileMemo {
 public:
  using Events = std::shared_ptr<const YearEvents>;
  /// The document in the bytes of a file, or an empty pointer.
  using Open = std::function<Data(const Data&)>;
  /// The events of a document, in its order; nothing for what is no document.
  using Parse = std::function<std::optional<std::vector<TideEvent>>(std::string_view)>;

  /// How many files are remembered; about 100 KB each, an opened one with 1,400 events about 400.
  static constexpr std::size_t capacity = 3;

  /// The document in the file at `path`; the same pointer again while the file has not changed. A file that
  /// was changed a moment ago is read to see that, but has the same pointer too while it reads the same.
  /// Without `open` the document is the file as it stands.
  Data load(FileSystem& files, const std::string& path, const Open& open = {});

  /// Every event of a document, in document order; an empty pointer when `parse` gives none. A document whose
  /// pointer was handed in before is not parsed again.
  Events parsed(const Data& document, const Parse& parse);

 private:
  struct File {
    std::string path;
    FileIdentity identity;
    Data bytes;
    Data document;
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
