#include "providers/GlobalTest.h"

namespace marlune::testing {
namespace {

class GlobalYearsTest : public GlobalTest {};

TEST_F(GlobalYearsTest, AYearIsFiledByTheMonthsOfItsPlace) {
  script(2024,
         yearAnswer(2024, {1, 5, 12},
                    R"({"time":"2023-12-31T22:40:00Z","level":-1},{"time":"2023-12-31T23:10:00Z","level":2},)"
                    R"({"time":"2024-12-31T23:00:00Z","level":3})"));
  EXPECT_TRUE(ensure(2024));
  EXPECT_EQ(inMemory(2023, 12), 1U);
  EXPECT_EQ(inMemory(2024, 1), 31U) << "the year begins at 23:00 UTC there";
  EXPECT_EQ(inMemory(2025, 1), 1U);
  EXPECT_FALSE(months->cachedEvents("global_5", 2023, 12));
  EXPECT_FALSE(months->cachedEvents("global_5", 2025, 1)) << "only the year that was asked for is written";
  EXPECT_EQ(months->cachedEvents("global_5", 2024, 1)->size(), 31U);
  EXPECT_EQ(months->cachedEvents("global_5", 2024, 1)->front().tidelevel, 2);
  EXPECT_TRUE(ensure(2024));
  EXPECT_EQ(fake.http->requests().size(), 1U);
}

TEST_F(GlobalYearsTest, TheMainThreadNeverWaits) {
  EXPECT_FALSE(provider->ensureGlobalYearCached(point, 2024));
  EXPECT_FALSE(provider->populateCacheForStation(point, 2024, 5));
  EXPECT_FALSE(provider->tideEventsForStation(point, 2024, 5, 0, at(2030, 1, 1)));
  EXPECT_FALSE(provider->getTideDataByTimestamp(point, at(2024, 5, 1), at(2024, 5, 9)));
  EXPECT_TRUE(fake.http->requests().empty());
}

TEST_F(GlobalYearsTest, AJanuaryOnTheDiskStandsForTheYear) {
  script(2024, yearAnswer(2024));
  EXPECT_TRUE(ensure(2024));
  const std::string folder = fake.container(kGroupContainerName);
  const auto fresh = [&](const std::vector<int>& missing) {
    provider = make();
    for (const int month : missing) {
      fake.files->remove(fmt::format("{}/tcache_global_5_2024_{}.bin", folder, month));
    }
    return provider->ensureGlobalYearCached(point, 2024);
  };
  EXPECT_TRUE(fresh({}));
  EXPECT_EQ(inMemory(2024, 12), 30U);
  EXPECT_TRUE(fresh({2, 12}));
  EXPECT_FALSE(provider->tideEventsForStation(point, 2024, 2, 0, at(2030, 1, 1))) << "a hole stays";
  EXPECT_EQ(provider->tideEventsForStation(point, 2024, 3, 0, at(2030, 1, 1))->size(), 30U);
  months->cacheEvents({{at(2024, 1, 5), 1, true}}, "global_5", 2024, 1);
  EXPECT_FALSE(fresh({})) << "a January of 25 events or fewer does not";
  EXPECT_EQ(inMemory(2024, 3), 30U) << "but what is there is taken";
}

TEST_F(GlobalYearsTest, AMonthRequestEndsInCompletedOrErrorAndItsKeyIsFree) {
  const Date date = dateAt(2024, 5, 20);
  for (const bool works : {false, true}) {
    script(2024, works ? yearAnswer(2024) : "", works ? 200 : 404);
    int asked = 0;
    const auto again = fake.notifications->observe(failed, [&](const Notification& told) {
      EXPECT_TRUE(fake.mainThread->isMainThread());
      EXPECT_EQ(std::any_cast<std::shared_ptr<TideStation>>(told.userInfo->at("tidestation")), point);
      if (asked++ == 0) provider->beginGetHighLowTideData(point, date, nullptr, true);
    });
    provider->beginGetHighLowTideData(point, date, nullptr, true);
    const Names once = {begun, works ? completed : failed};
    EXPECT_EQ(namesOf(settled()), works ? once : (Names{begun, failed, begun, failed}))
        << "who is told may ask again";
  }
  EXPECT_EQ(fake.http->requests().size(), 3U);
  provider->beginGetHighLowTideData(point, date, nullptr, false);
  EXPECT_TRUE(settled().empty());
}

TEST_F(GlobalYearsTest, OneLoadAStationAndYearWhoeverAsks) {
  fake.http->hold(yearAddress(2024));
  script(2025, "", 500);
  provider->verifyAndDownloadFavoriteStationData(point);  // 2024 and 2025
  for (const int day : {20, 21}) {
    provider->beginGetHighLowTideData(point, dateAt(2024, 5, day), nullptr, true);
  }
  provider->beginGetHighLowTideData(point, dateAt(2024, 6, 20), nullptr, true);
  provider->verifyAndDownloadFavoriteStationData(point);
  ASSERT_TRUE(fake.http->waitForRequests(2));
  fake.http->answer(yearAddress(2024), answerOf(yearAnswer(2024)));
  EXPECT_EQ(namesOf(settled()), (Names{begun, begun, begun, completed, completed}))
      << "a load that tells nobody is joined, and a month is told of once";
  EXPECT_LE(fake.http->requests().size(), 3U);
  EXPECT_EQ(inMemory(2024, 5), 30U);
}

TEST_F(GlobalYearsTest, ARefreshReplacesTheCurrentYear) {
  script(2024, "", 404);
  for (int i = 0; i < 2; ++i) {
    provider->queueRefreshDataTaskForStation(point);
    EXPECT_TRUE(settled().empty()) << "a failure posts nothing";
  }
  EXPECT_EQ(fake.http->requests().size(), 2U) << "and frees the key";
  provider->cacheGlobalYearEvents({{at(2024, 9, 2), 1, true}}, point, 2024);
  provider->cacheGlobalYearEvents({{at(2025, 9, 2), 1, true}}, point, 2025);
  script(2024, yearAnswer(2024));
  provider->queueRefreshDataTaskForStation(point);
  EXPECT_EQ(namesOf(settled()), Names{completed});
  EXPECT_EQ(inMemory(2024, 9), 30U);
  EXPECT_EQ(inMemory(2025, 9), 1U) << "other years stay in memory";
  EXPECT_FALSE(months->cachedEvents("global_5", 2025, 9)) << "and go from the disk";
}

TEST_F(GlobalYearsTest, ARangeIsFetchedUnlessTwoEventsAreAtHand) {
  script(2024, "", 404);
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 6, 9)), -1);
  EXPECT_TRUE(cameOnMain);
  EXPECT_EQ(fake.http->requests().size(), 1U) << "both months are of one year";
  provider->cacheGlobalYearEvents({{at(2024, 5, 3), 1, true}}, point, 2024);
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 5, 9)), 1) << "one that is found is delivered";
  EXPECT_EQ(fake.http->requests().size(), 2U) << "but not before the service was asked";
  script(2024, yearAnswer(2024, {12}));
  script(2025, yearAnswer(2025, {1}));
  EXPECT_EQ(fetched(dateAt(2024, 12, 1), dateAt(2025, 1, 30)), 60);
}

TEST_F(GlobalYearsTest, APointThatIsHandedInIsKnownFromThenOn) {
  script(2024, "", 404);
  provider->beginGetHighLowTideData(point, dateAt(2024, 5, 1), nullptr, false);
  EXPECT_EQ(provider->getTideStationById("global_5"), point);
  provider = make();
  fetched(dateAt(2024, 5, 1), dateAt(2024, 5, 1));
  EXPECT_EQ(provider->getTideStationById("global_5"), point);
  provider->populateCacheForStation(std::make_shared<TideStation>(*point), 2024, 5);
  EXPECT_EQ(provider->getTideStationById("global_5"), point) << "one that is known stays";
  ASSERT_TRUE(fake.settle());
}

/// A provider that does not wait for years.
class HastyProvider : public TideDataProvider {
 public:
  using TideDataProvider::TideDataProvider;
  ~HastyProvider() override { stopWork(); }

 protected:
  std::chrono::nanoseconds globalYearLimit() const override { return std::chrono::nanoseconds(0); }
};

TEST_F(GlobalYearsTest, ALateAnswerIsDroppedAndTheNextRequestTriesAgain) {
  provider = std::make_unique<HastyProvider>(fake.host(), files, months, service);
  fake.http->hold(yearAddress(2024));
  EXPECT_FALSE(ensure(2024));
  ASSERT_TRUE(fake.http->waitForRequests(1));
  fake.http->answer(yearAddress(2024), answerOf(yearAnswer(2024)));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(inMemory(2024, 5), 0U);
  provider = std::make_unique<TideDataProvider>(fake.host(), files, months, service);
  EXPECT_TRUE(ensure(2024)) << "from what the service kept";
}

TEST_F(GlobalYearsTest, DestroyedWithWorkInFlightItCallsEveryCompletionOnce) {
  fake.http->hold(yearAddress(2024));
  fake.http->hold(yearAddress(2025));
  const auto ask = [&](int year) {
    provider->fetchTideEventsForStation(point, dateAt(year, 5, 1), dateAt(year, 5, 9),
                                        [once = completions.once("fetch")](const auto&) { once(); });
  };
  for (int i = 0; i < 8; ++i) ask(2024);  // more than run at a time
  provider->beginGetHighLowTideData(point, dateAt(2025, 5, 20), nullptr, true);
  provider->queueRefreshDataTaskForStation(point);
  ASSERT_TRUE(fake.http->waitForRequests(2));
  provider.reset();  // at once: the service has not answered
  EXPECT_EQ(completions.outstanding(), 0U);
  fake.http->answer(yearAddress(2024), answerOf(yearAnswer(2024)));
  fake.http->answer(yearAddress(2025), answerOf("", 500));
  EXPECT_EQ(namesOf(settled()), Names{begun});
}

TEST_F(GlobalYearsTest, TheFavouritesAreLoadedOverTheCatalogueOnTheLoadingThread) {
  int loads = 0;
  int saves = 0;
  favorites.load = [&] {
    ++loads;
    EXPECT_EQ(provider->getTideStationById("7")->stationName, "Seven");
    provider->registerGlobalStation(point);
  };
  favorites.save = [&] { ++saves; };
  provider = make();
  EXPECT_EQ(provider->getTideStationById("global_5"), point);
  provider->savePrefs();
  EXPECT_EQ(loads, 1);
  EXPECT_EQ(saves, 1);
}

}  // namespace
}  // namespace marlune::testing
