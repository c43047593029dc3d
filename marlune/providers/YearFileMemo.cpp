#include "marlune/providers/YearFileMemo.h"

#include <algorithm>
#include <utility>

#include "marlune/tides/TideHighLowParser.h"

namespace marlune {

namespace {

template <class Entry>
void keepRecent(std::vector<Entry>& entries, Entry entry) {
  if (entries.size() >= YearFileMemo::capacity) entries.erase(entries.begin());
  entries.push_back(std::move(entry));
}

}  // namespace

Data YearFileMemo::load(FileSystem& files, const std::string& path) {
  // Taken before the bytes: if the file is replaced in between, the next identity differs and it is read
  // again.
  const auto identity = files.identity(path);
  if (identity && identity->settled) {
    const std::lock_guard lock(mutex_);
    for (const File& file : files_) {
      if (file.path == path && file.identity.sameAs(*identity)) return file.data;
    }
  }
  auto bytes = files.read(path);
  const Data data = bytes ? makeData(std::move(*bytes)) : nullptr;
  const std::lock_guard lock(mutex_);
  std::erase_if(files_, [&](const File& file) { return file.path == path; });
  if (data && identity && identity->settled) keepRecent(files_, {path, *identity, data});
  return data;
}

YearFileMemo::Events YearFileMemo::parsed(const Data& document) {
  {
    const std::lock_guard lock(mutex_);
    for (const Document& known : documents_) {
      if (known.data == document) return known.events;
    }
  }
  TideHighLowParser parser;
  auto events = parser.getElements(*document);
  Events result;
  if (events) result = std::make_shared<const std::vector<TideEvent>>(std::move(*events));
  const std::lock_guard lock(mutex_);
  keepRecent(documents_, {document, result});
  return result;
}

}  // namespace marlune
