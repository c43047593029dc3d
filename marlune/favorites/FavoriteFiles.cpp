#include "marlune/favorites/FavoriteFiles.h"

#include <utility>

#include "marlune/formats/KeyedArchive.h"
#include "marlune/formats/PropertyList.h"

namespace marlune {

namespace {

constexpr std::string_view recordClass = "TideStation";

std::size_t memoryOf(const TideStation& station) {
  std::size_t bytes = sizeof station;
  for (const auto* text : {&station.stationId, &station.stationExtId, &station.stationName, &station.stateId,
                           &station.country, &station.timezoneName}) {
    bytes += *text ? (*text)->size() : 0;
  }
  return bytes;
}

}  // namespace

FavoriteFiles::FavoriteFiles(std::shared_ptr<FileAccess> files) : files_(std::move(files)) {}

std::optional<FavoriteFiles::Ids> FavoriteFiles::idsIn(const Data& bytes) {
  const auto list = bytes ? readPropertyList(*bytes) : std::nullopt;
  const auto* values = list ? list->array() : nullptr;
  if (values == nullptr) return std::nullopt;
  Ids ids;
  ids.reserve(values->size());
  for (const PropertyList& value : *values) {
    if (const auto* text = value.text()) ids.push_back(*text);
  }
  return ids;
}

std::optional<Bytes> FavoriteFiles::listOf(const Ids& ids) {
  const PropertyList list(PropertyList::Array(ids.begin(), ids.end()));
  // XML cannot hold every text, and an id is whatever a service says.
  auto bytes = writeXmlPropertyList(list);
  return bytes ? std::move(bytes) : writeBinaryPropertyList(list);
}

std::optional<FavoriteFiles::Stations> FavoriteFiles::globalsIn(const Data& bytes) {
  const auto archive = bytes ? KeyedUnarchiver::open(*bytes) : std::nullopt;
  const auto objects = archive ? archive->rootList() : std::nullopt;
  if (!objects) return std::nullopt;
  Stations stations;
  // An archive may list one long record a million times.
  std::size_t room = PropertyList::maximumBytes;
  for (const KeyedDecoder& object : *objects) {
    if (!object.isKindOf(recordClass)) continue;
    auto station = std::make_shared<TideStation>(object);
    const std::size_t memory = memoryOf(*station);
    if (memory > room) break;
    room -= memory;
    if (station->isGlobal && station->stationId) stations.push_back(std::move(station));
  }
  return stations;
}

std::optional<Bytes> FavoriteFiles::archiveOf(const Stations& stations) {
  std::vector<KeyedArchiver::Object> objects;
  objects.reserve(stations.size());
  for (const auto& station : stations) {
    objects.push_back(KeyedArchiver::object(std::string(recordClass), *station));
  }
  return KeyedArchiver::archiveList(objects);
}

FavoriteFiles::Seen FavoriteFiles::look(std::string_view name) const {
  const auto path = files_->pathInContainer(kGroupContainerName, name);
  if (!path) return {};
  // The state from before the reading: a change after it shows as one.
  const auto state = files_->files()->identity(*path);
  return {state, files_->loadFileInContainer(kGroupContainerName, name)};
}

std::optional<FavoriteFiles::Ids> FavoriteFiles::listToLoad() const {
  const Seen seen = look(listName);
  if (seen.state) return idsIn(seen.bytes);
  auto ids = olderList();
  if (ids) files_->moveFileToSharedContainer(kGroupContainerName, listName);
  return ids;
}

std::optional<FavoriteFiles::Ids> FavoriteFiles::olderList() const {
  return files_->fileExists(listName) ? idsIn(files_->loadFile(listName)) : std::nullopt;
}

FileSystem::Turn FavoriteFiles::takeTurn() const {
  const auto folder = files_->folders()->container(kGroupContainerName);
  return folder ? files_->files()->takeTurn(*folder) : nullptr;
}

bool FavoriteFiles::update(std::string_view name,
                           const std::function<std::optional<Bytes>(const Seen& seen)>& contentFor) const {
  constexpr int mostAttempts = 20;
  constexpr auto durability = FileSystem::Durability::userData;
  const auto folder = files_->folders()->container(kGroupContainerName);
  const auto path = files_->pathInContainer(kGroupContainerName, name);
  for (int attempt = 1;; ++attempt) {
    const Seen seen = look(name);
    const auto bytes = contentFor(seen);
    if (!bytes || !path) return false;
    FileSystem& system = *files_->files();
    if (attempt == mostAttempts) return system.write(*folder, *path, *bytes, durability);
    const auto outcome = system.writeIfUnchanged(*folder, *path, *bytes, durability, seen.state);
    if (outcome != FileSystem::Outcome::changed) return outcome == FileSystem::Outcome::written;
  }
}

void FavoriteFiles::replace(std::string_view name, const Bytes& bytes) const {
  files_->saveFileInContainer(kGroupContainerName, name, bytes, FileSystem::Durability::userData);
}

void FavoriteFiles::remove(std::string_view name) const {
  files_->removeFileInContainer(kGroupContainerName, name);
}

void FavoriteFiles::keepDamaged(std::string_view name, const Seen& seen) const {
  const std::string kept = std::string(name) + ".damaged";
  if (seen.bytes) {
    replace(kept, *seen.bytes);
    return;
  }
  // Not even to be read: the file itself then.
  const auto folder = files_->folders()->container(kGroupContainerName);
  const auto from = files_->pathInContainer(kGroupContainerName, name);
  const auto to = files_->pathInContainer(kGroupContainerName, kept);
  if (from && to) files_->files()->move(*from, *folder, *to);
}

}  // namespace marlune
