#include "marlune/tides/TideEventDiskCache.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

namespace marlune {

namespace {

constexpr std::string_view prefix = "tcache_";
constexpr std::string_view suffix = ".bin";
constexpr std::size_t headerSize = 4;
constexpr std::size_t recordSize = 18;
constexpr std::size_t usualSize = 4096;  // a month has 130 events at most, with its margins

template <class Number>
Number littleEndian(Number value) {
  if constexpr (std::endian::native == std::endian::big) {
    auto bytes = std::bit_cast<std::array<char, sizeof(Number)>>(value);
    std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<Number>(bytes);
  }
  return value;
}

template <class Number>
Number numberAt(const char* at) {
  Number value;
  std::memcpy(&value, at, sizeof value);
  return littleEndian(value);
}

template <class Number>
char* putNumber(char* at, Number value) {
  value = littleEndian(value);
  std::memcpy(at, &value, sizeof value);
  return at + sizeof value;
}

/// Goes over the records of a file. A list made from two of these is written once, in place.
class RecordIterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = TideEvent;
  using difference_type = std::ptrdiff_t;
  using pointer = const TideEvent*;
  using reference = TideEvent;

  explicit RecordIterator(const char* at = nullptr) : at_(at) {}

  TideEvent operator*() const {
    TideEvent event(numberAt<std::int64_t>(at_), numberAt<double>(at_ + 8), at_[16] == 1);
    event.tideLevelInMeters = at_[17] == 1;
    return event;
  }
  RecordIterator& operator++() {
    at_ += recordSize;
    return *this;
  }
  RecordIterator operator++(int) {
    const RecordIterator before = *this;
    at_ += recordSize;
    return before;
  }
  bool operator==(const RecordIterator&) const = default;

 private:
  const char* at_;
};

/// The name of a month's file, made in place: it is asked for at every look into the cache.
class FileName {
 public:
  FileName(std::string_view stationId, std::int64_t year, int month) {
    fmt::format_to(std::back_inserter(text_), FMT_COMPILE("{}{}_{}_{}{}"), prefix, stationId, year, month,
                   suffix);
  }
  operator std::string_view() const { return {text_.data(), text_.size()}; }

 private:
  fmt::basic_memory_buffer<char, 96> text_;
};

}  // namespace

TideEventDiskCache::TideEventDiskCache(std::shared_ptr<FileAccess> files, std::string container)
    : files_(std::move(files)), containerName_(std::move(container)) {}

std::optional<std::vector<TideEvent>> TideEventDiskCache::cachedEvents(std::string_view stationId,
                                                                       std::int64_t year, int month) const {
  const auto path = files_->pathInContainer(containerName_, FileName(stationId, year, month));
  if (!path) return std::nullopt;
  std::array<char, usualSize> room;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by the reading
  FileSystem& files = *files_->files();
  const auto size = files.readInto(*path, room);
  if (!size) return std::nullopt;
  if (*size <= room.size()) return decode({room.data(), *size});
  const auto bytes = files.read(*path);
  return bytes ? decode(*bytes) : std::nullopt;
}

void TideEventDiskCache::cacheEvents(const std::vector<TideEvent>& events, std::string_view stationId,
                                     std::int64_t year, int month) const {
  if (events.empty()) return;
  files_->saveFileInContainer(containerName_, FileName(stationId, year, month), encode(events));
}

void TideEventDiskCache::evictForStation(std::string_view stationId) const {
  // The "_" keeps a station from taking the files of one whose id goes on.
  evictWithPrefix(fmt::format("{}{}_", prefix, stationId));
}

void TideEventDiskCache::evictAll() const {
  evictWithPrefix(prefix);
}

void TideEventDiskCache::evictWithPrefix(std::string_view wanted) const {
  const auto folder = files_->folders()->container(containerName_);
  if (!folder) return;
  const auto names = files_->files()->list(*folder);
  if (!names) return;
  for (const std::string& name : *names) {
    if (name.starts_with(wanted) && name.ends_with(suffix))
      files_->removeFileInContainer(containerName_, name);
  }
}

std::optional<std::vector<TideEvent>> TideEventDiskCache::decode(std::string_view bytes) {
  if (bytes.size() < headerSize) return std::nullopt;
  const std::size_t count = numberAt<std::uint32_t>(bytes.data());
  if ((bytes.size() - headerSize) / recordSize < count) return std::nullopt;
  const char* const first = bytes.data() + headerSize;
  return std::vector<TideEvent>(RecordIterator(first), RecordIterator(first + count * recordSize));
}

Bytes TideEventDiskCache::encode(const std::vector<TideEvent>& events) {
  if (events.size() > std::numeric_limits<std::uint32_t>::max())
    std::abort();  // published: stops the process
  Bytes bytes(headerSize + recordSize * events.size(), '\0');
  char* at = putNumber(bytes.data(), static_cast<std::uint32_t>(events.size()));
  for (const TideEvent& event : events) {
    at = putNumber(at, event.timestamp);
    at = putNumber(at, event.tidelevel);
    *at++ = event.isHighTide ? 1 : 0;
    *at++ = event.tideLevelInMeters ? 1 : 0;
  }
  return bytes;
}

}  // namespace marlune
