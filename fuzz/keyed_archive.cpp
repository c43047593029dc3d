#include "marlune/formats/KeyedArchive.h"

#include <vector>

#include "fuzz/Target.h"
#include "marlune/tides/TideStation.h"

/// Stations that are read from an archive can be archived again and are then the same.
MARLUNE_FUZZ_TARGET(input) {
  const auto archive = KeyedUnarchiver::open(input);
  if (!archive) return;
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
  if (stations.size() > 1000) return;  // one record may be listed very often
  const auto archived = [](const std::vector<TideStation>& all) {
    std::vector<KeyedArchiver::Object> objects;
    objects.reserve(all.size());
    for (const auto& station : all) objects.push_back(KeyedArchiver::object("TideStation", station));
    return KeyedArchiver::archiveList(objects);
  };
  const auto bytes = archived(stations);
  MARLUNE_FUZZ_REQUIRE(bytes);
  const auto list = KeyedUnarchiver::open(*bytes)->rootList();
  MARLUNE_FUZZ_REQUIRE(list && list->size() == stations.size());
  MARLUNE_FUZZ_REQUIRE(archived({list->begin(), list->end()}) == bytes);
}
