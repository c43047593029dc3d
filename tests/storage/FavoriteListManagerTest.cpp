#include <algorithm>

#include "storage/FavoriteTest.h"

namespace marlune::testing {
namespace {

class FavoriteListManagerTest : public FavoriteTest {};

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

TEST_F(FavoriteListManagerTest, RegistersNothingButWorldwidePoints) {
  const TideStation records[] = {*stationOf("x"), *stationOf("global_1")};
  store(archive, KeyedArchiver::archiveList({KeyedArchiver::object("TideStation", records[0]),
                                             KeyedArchiver::object("Other", records[1]),
                                             KeyedArchiver::object("TideStation", records[1])}));
  favorites.loadAndRegisterGlobalFavorites();
  ASSERT_EQ(process.points.size(), 1U);
  EXPECT_EQ(process.points.begin()->first, "global_1");
}

TEST_F(FavoriteListManagerTest, PutsAnUnreadableListAside) {
  store(list, listOf({"a"}));
  system->unreadable = list;
  favorites.LoadFromDisk();
  process.change({"b"}, {});
  favorites.SaveToDisk();
  system->unreadable = "none";
  EXPECT_EQ(listed(), Ids{"b"});
  EXPECT_EQ(idsOf(stored(std::string(list) + ".damaged")), Ids{"a"});
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

}  // namespace
}  // namespace marlune::testing
