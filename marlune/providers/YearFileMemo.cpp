#include "marlune/providers/YearFileMemo.h"

#include <algorithm>
#include <utility>

namespace marlune {

namespace {

template <class Entry>
void keepRecent(std::vector<Entry>& entries, Entry entry) {
  if (entries.size() >= YearFileMemo::capacity) entries.erase(entries.begin());
  entries.push_back(std::move(entry));
}

bool earlier(const TideEvent& a, const TideEvent& b) {
  return a.timestamp < b.timestamp;
}

}  // namespace

YearEvents::YearEvents(std::vector<TideEvent> inDocumentOrder)
    : events_(std::move(inDocumentOrder)),
      ascending_(std::is_sorted(events_.begin(), events_.end(), earlier)) {}

std::vector<TideEvent> YearEvents::between(std::int64_t begin, std::int64_t end) const {
  if (begin > end) return {};
  if (ascending_) {
    const auto first = std::lower_bound(events_.begin(), events_.end(), TideEvent(begin, 0, false), earlier);
    const auto last = std::upper_bound(first, events_.end(), TideEvent(end, 0, false), earlier);
    return {first, last};
  }
  std::vector<TideEvent> events;
  for (const TideEvent& event : events_) {
    if (event.timestamp >= begin && event.timestamp <= end) events.push_back(event);
  }
  return events;
}

Data YearFileMemo::load(FileSystem& files, const std::string& path, const Open& open) {
  // Taken before the bytes: if the file is replaced in between, the next identity differs and it is read
  // again.
  const auto identity = files.identity(path);
  if (identity && identity->settled) {
    const std::lock_guard lock(mutex_);
    for (const File& file : files_) {
      if (file.path == path && file.identity.settled && file.identity.sameAs(*identity)) return file.document;
    }
  }
  auto read = files.read(path);
  Data bytes = read ? makeData(std::move(*read)) : nullptr;
  Data document;
  bool isKnown = false;
  {
    const std::lock_guard lock(mutex_);
    const auto known =
        std::find_if(files_.begin(), files_.end(), [&](const File& file) { return file.path == path; });
    if (known != files_.end()) {
      isKnown = bytes && *known->bytes == *bytes;
      if (isKnown) {
        bytes = known->bytes;
        document = known->document;
      }
      files_.erase(known);
    }
  }
  if (!isKnown) document = bytes && open ? open(bytes) : bytes;
  if (bytes && identity) {
    const std::lock_guard lock(mutex_);
    std::erase_if(files_, [&](const File& file) { return file.path == path; });
    keepRecent(files_, {path, *identity, bytes, document});
  }
  return document;
}

YearFileMemo::Events YearFileMemo::parsed(const Data& document, const Parse& parse) {
  {
    const std::lock_guard lock(mutex_);
    for (const Document& known : documents_) {
      if (known.data == document) return known.events;
    }
  }
  auto events = parse(*document);
  Events result;
  if (events) result = std::make_shared<const YearEvents>(std::move(*events));
  const std::lock_guard lock(mutex_);
  keepRecent(documents_, {document, result});
  return result;
}

}  // namespace marlune
