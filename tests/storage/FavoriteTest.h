#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "marlune/favorites/FavoriteListManager.h"
#include "marlune/formats/KeyedArchive.h"
#include "marlune/formats/PropertyList.h"
#include "support/HostTest.h"
#include "support/NotificationRecorder.h"

namespace marlune::testing {

using Ids = std::vector<std::string>;
using StationPtr = FavoriteListManager::StationPtr;
inline constexpr auto group = kGroupContainerName;
inline constexpr const char* list = "favorites.plist";
inline constexpr const char* archive = "favorites_global.archive";

/// The words of a text; "-" stands for nothing at all.
inline std::optional<Ids> maybe(const std::string& words) {
  std::istringstream stream(words);
  if (words == "-") return std::nullopt;
  return Ids(std::istream_iterator<std::string>(stream), {});
}

inline StationPtr stationOf(const std::string& id, std::optional<std::string> name = "Name") {
  auto station = std::make_shared<TideStation>(id, id, false, 1.5, -2.5, std::move(name), "S", "C", "UTC");
  station->isGlobal = TideStation::isGlobalStationId(id);
  return station;
}

inline Bytes listOf(const Ids& ids) {
  return *writeXmlPropertyList(PropertyList::Array(ids.begin(), ids.end()));
}

inline std::optional<Ids> idsOf(const Data& bytes) {
  const auto read = bytes ? readPropertyList(*bytes) : std::nullopt;
  if (!read || !read->array()) return std::nullopt;
  Ids ids;
  for (const auto& value : *read->array()) ids.push_back(*value.text());
  return ids;
}

inline std::optional<Ids> archivedIn(const Data& bytes) {
  const auto read = bytes ? KeyedUnarchiver::open(*bytes) : std::nullopt;
  const auto objects = read ? read->rootList() : std::nullopt;
  if (!objects) return std::nullopt;
  Ids ids;
  for (const auto& object : *objects) ids.push_back(*TideStation(object).stationId);
  return ids;
}

/// A process of the application: its provider, which knows every id that is no worldwide point and does not
/// begin with "no", and its favourites.
struct Process {
  Process(std::shared_ptr<FileAccess> files, std::shared_ptr<NotificationCenter> center)
      : favorites(std::move(files), std::move(center),
                  {[this](const std::string& id) {
                     if (asked) asked(id);
                     const std::lock_guard lock(mutex);
                     const auto point = points.find(id);
                     if (point != points.end()) return point->second;
                     return id.starts_with("global_") || id.starts_with("no") ? nullptr : stationOf(id);
                   },
                   [this](const StationPtr& station) {
                     const std::lock_guard lock(mutex);
                     points[*station->stationId] = station;
                   },
                   [this](const StationPtr& station) {
                     if (download) download(station);
                   }}) {}

  void change(const Ids& added, const Ids& removed) {
    for (const auto& id : added) favorites.AddToFavorites(stationOf(id));
    for (const auto& id : removed) favorites.RemoveFromFavorites(stationOf(id));
  }
  Ids ids() const {
    Ids all;
    for (const auto& station : favorites.getFavorites()) all.push_back(*station->stationId);
    return all;
  }

  std::mutex mutex;
  std::map<std::string, StationPtr> points;
  std::function<void(const std::string&)> asked;
  std::function<void(const StationPtr&)> download;
  FavoriteListManager favorites;
};

/// Files in memory, between whose reading and writing others may come.
struct Meddled : MemoryFileSystem {
  bool write(const std::string& folder, const std::string& path, std::string_view bytes,
             Durability durability) override {
    return !isFull && MemoryFileSystem::write(folder, path, bytes, durability);
  }
  Outcome writeIfUnchanged(const std::string& folder, const std::string& path, std::string_view bytes,
                           Durability durability, const std::optional<FileIdentity>& expected) override {
    if (const auto before = std::exchange(beforeWrite, nullptr)) before();
    EXPECT_EQ(durability, Durability::userData);
    EXPECT_GT(turns, 0) << "nobody else is kept out";
    if (isFull) return Outcome::failed;
    const auto outcome = MemoryFileSystem::writeIfUnchanged(folder, path, bytes, durability, expected);
    if (const auto after = std::exchange(afterWrite, nullptr)) after();
    return outcome;
  }
  std::optional<Bytes> read(const std::string& path) override {
    auto bytes = path.ends_with(unreadable) ? std::nullopt : MemoryFileSystem::read(path);
    if (path.ends_with(archive)) {
      if (const auto after = std::exchange(afterArchive, nullptr)) after();
    }
    return bytes;
  }
  Turn takeTurn(const std::string& folder) override {
    EXPECT_TRUE(folder.starts_with("/data")) << folder;
    ++turns;
    return {this, [](Meddled* system) { --system->turns; }};
  }
  std::atomic<int> turns = 0;          // that are held
  std::function<void()> beforeWrite;   // called once
  std::function<void()> afterWrite;    // called once
  std::function<void()> afterArchive;  // was read; called once
  bool isFull = false;
  std::string unreadable = "none";  // what is there, but cannot be read
};

/// Two processes of an application over the same files.
class FavoriteTest : public HostTest {
 protected:
  FavoriteTest() { fake.files = system; }

  void store(const char* name, const std::optional<Bytes>& bytes) {
    files->removeFileInContainer(group, name);
    EXPECT_TRUE(!bytes || files->saveFileInContainer(group, name, *bytes));
  }
  Data stored(const std::string& name) { return files->loadFileInContainer(group, name); }
  std::optional<Ids> listed() { return idsOf(stored(list)); }

  const std::shared_ptr<Meddled> system = std::make_shared<Meddled>();
  const std::shared_ptr<FileAccess> files = std::make_shared<FileAccess>(fake.folders, system);
  NotificationRecorder posted{*fake.notifications};
  Process process{files, fake.notifications};
  Process other{files, fake.notifications};
  FavoriteListManager& favorites = process.favorites;
};

}  // namespace marlune::testing
