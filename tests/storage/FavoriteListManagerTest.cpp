#include "marlune/storage/FavoriteListManager.h"

#include <algorithm>
#include <future>
#include <iterator>
#include <map>
#include <sstream>
#include <thread>

#include "marlune/platform/KeyedArchive.h"
#include "support/HostTest.h"
#include "support/NotificationRecorder.h"

namespace marlune {
namespace {

using Ids = std::vector<std::string>;
using StationPtr = FavoriteListManager::StationPtr;
constexpr auto group = kGroupContainerName;
constexpr const char* list = "favorites.plist";
constexpr const char* archive = "favorites_global.archive";

/// The words of a text; "-" stands for nothing at all.
std::optional<Ids> maybe(const std::string& words) {
  std::istringstream stream(words);
  if (words == "-") return std::nullopt;
  return Ids(std::istream_iterator<std::string>(stream), {});
}

StationPtr stationOf(const std::string& id, std::optional<std::string> name = "Name") {
  auto station = std::make_shared<TideStation>(id, id, false, 1.5, -2.5, std::move(name), "S", "C", "UTC");
  station->isGlobal = TideStation::isGlobalStationId(id);
  return station;
}

Bytes listOf(const Ids& ids) {
  return *writeXmlPropertyList(PropertyList::Array(ids.begin(), ids.end()));
}

std::optional<Ids> idsOf(const Data& bytes) {
  const auto read = bytes ? readPropertyList(*bytes) : std::nullopt;
  if (!read || !read->array()) return std::nullopt;
  Ids ids;
  for (const auto& value : *read->array()) ids.push_back(*value.text());
  return ids;
}

std::optional<Ids> archivedIn(const Data& bytes) {
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
struct Meddled : testing::MemoryFileSystem {
  bool write(const std::string& folder, const std::string& path, std::string_view bytes,
             Durability durability) override {
    return !isFull && MemoryFileSystem::write(folder, path, bytes, durability);
  }
  Outcome writeIfUnchanged(const std::string& folder, const std::string& path, std::string_view bytes,
                           Durability durability, const std::optional<FileIdentity>& expected) override {
    if (const auto before = std::exchange(beforeWrite, nullptr)) before();
    EXPECT_EQ(durability, Durability::userData);
    if (isFull) return Outcome::failed;
    return MemoryFileSystem::writeIfUnchanged(folder, path, bytes, durability, expected);
  }
  std::function<void()> beforeWrite;  // called once
  bool isFull = false;
};

class FavoriteListManagerTest : public testing::HostTest {
 protected:
  FavoriteListManagerTest() { fake.files = system; }

  void store(const char* name, const std::optional<Bytes>& bytes) {
    files->removeFileInContainer(group, name);
    EXPECT_TRUE(!bytes || files->saveFileInContainer(group, name, *bytes));
  }
  Data stored(const std::string& name) { return files->loadFileInContainer(group, name); }
  std::optional<Ids> listed() { return idsOf(stored(list)); }

  const std::shared_ptr<Meddled> system = std::make_shared<Meddled>();
  const std::shared_ptr<FileAccess> files = std::make_shared<FileAccess>(fake.folders, system);
  testing::NotificationRecorder posted{*fake.notifications};
  Process process{files, fake.notifications};
  Process other{files, fake.notifications};
  FavoriteListManager& favorites = process.favorites;
};

TEST_F(FavoriteListManagerTest, KeepsOneEntryAnIdAndTellsAfterwards) {
  process.download = [&](const StationPtr& station) {
    EXPECT_TRUE(favorites.IsFavorite(station)) << "stored before others are called";
    EXPECT_TRUE(posted.take().empty());
    favorites.SaveToDisk();
    EXPECT_TRUE(listed()) << "dirty before others are called";
  };
  const auto second = stationOf("1", "beta");
  favorites.AddToFavorites(stationOf("1"));
  EXPECT_EQ(posted.take().size(), 1U);
  favorites.AddToFavorites(second);
  favorites.RemoveFromFavorites(stationOf("absent"));
  const auto seen = posted.take();
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_TRUE(seen[0].name == "TideFavoriteList" && seen[0].object == nullptr && !seen[0].userInfo);
  EXPECT_EQ(favorites.getFavorites(), std::vector{second});

  for (const auto& nobody : {StationPtr(), std::make_shared<TideStation>()}) favorites.AddToFavorites(nobody);
  process.download = nullptr;
  const std::optional<std::string> names[] = {"alpha", "\uFF61", "\U0001F30A", std::nullopt, "Alpha"};
  for (const auto& name : names) favorites.AddToFavorites(stationOf("x" + name.value_or(""), name));
  EXPECT_EQ(process.ids(), (Ids{"x", "xAlpha", "xalpha", "1", "x\U0001F30A", "x\uFF61"}));
}

TEST_F(FavoriteListManagerTest, SavesWhatChanged) {
  favorites.SaveToDisk();
  EXPECT_FALSE(stored(list)) << "nothing changed";
  process.change({"b", "a", "global_2", "global_1"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(*stored(list), listOf({"a", "b", "global_1", "global_2"}));
  store(archive, {});
  favorites.saveGlobalFavorites();
  EXPECT_EQ(archivedIn(stored(archive)), (Ids{"global_1", "global_2"}));

  process.change({"c"}, {});
  favorites.SaveToDisk();
  system->isFull = true;
  process.change({}, {"a"});
  favorites.SaveToDisk();
  system->isFull = false;
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"a", "b", "c", "global_1", "global_2"})) << "a save that failed is over";
  process.change({"d"}, {"global_1", "global_2"});
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"b", "c", "d"})) << "and nothing is forgotten";
  EXPECT_FALSE(files->fileExistsInContainer(group, archive));
}

TEST_F(FavoriteListManagerTest, LoadAddsWhatIsStored) {
  other.change({"a", "global_1", "no"}, {});
  other.favorites.SaveToDisk();
  const auto own = stationOf("a");
  favorites.AddToFavorites(own);
  process.change({"b"}, {"global_1"});
  posted.take();
  favorites.LoadFromDisk();
  EXPECT_EQ(process.ids(), (Ids{"a", "b", "global_1"})) << "a removal that was not saved is taken back";
  EXPECT_NE(favorites.getFavorites()[0], own) << "as stored, by the provider's record";
  EXPECT_TRUE(posted.take().empty());
  EXPECT_EQ(listed(), (Ids{"a", "global_1", "no"}));
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"a", "b", "global_1"})) << "no station has the other";

  process.asked = [&](const std::string& id) {
    if (id == "a") process.change({}, {"global_1", "a"});
    if (id == "b") favorites.SaveToDisk();
  };
  favorites.LoadFromDisk();
  EXPECT_EQ(process.ids(), Ids{"b"}) << "what was removed meanwhile, and saved even, stays so";
}

TEST_F(FavoriteListManagerTest, MovesTheListOfTheDocuments) {
  const struct {
    std::optional<Bytes> container, documents;
    const char* loaded;
    bool isMoved;
  } rows[] = {
      {{}, {}, "", false},
      {{}, listOf({"a"}), "a", true},
      {{}, "damaged", "", false},
      {listOf({"b"}), listOf({"a"}), "b", false},
      {"damaged", listOf({"a"}), "", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.container.value_or("none") + row.documents.value_or("none"));
    store(list, row.container);
    files->removeFile(list);
    EXPECT_TRUE(!row.documents || files->saveFile(list, *row.documents));
    Process fresh(files, fake.notifications);
    fresh.favorites.LoadFromDisk();
    EXPECT_EQ(fresh.ids(), maybe(row.loaded));
    EXPECT_EQ(files->fileExists(list), row.documents && !row.isMoved);
    fresh.favorites.SaveToDisk();
    const auto left = stored(list);
    EXPECT_EQ(left ? std::optional(*left) : std::nullopt, row.isMoved ? row.documents : row.container)
        << "a load changes nothing else, and makes nothing dirty";
  }
  store(list, {});
  ASSERT_TRUE(files->saveFile(list, listOf({"old"})));
  process.change({"new"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"new", "old"})) << "a save before the first load hides no older list";
}

TEST_F(FavoriteListManagerTest, UsesWhatCanBeReadOfADamagedList) {
  using Array = PropertyList::Array;
  struct Row {
    Bytes bytes;
    Ids loaded;
    bool isReadable;
  };
  const Row rows[] = {
      {"", {}, false},
      {listOf({"a", "b"}).substr(0, 200), {}, false},
      {*writeBinaryPropertyList(Array{"b", 5, Array{"x"}, "", true, "a", "b", "no"}), {"", "a", "b"}, true},
      {listOf({"../../x", "a/../../../b"}), {"../../x", "a/../../../b"}, true},
  };
  for (const auto& [bytes, loaded, isReadable] : rows) {
    SCOPED_TRACE(bytes.substr(0, 300));
    store(list, bytes);
    Process fresh(files, fake.notifications);
    fresh.favorites.LoadFromDisk();
    EXPECT_EQ(fresh.ids(), loaded);
    fresh.change({"global_9"}, {"b"});
    fresh.favorites.SaveToDisk();
    Ids kept = loaded;
    kept.push_back("global_9");
    std::erase(kept, "b");
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(listed(), kept);
    const auto damaged = stored(std::string(list) + ".damaged");
    EXPECT_EQ(damaged && *damaged == bytes, !isReadable);
  }
  store(list, "damaged");
  process.change({"a"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"a", "global_9"})) << "the archive still tells of the points";
}

TEST_F(FavoriteListManagerTest, PutsADamagedArchiveAside) {
  const Bytes one = *KeyedArchiver::archive(KeyedArchiver::object("TideStation", *stationOf("global_1")));
  for (const Bytes& bytes : {one, one.substr(0, one.size() / 2), listOf({"global_1"})}) {
    store(archive, bytes);
    store(list, listOf({"a", "global_1"}));
    Process fresh(files, fake.notifications);
    fresh.favorites.LoadFromDisk();
    EXPECT_EQ(fresh.ids(), Ids{"a"});
    fresh.change({}, {"absent"});
    fresh.favorites.SaveToDisk();
    EXPECT_EQ(listed(), Ids{"a"});
    EXPECT_EQ(*stored(std::string(archive) + ".damaged"), bytes);
  }
}

TEST_F(FavoriteListManagerTest, KeepsTheCompareListInTheUsersOrder) {
  constexpr const char* name = "chartcompare.plist";
  EXPECT_FALSE(favorites.loadCompareChartsList());
  favorites.saveCompareChartsList({"b", "no", "\xFF", "a", "b"});
  EXPECT_EQ(*stored(name), listOf({"b", "no", "a", "b"}));
  favorites.saveCompareChartsList({});
  favorites.saveCompareChartsList({"\xFF"});
  const auto stations = favorites.loadCompareChartsList();
  ASSERT_TRUE(stations && stations->size() == 3);
  EXPECT_TRUE((*stations)[0]->stationId == "b" && (*stations)[1]->stationId == "a");
  store(name, "damaged");
  EXPECT_FALSE(favorites.loadCompareChartsList());
  EXPECT_FALSE(stored(list)) << "nothing to do with the favourites";
}

TEST_F(FavoriteListManagerTest, MergesWithWhatOthersSaved) {
  const struct {
    const char *loaded, *added, *removed, *theirs, *file, *memory;
  } rows[] = {
      {"a b", "c", "", "a b", "a b c", "a b c"},
      {"a b", "c", "a", "a b d", "b c d", "b c d"},
      {"a no", "b", "", "a no no2", "a b no2", "a b"},
      {"a b", "c", "", "-", "a b c", "a b c"},
      {"-", "c", "", "a no", "a c no", "a c"},
      {"a global_1", "b", "", "a global_1 global_2", "a b global_1 global_2", "a b global_1 global_2"},
  };
  const TideStation points[] = {*stationOf("global_1"), *stationOf("global_2")};
  const auto bothPoints = KeyedArchiver::archiveList(
      {KeyedArchiver::object("TideStation", points[0]), KeyedArchiver::object("TideStation", points[1])});
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.loaded) + ", then " + row.theirs);
    Process mine(files, fake.notifications);
    const auto loaded = maybe(row.loaded);
    const auto theirs = maybe(row.theirs);
    store(archive, bothPoints);
    store(list, loaded ? std::optional(listOf(*loaded)) : std::nullopt);
    if (loaded) mine.favorites.LoadFromDisk();
    mine.change(*maybe(row.added), *maybe(row.removed));
    store(list, theirs ? std::optional(listOf(*theirs)) : std::nullopt);
    posted.take();
    mine.favorites.SaveToDisk();
    EXPECT_TRUE(posted.take().empty());
    for (int save = 0; save < 2; ++save) {  // another save must lose nothing of the first
      EXPECT_EQ(listed(), maybe(row.file));
      EXPECT_EQ(mine.ids(), maybe(row.memory));
      mine.change({}, {"absent"});
      mine.favorites.SaveToDisk();
    }
    auto archived = maybe(row.file);  // by now the points that nobody lists are gone
    std::erase_if(*archived, [](const auto& id) { return !TideStation::isGlobalStationId(id); });
    EXPECT_EQ(archivedIn(stored(archive)), archived->empty() ? std::nullopt : archived);
  }
}

TEST_F(FavoriteListManagerTest, GivesWayToASaveInBetween) {
  process.change({"a"}, {});
  favorites.SaveToDisk();
  other.favorites.LoadFromDisk();
  for (const char* mine : {"m", "global_1"}) {
    process.change({mine}, {});
    other.change({mine + std::string("2")}, {"a"});
    system->beforeWrite = [&] { other.favorites.SaveToDisk(); };
    favorites.SaveToDisk();
    EXPECT_FALSE(system->beforeWrite);
  }
  EXPECT_EQ(process.ids(), (Ids{"global_1", "global_12", "m", "m2"}));
  EXPECT_EQ(listed(), process.ids());
  EXPECT_EQ(archivedIn(stored(archive)), (Ids{"global_1", "global_12"}));
  // Where every attempt meets another save, one must come through all the same.
  std::function<void()> again = [&] {
    store(list, listOf({"theirs"}));
    system->beforeWrite = again;
  };
  system->beforeWrite = again;
  process.change({"last"}, {});
  favorites.SaveToDisk();
  system->beforeWrite = nullptr;
  EXPECT_EQ(listed(), (Ids{"last", "theirs"}));
}

TEST_F(FavoriteListManagerTest, SavesWhileTheProviderLoads) {
  // The save waits for the provider, which is still loading and ends by loading and saving the favourites.
  store(list, listOf({"a"}));
  std::promise<void> isAsked;
  std::promise<void> isLoaded;
  const auto saver = std::this_thread::get_id();
  process.asked = [&](const std::string&) {
    if (std::this_thread::get_id() != saver) return;
    isAsked.set_value();
    isLoaded.get_future().wait();
  };
  std::thread loader([&] {
    isAsked.get_future().wait();
    favorites.LoadFromDisk();
    process.change({"c"}, {});
    favorites.SaveToDisk();
    isLoaded.set_value();
  });
  process.change({"b"}, {});
  favorites.SaveToDisk();
  loader.join();
  EXPECT_EQ(listed(), (Ids{"a", "b", "c"}));
  EXPECT_EQ(process.ids(), (Ids{"a", "b", "c"}));
}

TEST_F(FavoriteListManagerTest, LosesNothingAmongThreadsAndProcesses) {
  // Fewer saves a process than one save makes attempts, so that none has to come through by force.
  constexpr int threads = 3;
  constexpr int rounds = 6;
  Ids expected;
  std::vector<std::thread> running;
  for (int thread = 0; thread < 2 * threads; ++thread) {
    const bool isOther = thread >= threads;
    Ids ids;
    for (int round = 0; round < rounds; ++round) {
      ids.push_back((thread % threads == 0 ? "global_" : "i") + std::to_string(10 * thread + round));
    }
    expected.insert(expected.end(), ids.begin(), ids.end());
    running.emplace_back([ids, isOther, &each = isOther ? other : process] {
      for (const auto& id : ids) {
        each.change({id, "x" + id}, {});
        if (isOther) each.favorites.LoadFromDisk();  // would take back what is removed and not saved
        if (!isOther) each.change({}, {"x" + id});
        each.favorites.SaveToDisk();
        EXPECT_TRUE(each.favorites.IsFavorite(stationOf(id)));
      }
    });
    if (!isOther) continue;
    std::transform(ids.begin(), ids.end(), std::back_inserter(expected), [](auto& id) { return "x" + id; });
  }
  for (auto& thread : running) thread.join();
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(listed(), expected);
  Process fresh(files, fake.notifications);
  fresh.favorites.LoadFromDisk();
  EXPECT_EQ(fresh.ids(), expected) << "the points too";
}

}  // namespace
}  // namespace marlune
