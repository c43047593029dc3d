#include <algorithm>
#include <future>
#include <thread>

#include "storage/FavoriteTest.h"

namespace marlune::testing {
namespace {

class FavoriteMergeTest : public FavoriteTest {};

TEST_F(FavoriteMergeTest, MergesWithWhatOthersSaved) {
  const struct {
    const char *loaded, *added, *removed, *theirs, *file, *memory;
  } rows[] = {
      {"a b", "c", "", "a b", "a b c", "a b c"},
      {"a b", "c", "a", "a b d", "b c d", "b c d"},
      {"a b", "c", "", "a", "a c", "a c"},
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
    const auto before = mine.ids();
    posted.take();
    mine.favorites.SaveToDisk();
    EXPECT_EQ(posted.take().size(), before == mine.ids() ? 0U : 1U)
        << "told once, if others changed the list";
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

TEST_F(FavoriteMergeTest, GivesWayToASaveInBetween) {
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

TEST_F(FavoriteMergeTest, KeepsAPointThatIsListedAgainWhileItIsDropped) {
  process.change({"global_1", "global_2"}, {});
  favorites.SaveToDisk();
  other.favorites.LoadFromDisk();
  const auto listAgain = [&] {
    other.change({"global_1"}, {});
    other.favorites.SaveToDisk();
  };
  // Between the list and the archive; then between the last look at the list and the archive's own file.
  process.change({}, {"global_1"});
  system->afterWrite = listAgain;
  favorites.SaveToDisk();
  EXPECT_EQ(archivedIn(stored(archive)), (Ids{"global_1", "global_2"}));
  process.change({"a"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(process.ids(), (Ids{"a", "global_1", "global_2"}));
  process.change({}, {"global_1"});
  system->beforeWrite = [&] { system->beforeWrite = listAgain; };
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"a", "global_1", "global_2"}));
  EXPECT_EQ(archivedIn(stored(archive)), (Ids{"global_1", "global_2"}));
}

TEST_F(FavoriteMergeTest, ARemovalOutlivesASaveThatFailed) {
  store(list, listOf({"a", "b"}));  // neither of which this process has seen
  process.change({}, {"a"});
  system->isFull = true;
  favorites.SaveToDisk();
  system->isFull = false;
  EXPECT_EQ(listed(), (Ids{"a", "b"}));
  process.change({"c"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"b", "c"}));
  EXPECT_EQ(process.ids(), (Ids{"b", "c"}));
}

TEST_F(FavoriteMergeTest, ARemovalThatALoadTookBackIsNoChange) {
  store(list, listOf({"a", "b"}));
  favorites.LoadFromDisk();
  process.change({}, {"a"});
  favorites.LoadFromDisk();
  EXPECT_EQ(process.ids(), (Ids{"a", "b"}));
  store(list, listOf({"b"}));
  process.change({"c"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"b", "c"})) << "removed elsewhere, and not kept as this process's own";
}

TEST_F(FavoriteMergeTest, ALoadFindsThePointsOfASaveInBetween) {
  system->afterArchive = [&] {
    other.change({"global_1"}, {});
    other.favorites.SaveToDisk();
  };
  favorites.LoadFromDisk();
  EXPECT_EQ(process.ids(), Ids{"global_1"}) << "the list is newer than the archive that was read";
}

TEST_F(FavoriteMergeTest, WhatIsRemovedWhileASaveAsksStaysSo) {
  store(list, listOf({"b"}));
  process.asked = [&](const std::string& id) { process.change({}, {id}); };
  process.change({"a"}, {});
  favorites.SaveToDisk();
  EXPECT_EQ(process.ids(), Ids{"a"});
  process.asked = nullptr;
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), Ids{"a"});
}

TEST_F(FavoriteMergeTest, WhatIsAddedWhileASaveWritesStaysSo) {
  process.change({"a"}, {});
  favorites.SaveToDisk();
  store(list, listOf({}));  // removed by another process
  process.change({"b"}, {});
  system->beforeWrite = [&] { process.change({"a"}, {}); };
  favorites.SaveToDisk();
  EXPECT_EQ(process.ids(), (Ids{"a", "b"}));
  favorites.SaveToDisk();
  EXPECT_EQ(listed(), (Ids{"a", "b"}));
}

TEST_F(FavoriteMergeTest, ItsTurnIsOverBeforeOthersAreCalled) {
  store(list, listOf({"b"}));
  bool isAsked = false;
  process.asked = [&](const std::string&) {
    isAsked = true;
    EXPECT_EQ(system->turns, 0);
  };
  const auto observation = fake.notifications->observe(
      "TideFavoriteList", [&](const Notification&) { EXPECT_EQ(system->turns, 0); });
  process.change({"a"}, {});
  favorites.SaveToDisk();
  EXPECT_TRUE(isAsked);
  store(archive, {});
  process.change({"global_1"}, {});
  favorites.saveGlobalFavorites();
  EXPECT_EQ(archivedIn(stored(archive)), Ids{"global_1"});
  EXPECT_EQ(system->turns, 0);
}

TEST_F(FavoriteMergeTest, SavesWhileTheProviderLoads) {
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

TEST_F(FavoriteMergeTest, LosesNothingAmongThreadsAndProcesses) {
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

TEST_F(FavoriteMergeTest, AnObserverOfASaveMayAskAndSaveAgain) {
  process.change({"a", "b"}, {});
  favorites.SaveToDisk();
  store(list, listOf({"b", "c"}));
  std::vector<Ids> told;
  const auto observation = fake.notifications->observe("TideFavoriteList", [&](const Notification&) {
    told.push_back(process.ids());
    // From another thread too, which a lock that is still held would keep waiting for ever.
    std::thread([&] { favorites.SaveToDisk(); }).join();
    if (told.size() == 2) {
      store(list, listOf({"b", "c", "e"}));
      favorites.AddToFavorites(stationOf("f"));
      favorites.SaveToDisk();
    }
  });
  favorites.AddToFavorites(stationOf("d"));  // whose notification saves, which takes in c without a
  EXPECT_EQ(told,
            (std::vector<Ids>{{"a", "b", "d"}, {"b", "c", "d"}, {"b", "c", "d", "f"}, {"b", "c", "e", "f"}}));
  EXPECT_EQ(listed(), (Ids{"b", "c", "e", "f"}));
}

}  // namespace
}  // namespace marlune::testing
