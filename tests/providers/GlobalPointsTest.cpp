#include "providers/GlobalTest.h"

namespace marlune::testing {
namespace {

const char* const loaded = "TideData_GlobalTidePointsLoaded";

class GlobalPointsTest : public GlobalTest {
 protected:
  static std::string points(const std::vector<int>& ids, const std::string& more = "") {
    std::string text;
    for (const int id : ids) {
      text += fmt::format(R"({}{{"id":{},"lat":{},"lon":{}{}}})", text.empty() ? "" : ",", id, id % 90,
                          id % 180, more);
    }
    return "[" + text + "]";
  }
  void store(const std::string& text) {
    ASSERT_TRUE(files->saveFileInContainer(kGroupContainerName, "pelagora_points.json", text));
  }
  /// Loads and waits for the end; how many points are published then.
  int load() {
    provider->loadGlobalStationPointsIfNeeded([this, once = completions.once("load")] {
      EXPECT_TRUE(fake.mainThread->isMainThread());
      once();
    });
    EXPECT_TRUE(fake.settle());
    const auto published = provider->globalStations();
    return published ? static_cast<int>(published->size()) : -1;
  }
};

TEST_F(GlobalPointsTest, PointsInsideTheUnitedStatesAreHiddenInThatCountrysBuild) {
  const struct {
    std::optional<std::string> region;
    std::optional<bool> shown;
    bool hidden;
  } builds[] = {{std::nullopt, std::nullopt, true}, {"usa", true, false}, {"worldwide", false, false}};
  for (const auto& [region, shown, hidden] : builds) {
    fake.application = std::make_shared<PropertyListBundle>(std::nullopt, region);
    provider = make();
    if (shown) fake.host().userDefaults->setBoolean("Stations_ShowUSGlobalPoints", *shown);
    EXPECT_EQ(provider->shouldHideUSGlobalPoints(), hidden) << region.value_or("none");
  }
  fake.application = std::make_shared<PropertyListBundle>(std::nullopt, "usa");
  fake.host().userDefaults->setBoolean("Stations_ShowUSGlobalPoints", false);
  provider = make();
  TideDataProvider::Stations all;
  for (const auto& country :
       std::vector<std::optional<std::string>>{"US", "USA", "United States", "usa", "", std::nullopt}) {
    for (const bool global : {true, false}) {
      all.push_back(std::make_shared<TideStation>());
      all.back()->stationId = country.value_or("none") + (global ? "" : "'");
      all.back()->country = country;
      all.back()->isGlobal = global;
    }
  }
  EXPECT_EQ(idsOf(provider->globalPointsFilteredForRegion(all)),
            "US' USA' United States' usa usa'  ' none none' ");
}

TEST_F(GlobalPointsTest, TheStoredCopyIsPublishedAtOnceAndTheFreshOneReplacesIt) {
  store(points({1, 2}));
  fake.http->hold(pointsAddress);
  int ended = 0;
  for (int i = 0; i < 2; ++i) provider->loadGlobalStationPointsIfNeeded([&] { ++ended; });
  std::thread([&] { provider->loadGlobalStationPointsIfNeeded([&] { ++ended; }); }).join();
  EXPECT_TRUE(provider->globalStationsLoading());
  EXPECT_TRUE(provider->getSearchableGlobalStations().empty());
  ASSERT_TRUE(fake.mainThread->runUntil([&] { return provider->globalStations().has_value(); }));
  EXPECT_EQ(namesOf(seen.take()), Names{loaded});
  EXPECT_EQ(idsOf(provider->getSearchableGlobalStations()), "global_1 global_2 ");
  EXPECT_TRUE(provider->globalStationsLoading());
  EXPECT_EQ(ended, 0);
  ASSERT_TRUE(fake.http->waitForRequests(1));
  fake.http->answer(pointsAddress, answerOf(points({3, 4, 3})));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(namesOf(seen.take()), Names{loaded});
  EXPECT_EQ(ended, 3);
  EXPECT_FALSE(provider->globalStationsLoading());
  EXPECT_EQ(idsOf(*provider->globalStations()), "global_3 global_4 global_3 ") << "doubles stay";
  EXPECT_EQ(provider->globalStationById("global_3"), provider->globalStations()->back());
  EXPECT_EQ(provider->globalStationById("global_1"), nullptr);
  EXPECT_EQ(load(), 3);
  EXPECT_EQ(fake.http->requests().size(), 1U) << "what is published is not loaded again";
}

/// A factory whose queue of that name keeps its jobs until it is let go.
class HeldQueue : public ExecutorFactory, public Executor, public std::enable_shared_from_this<HeldQueue> {
 public:
  HeldQueue(std::shared_ptr<ExecutorFactory> others, std::string name)
      : others_(std::move(others)), name_(std::move(name)) {}
  std::shared_ptr<Executor> makeQueue(std::string_view name, std::size_t concurrency) override {
    return name == name_ ? shared_from_this() : others_->makeQueue(name, concurrency);
  }
  void post(Job job) override { jobs_.push_back(std::move(job)); }
  void letGo() {
    for (auto& job : std::exchange(jobs_, {})) job();
  }

 private:
  const std::shared_ptr<ExecutorFactory> others_;
  const std::string name_;
  std::vector<Job> jobs_;
};

TEST_F(GlobalPointsTest, AStoredCopyThatComesLateReplacesNothing) {
  Host host = fake.host();
  const auto disk = std::make_shared<HeldQueue>(host.executors, "tide-utility");
  host.executors = disk;
  provider = std::make_unique<TideDataProvider>(host, files, months, service);
  fake.http->script(pointsAddress, answerOf(points({3, 4})));
  provider->loadGlobalStationPointsIfNeeded(completions.once("load"));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(namesOf(seen.take()), Names{loaded});
  store(points({1}));
  disk->letGo();
  ASSERT_TRUE(fake.settle());
  EXPECT_TRUE(seen.take().empty());
  EXPECT_EQ(idsOf(*provider->globalStations()), "global_3 global_4 ");
}

TEST_F(GlobalPointsTest, AFailedLoadIsTriedAgain) {
  const std::string american = points({1}, R"(,"country":"US")");
  for (const auto& body : {std::string("[]"), std::string("{"), american}) {
    fake.http->script(pointsAddress, answerOf(body));
    EXPECT_EQ(load(), -1) << body;
    EXPECT_FALSE(provider->globalStationsLoading());
  }
  EXPECT_TRUE(seen.take().empty());
  fake.http->script(pointsAddress, answerOf(points({1})));
  EXPECT_EQ(load(), 1);
  EXPECT_EQ(fake.http->requests().size(), 4U);
  // Where the disk is read late, the copy just stored comes before the answer that it was made from.
  EXPECT_FALSE(seen.take().empty());

  provider = make();  // and one that has a stored copy keeps it
  fake.http->script(pointsAddress, answerOf("", 503));
  EXPECT_EQ(load(), 1);
  EXPECT_EQ(namesOf(seen.take()), Names{loaded});
}

TEST_F(GlobalPointsTest, FindsByPlace) {
  provider->loadStationData();
  EXPECT_EQ(idsOf(provider->getStationsByNearest({0, 0})), "8 7 ");
  ASSERT_TRUE(fake.settle());
  fake.http->script(pointsAddress, answerOf(R"([{"id":1,"lat":1,"lon":1},{"id":2,"lat":40,"lon":-120},
                                 {"id":1,"lat":80,"lon":170},{"id":3,"lat":-1,"lon":-1}])"));
  EXPECT_EQ(idsOf(provider->getStationsByNearest({0, 0})), "8 7 ") << "has them loaded for the next time";
  ASSERT_TRUE(fake.settle());
  const std::string nearest = idsOf(provider->getStationsByNearest({0, 0}));
  EXPECT_EQ(nearest, "8 global_3 global_1 global_1 global_2 7 ") << "both stand where the last lies";
  const MapRect all{0, 0, mapWorldSize, mapWorldSize};
  EXPECT_EQ(idsOf(provider->getGlobalStationsInMapVisibleRect(all)), "global_1 global_2 global_1 global_3 ");
  EXPECT_EQ(idsOf(provider->getStationsInMapVisibleRect(all)), "7 8 ");
}

TEST_F(GlobalPointsTest, WhoWaitsForTheEndIsToldByTheDestructor) {
  store(points({1}));
  fake.http->hold(pointsAddress);
  provider->loadGlobalStationPointsIfNeeded(completions.once("on the main thread"));
  std::thread([&] {
    provider->loadGlobalStationPointsIfNeeded(completions.once("on its way to the main thread"));
  }).join();
  ASSERT_TRUE(fake.http->waitForRequests(1));
  provider.reset();
  EXPECT_EQ(completions.outstanding(), 0U);
  EXPECT_FALSE(fake.http->requests().empty());
  fake.http->answer(pointsAddress, answerOf(points({2})));
  ASSERT_TRUE(fake.settle());
  EXPECT_TRUE(seen.take().empty()) << "nothing comes from a provider that is gone";
}

TEST_F(GlobalPointsTest, WhoIsToldMayDestroyTheProvider) {
  fake.http->script(pointsAddress, answerOf(points({1})));
  provider->loadGlobalStationPointsIfNeeded([&, once = completions.once("first")] {
    provider.reset();
    once();
  });
  provider->loadGlobalStationPointsIfNeeded(completions.once("second"));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(completions.outstanding(), 0U);

  provider = make();
  const auto observation =
      fake.notifications->observe(loaded, [&](const Notification&) { provider.reset(); });
  provider->loadGlobalStationPointsIfNeeded(completions.once("third"));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(provider, nullptr);
}

TEST_F(GlobalPointsTest, OnlyWorldwidePointsAreRegistered) {
  provider->registerGlobalStation(nullptr);
  station->stationId = "5";
  station->isGlobal = false;
  provider->registerGlobalStation(station);
  EXPECT_FALSE(provider->getTideStationById("5"));
  station->isGlobal = true;
  provider->registerGlobalStation(station);
  EXPECT_EQ(provider->getTideStationById("5"), station);
}

}  // namespace
}  // namespace marlune::testing
