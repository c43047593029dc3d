#include "marlune/global/TideEventDiskCache.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace marlune {

namespace {

constexpr std::string_view prefix = "tcache_";
constexpr std::string_view suffix = ".bin";
constexpr std::size_t headerSize = 4;
constexpr std::size_t recordSize = 18;

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

std::string fileName(std::string_view stationId, std::int64_t year, int month) {
  std::string name;
  name.reserve(prefix.size() + stationId.size() + 40);
  name.append(prefix).append(stationId).append("_").append(std::to_string(year));
  name.append("_").append(std::to_string(month)).append(suffix);
  return name;
}

}  // namespace

TideEventDiskCache::TideEventDiskCache(std::shared_ptr<FileAccess> files, std::string container)
    : files_(std::move(files)), containerName_(std::move(container)) {}

std::optional<std::vector<TideEvent>> TideEventDiskCache::cachedEvents(std::string_view stationId,
                                                                       std::int64_t year, int month) const {
  const auto path = files_->pathInContainer(containerName_, fileName(stationId, year, month));
  if (!path) return std::nullopt;
  const auto bytes = files_->files()->read(*path);
  return bytes ? decode(*bytes) : std::nullopt;
}

void TideEventDiskCache::cacheEvents(const std::vector<TideEvent>& events, std::string_view stationId,
                                     std::int64_t year, int month) const {
  if (events.empty()) return;
  files_->saveFileInContainer(containerName_, fileName(stationId, year, month), encode(events));
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
  std::vector<TideEvent> events(count);
  const char* at = bytes.data() + headerSize;
  for (TideEvent& event : events) {
    event.timestamp = numberAt<std::int64_t>(at);
    event.tidelevel = numberAt<double>(at + 8);
    event.isHighTide = at[16] == 1;
    event.tideLevelInMeters = at[17] == 1;
    at += recordSize;
  }
  return events;
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
