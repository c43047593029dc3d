#include "marlune/platform/KeyedArchive.h"

#include <cstdint>
#include <string_view>
#include <vector>

#include "fuzz/Require.h"
#include "marlune/tides/TideStation.h"

using namespace marlune;

/// Stations that are read from an archive can be archived again and are then the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto archive = KeyedUnarchiver::open({reinterpret_cast<const char*>(data), size});
  if (!archive) return 0;
  std::vector<TideStation> stations;
  if (const auto list = archive->rootList()) {
    for (const auto& object : *list) {
      if (object.isKindOf("TideStation")) stations.emplace_back(object);
    }
    MARLUNE_FUZZ_REQUIRE(!archive->rootObject());
  } else if (const auto object = archive->rootObject()) {
    stations.emplace_back(*object);
    MARLUNE_FUZZ_REQUIRE(object->className().empty() || object->isKindOf(object->className()));
  }
  if (stations.size() > 1000) return 0;  // one record may be listed very often
  std::vector<KeyedArchiver::Object> objects;
  objects.reserve(stations.size());
  for (const auto& station : stations) objects.push_back(KeyedArchiver::object("TideStation", station));
  const auto bytes = KeyedArchiver::archiveList(objects);
  MARLUNE_FUZZ_REQUIRE(bytes);
  const auto list = KeyedUnarchiver::open(*bytes)->rootList();
  MARLUNE_FUZZ_REQUIRE(list && list->size() == stations.size());
  for (std::size_t i = 0; i < stations.size(); ++i) {
    const TideStation again((*list)[i]);
    MARLUNE_FUZZ_REQUIRE(again.stationId == stations[i].stationId);
    MARLUNE_FUZZ_REQUIRE(again.stationName == stations[i].stationName);
    MARLUNE_FUZZ_REQUIRE(again.timezoneName == stations[i].timezoneName);
    MARLUNE_FUZZ_REQUIRE(again.isSubordinate == stations[i].isSubordinate);
    MARLUNE_FUZZ_REQUIRE(again.isGlobal == stations[i].isGlobal);
  }
  return 0;
}
