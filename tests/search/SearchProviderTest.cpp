#include <fmt/format.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "marlune/providers/TideDataProvider.h"
#include "marlune/search/TideStationSearchProvider.h"
#include "support/HostTest.h"

namespace marlune::testing {
namespace {

using Provider = TideStationSearchProvider;

Provider::StationPtr stationNamed(const std::string& id, std::string name, std::string state) {
  auto station = std::make_shared<TideStation>();
  if (!id.empty()) station->stationId = id;
  station->stationName = std::move(name);
  station->stateId = std::move(state);
  station->isGlobal = TideStation::isGlobalStationId(id);
  station->hasResolvedName = station->isGlobal;
  return station;
}

class SearchProviderTest : public HostTest {
 protected:
  SearchProviderTest() { make(); }

  void make() {
    provider = std::make_unique<Provider>(
        fake.host(), SearchableStations{.getAllTideStations =
                                            [this] {
                                              ++catalogueAsked;
                                              if (onCatalogue) onCatalogue();
                                              return catalogue;
                                            },
                                        .loadGlobalStationPointsIfNeeded = [this] { ++pointsAsked; },
                                        .getSearchableGlobalStations =
                                            [this] {
                                              const std::lock_guard lock(mutex);
                                              return points;
                                            }});
  }

  void publish(Provider::Stations stations) {
    const std::lock_guard lock(mutex);
    points = std::move(stations);
  }

  /// The names found, "none" for no list; the answers of all questions so far, in order, stand in `answers`.
  void ask(const std::string& query) {
    provider->findMatches(query, [this, query, done = completions.once(query)](auto stations) {
      EXPECT_TRUE(closing || fake.mainThread->isMainThread());
      std::string names = stations ? "" : "none";
      if (stations) {
        for (const auto& station : *stations) names += (names.empty() ? "" : "|") + *station->stationName;
      }
      answers.push_back(query + ": " + names);
      done();
    });
  }
  std::string answerTo(const std::string& query) {
    ask(query);
    EXPECT_TRUE(fake.settle());
    return answers.back();
  }

  Provider::Stations catalogue = {stationNamed("1", "Santa Cruz, Monterey Bay", "California"),
                                  stationNamed("2", "Santa Monica", "California"),
                                  stationNamed("3", "Port California", "Maryland"),
                                  stationNamed("4", "Lorne", "Lorne")};
  std::mutex mutex;
  Provider::Stations points;
  std::function<void()> onCatalogue;
  std::atomic<int> catalogueAsked = 0;
  std::atomic<int> pointsAsked = 0;
  bool closing = false;
  std::vector<std::string> answers;
  std::unique_ptr<Provider> provider;
};

TEST_F(SearchProviderTest, FindsNamesAndStates) {
  const std::pair<std::string, std::string> cases[] = {
      {"california", "Santa Cruz, Monterey Bay|Santa Monica|Port California"},
      {"cruz, mon", "Santa Cruz, Monterey Bay"},
      {"MARY", "Port California"},
      {"alif", "Santa Cruz, Monterey Bay|Santa Monica|Port California"},
      {"", "none"},
      {std::string(1'000'000, 'l'), "none"},
      {"\xFF", "none"},
  };
  for (const auto& [query, names] : cases) EXPECT_EQ(answerTo(query), query + ": " + names);
  EXPECT_EQ(catalogueAsked, 1);
  EXPECT_EQ(pointsAsked, static_cast<int>(std::size(cases)));
}

TEST_F(SearchProviderTest, MergesByStationAndDropsNearDuplicates) {
  catalogue = {stationNamed("1", "Bay", "Bay Area"), stationNamed("1", "Old Bay", ""),
               stationNamed("", "Bay", ""),          stationNamed("", "East Bay", ""),
               stationNamed("", "East bay", ""),     nullptr,
               stationNamed("5", "Far Bay", ""),     stationNamed("5", "New Bay", "")};
  catalogue[4]->coordinate = {10, 0};
  // Records of one id are one station; those without any are told apart by name and place alone.
  EXPECT_EQ(answerTo("bay"), "bay: Bay|East Bay|East bay|Far Bay");
  EXPECT_EQ(answerTo("old"), "old: Old Bay");
}

TEST_F(SearchProviderTest, TriesAnEmptyCatalogueAgain) {
  const auto later = std::exchange(catalogue, {});
  EXPECT_EQ(answerTo("lor"), "lor: none");
  catalogue = later;
  EXPECT_EQ(answerTo("lor"), "lor: Lorne");
}

TEST_F(SearchProviderTest, TypesOnWhileThePointsArrive) {
  EXPECT_EQ(answerTo("lo"), "lo: Lorne");
  auto unnamed = stationNamed("global_9", "Lorraine 2", "");
  unnamed->hasResolvedName = false;
  publish(
      {stationNamed("global_1", "Þorlákshöfn", "Lorraine"), unnamed, stationNamed("global_2", "LORNE", "")});
  ask("lor");
  fake.notifications->post({.name = notifications::globalPointsLoaded, .object = nullptr, .userInfo = {}});
  EXPECT_EQ(answerTo("þorl"), "þorl: Þorlákshöfn");
  EXPECT_EQ(answers[1], "lor: Lorne|Þorlákshöfn");
  // What is published later is not looked at, nor is a name that is resolved later.
  unnamed->hasResolvedName = true;
  publish({stationNamed("global_3", "Lorient", "")});
  EXPECT_EQ(answerTo("lor"), "lor: Lorne|Þorlákshöfn");
  EXPECT_EQ(catalogueAsked, 1);
}

TEST_F(SearchProviderTest, FindsAStationThatIsAddedByItself) {
  const auto added = stationNamed("9", "Lornemouth", "Lornshire");
  provider->addStation(added);
  provider->addStation(nullptr);
  EXPECT_EQ(answerTo("lor"), "lor: Lorne|Lornemouth") << "found by name and state, given once";
  EXPECT_EQ(answerTo("lorns"), "lorns: Lornemouth");
  provider->addStation(added);
  EXPECT_EQ(answerTo("lor"), "lor: Lorne|Lornemouth") << "once more is no second station";
  publish({stationNamed("global_1", "Lorient", "")});
  provider->globalTidePointsLoaded({.name = notifications::globalPointsLoaded, .object = {}, .userInfo = {}});
  EXPECT_EQ(answerTo("lor"), "lor: Lorient|Lorne|Lornemouth");
}

TEST_F(SearchProviderTest, AnswersABurstInOrder) {
  std::vector<std::string> expected;
  for (int i = 0; i < 200; ++i) {
    // The slow ones come before the quick ones.
    const std::string query = i % 2 == 0 ? fmt::format("santa{}", i) : "lorne";
    ask(query);
    expected.push_back(query + (i % 2 == 0 ? ": none" : ": Lorne"));
    if (i % 50 == 0) provider->loadStations();
  }
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(answers, expected);
}

TEST_F(SearchProviderTest, AnswersEveryQuestionBeforeItIsGone) {
  // Some are answered, some wait in the main thread's queue, one is being worked on, the others wait.
  ask("lorne");
  ask("cruz");
  ASSERT_TRUE(fake.mainThread->runUntil([this] { return answers.size() == 1; }));
  while (fake.activity->open() != 1) std::this_thread::yield();  // "cruz" waits to be delivered
  EXPECT_EQ(answers, std::vector<std::string>{"lorne: Lorne"});
  ask("monica");
  ask("again");
  auto* const closed = provider.get();
  closed->findMatches("from within", [this, closed](auto stations) {
    EXPECT_FALSE(stations);
    closed->findMatches("lorne", [this](auto none) {
      EXPECT_FALSE(none);
      answers.emplace_back("at the end");
    });
  });
  closing = true;
  provider.reset();
  EXPECT_EQ(answers, (std::vector<std::string>{"lorne: Lorne", "cruz: none", "monica: none", "again: none",
                                               "at the end"}));
  fake.notifications->post({.name = notifications::globalPointsLoaded, .object = nullptr, .userInfo = {}});
}

TEST_F(SearchProviderTest, MayBeDestroyedByItsOwnAnswerAndWhileItIndexes) {
  provider->findMatches("lorne", [this](auto stations) {
    EXPECT_TRUE(stations);
    closing = true;
    provider.reset();
    EXPECT_EQ(answers.size(), 1U);
  });
  ask("cruz");
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(answers, std::vector<std::string>{"cruz: none"});

  std::atomic<bool> indexing = false;
  std::atomic<bool> goOn = false;
  onCatalogue = [&] {
    indexing = true;
    while (!goOn) std::this_thread::yield();
  };
  make();
  ask("lorne");
  while (!indexing) std::this_thread::yield();
  std::thread release([&] { goOn = true; });
  provider.reset();
  release.join();
  EXPECT_EQ(answers.back(), "lorne: none");
}

}  // namespace
}  // namespace marlune::testing
