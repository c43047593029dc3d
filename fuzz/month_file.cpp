#include "fuzz/Target.h"
#include "marlune/tides/TideEventDiskCache.h"

/// What is decoded and encoded again stands at the head of the file, up to flags that were neither 0 nor 1.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto events = TideEventDiskCache::decode(bytes);
  if (!events) return;
  const Bytes encoded = TideEventDiskCache::encode(*events);
  MARLUNE_FUZZ_REQUIRE(encoded.size() <= bytes.size());
  const auto again = TideEventDiskCache::decode(encoded);
  MARLUNE_FUZZ_REQUIRE(again && again->size() == events->size());
  MARLUNE_FUZZ_REQUIRE(TideEventDiskCache::encode(*again) == encoded);
  constexpr std::size_t header = 4;
  constexpr std::size_t record = 18;
  constexpr std::size_t flags = 2;
  for (std::size_t at = 0; at < encoded.size(); at = at == 0 ? header : at + record) {
    const std::size_t length = at == 0 ? header : record - flags;
    MARLUNE_FUZZ_REQUIRE(encoded.substr(at, length) == bytes.substr(at, length));
  }
}
