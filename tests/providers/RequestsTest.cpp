#include <algorithm>
#include <atomic>
#include <set>

#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

class RequestsTest : public ProviderTest {
 protected:
  RequestsTest() {
    observation = fake.notifications->observe("", [this](const Notification&) {
      if (fake.mainThread->isMainThread()) ++onMain;
    });
  }
  void begin(Date date, bool notify = true) {
    provider->beginGetHighLowTideData(station, date, nullptr, notify);
  }
  NotificationCenter::Observation observation;
  std::atomic<int> onMain = 0;
};

TEST_F(RequestsTest, ACachedMonthIsCompletedAtOnce) {
  keep(2024, document(2024, 31));
  provider->populateCacheForStation(station, 2024, 5);
  EXPECT_TRUE(provider->isTideDataCachedForStation(station, dateAt(2024, 5, 20)));
  const Date date = dateFromSeconds(noon + 0.5);
  begin(date);
  const auto posted = seen.take();  // before anything could have run
  ASSERT_EQ(namesOf(posted), Names{completed});
  EXPECT_EQ(posted[0].object, nullptr);
  EXPECT_EQ(std::any_cast<std::shared_ptr<TideStation>>(posted[0].userInfo->at("tidestation")), station);
  EXPECT_EQ(std::any_cast<Date>(posted[0].userInfo->at("date")), date);
  begin(date, false);
  provider->beginGetHighLowTideData(nullptr, date, nullptr, true);
  expectLog("[TideDataProvider] Error: Nil parameter passed to beginGetHighLowTideData");
  EXPECT_TRUE(settled().empty());
}

TEST_F(RequestsTest, AMonthBelow31EventsIsLoadedFromItsFile) {
  keep(2024, document(2024, 30));
  provider->populateCacheForStation(station, 2024, 5);
  EXPECT_FALSE(provider->isTideDataCachedForStation(station, dateAt(2024, 5, 20)));
  begin(dateAt(2024, 5, 20));
  EXPECT_EQ(namesOf(seen.take()), Names{begun});
  const auto posted = settled();
  EXPECT_EQ(namesOf(posted), Names{completed});
  EXPECT_EQ(onMain, 2);
  EXPECT_EQ(inMemory(2024, 6), 30U) << "and the month after with it";
  EXPECT_EQ(inMemory(2024, 7), 0U);
  EXPECT_TRUE(fake.http->requests().empty());
}

TEST_F(RequestsTest, NovemberFetchesTheNextYearAheadOfNeed) {
  keep(2024, document(2024, 31));
  fake.http->script(address(2025), answerOf(document(2025, 31)));
  begin(dateAt(2024, 11, 30));
  Names names = namesOf(settled());
  std::sort(names.begin(), names.end());  // the download and the load are under way side by side
  EXPECT_EQ(names, (Names{begun, completed, "downloadedTideData"}));
  EXPECT_EQ(inMemory(2024, 12), 31U);
  EXPECT_TRUE(kept(2025));
  EXPECT_EQ(inMemory(2025, 1), 31U);

  provider->clearCache();
  begin(dateAt(2024, 12, 30));
  settled();
  EXPECT_EQ(inMemory(2024, 12), 31U);
  EXPECT_EQ(inMemory(2025, 1), 0U) << "December fills only itself";
}

TEST_F(RequestsTest, ADownloadEndsInCompletedOrError) {
  const struct {
    std::size_t size;
    Names names;
  } cases[] = {{2500, {begun, "downloadTideDataFailed", failed}},
               {2501, {begun, "downloadedTideData", completed}}};
  allowLog("addTideData");
  months->cacheEvents({{at(2024, 9, 2), 1, true}}, "7", 2024, 9);
  for (const auto& [size, names] : cases) {
    fake.http->script(address(2024), answerOf(padded(size)));
    onMain = 0;
    begin(dateAt(2024, 5, 20));
    const auto posted = settled();
    EXPECT_EQ(namesOf(posted), names);
    EXPECT_EQ(posted[1].object, provider.get());
    EXPECT_EQ(std::any_cast<std::string>(posted[1].userInfo->at("filename")), fileName(2024));
    EXPECT_GE(std::any_cast<double>(posted[1].userInfo->at("duration")), 0.0);
    EXPECT_EQ(kept(2024) != nullptr, size == 2501);
    EXPECT_EQ(onMain, 2) << "the download's own notification comes from its thread";
    EXPECT_EQ(std::any_cast<Date>(posted.back().userInfo->at("date")), dateAt(2024, 5, 20));
  }
  EXPECT_FALSE(months->cachedEvents("7", 2024, 9)) << "a new year evicts the station's months";
}

TEST_F(RequestsTest, EqualRequestsAreOneAndOtherMonthsOfTheYearAreToldToo) {
  fake.http->hold(address(2024));
  begin(dateAt(2024, 7, 1), false);
  for (int i = 0; i < 3; ++i) begin(dateAt(2024, 5, 20));
  begin(dateAt(2024, 6, 20));
  begin(dateAt(2024, 7, 20));  // the one under way tells nobody
  ASSERT_TRUE(fake.http->waitForRequests(1));
  fake.http->answer(address(2024), answerOf(document(2024, 31)));
  auto posted = settled();
  ASSERT_EQ(namesOf(posted), (Names{begun, begun, begun, begun, begun, "downloadedTideData", completed,
                                    completed, completed}));
  std::set<Date> dates;
  for (std::size_t i = 6; i < posted.size(); ++i) {
    dates.insert(std::any_cast<Date>(posted[i].userInfo->at("date")));
  }
  EXPECT_EQ(dates, (std::set{dateAt(2024, 5, 20), dateAt(2024, 6, 20), dateAt(2024, 7, 20)}));
  for (const int month : {5, 6, 7}) EXPECT_EQ(inMemory(2024, month), 31U);
  EXPECT_EQ(fake.http->requests().size(), 1U);
  provider->clearCache();
  begin(dateAt(2024, 5, 20));
  EXPECT_EQ(namesOf(settled()), (Names{begun, completed})) << "the key is free again";
}

TEST_F(RequestsTest, AMonthIsToldOfWhereAFavouritesDownloadOrARefreshHasItsYear) {
  for (const bool refreshes : {false, true}) {
    SCOPED_TRACE(refreshes);
    fake.http->hold(address(2024));
    fake.http->script(address(2025), answerOf(padded(50)));
    const auto asked = fake.http->requests().size();
    if (refreshes) {
      provider->queueRefreshDataTaskForStation(station);
    } else {
      provider->verifyAndDownloadFavoriteStationData(station);  // this year's and the next one's
    }
    ASSERT_TRUE(fake.http->waitForRequests(asked + (refreshes ? 1 : 2)));
    begin(dateAt(2024, 5, 20));
    begin(dateAt(2024, 6, 20));
    provider->verifyAndDownloadFavoriteStationData(station);
    // A year that is long enough for a favourite, and too short for a month.
    fake.http->script(address(2024), answerOf(padded(2500)));  // for who comes too late to share it
    fake.http->answer(address(2024), answerOf(padded(2500)));
    Names names = namesOf(settled());
    const auto count = [&](const char* name) { return std::count(names.begin(), names.end(), name); };
    EXPECT_EQ(count(begun), 2);
    EXPECT_EQ(count(failed), 2);
    EXPECT_EQ(count("kMainModelTideDataDownloadFailed"), refreshes ? 1 : 0);
    EXPECT_EQ(kept(2024) != nullptr, !refreshes) << "no favourite is fetched beside a download of its year";
    files->removeFileInContainer(kGroupContainerName, fileName(2024));
  }
}

TEST_F(RequestsTest, APoorFileIsDeletedAndRefreshed) {
  const std::string poor[] = {padded(2499), document(2024, 29), "<broken" + padded(3000)};
  fake.http->script(address(2024), answerOf(document(2024, 31, 5.0)));
  for (const auto& bytes : poor) {
    provider->clearCache();
    keep(2024, bytes);
    begin(dateAt(2024, 3, 20));
    const auto posted = settled();
    EXPECT_EQ(namesOf(posted), (Names{begun, "downloadedTideData", completed})) << bytes.size();
    EXPECT_EQ(std::any_cast<Date>(posted.back().userInfo->at("date")), dateFromSeconds(noon));
    EXPECT_EQ(inMemory(2024, 5), 31U) << "a refresh brings the current month";
    EXPECT_EQ(*kept(2024), document(2024, 31, 5.0));
  }
}

TEST_F(RequestsTest, AStoredYearOf2500BytesIsTakenAndAShorterOneIsNot) {
  for (const std::size_t size : {2500U, 2499U}) {
    std::string year = "<t>";
    for (int i = 0; i < 30; ++i) year += fmt::format(R"(<e t="{}" l="1" w="H"/>)", at(2024, 3, 2, i));
    year += "</t>";
    year.resize(size, ' ');
    provider->clearCache();
    keep(2024, year);
    fake.http->script(address(2024), answerOf(document(2024, 31)));
    begin(dateAt(2024, 3, 20));
    EXPECT_EQ(namesOf(settled()),
              size == 2500 ? (Names{begun, completed}) : (Names{begun, "downloadedTideData", completed}));
    EXPECT_EQ(inMemory(2024, 3), size == 2500 ? 30U : 0U);
  }
}

TEST_F(RequestsTest, AFailedRefreshSaysSoAndKeepsTheFile) {
  keep(2024, document(2024, 31));
  fake.http->script(address(2024), answerOf(padded(2000)));
  provider->queueRefreshDataTaskForStation(station);
  provider->queueRefreshDataTaskForStation(nullptr);
  const auto posted = settled();
  ASSERT_EQ(namesOf(posted), (Names{"downloadTideDataFailed", "kMainModelTideDataDownloadFailed"}));
  EXPECT_EQ(std::any_cast<std::string>(posted[1].userInfo->at("error")),
            "Error refreshing tide data for station id '7'. Size:0. Contact help@tides.test for support.");
  EXPECT_EQ(*kept(2024), document(2024, 31));
}

TEST_F(RequestsTest, ARefreshReplacesTheCurrentMonth) {
  keep(2024, document(2024, 31, 1.0));
  provider->populateCacheForStation(station, 2024, 5);
  provider->populateCacheForStation(station, 2024, 6);
  fake.http->script(address(2024), answerOf(document(2024, 30, 2.0)));
  provider->queueRefreshDataTaskForStation(station);
  settled();
  EXPECT_EQ(inMemory(2024, 5), 30U) << "dropped before the merge";
  EXPECT_EQ(inMemory(2024, 6), 31U);
  EXPECT_FALSE(months->cachedEvents("7", 2024, 6)) << "evicted";
}

TEST_F(RequestsTest, ADayIs86400SecondsFromTheStationsMidnight) {
  station->timezoneName = "America/New_York";
  std::string text = "<t>";
  const std::int64_t midnight = TimeZone::named("America/New_York")->instant({2024, 3, 10, 0, 0, 0});
  for (const std::int64_t t : {midnight - 1, midnight, midnight + 86'400, midnight + 86'401}) {
    text += fmt::format(R"(<e t="{}" l="1" w="H"/>)", t);
  }
  keep(2024, text + "</t>");
  const auto day = provider->loadTideEventsForStation(station, dateAt(2024, 3, 10, 20));  // a day of 23 hours
  ASSERT_EQ(day->size(), 2U);
  EXPECT_EQ(day->back().timestamp, midnight + 86'400);
}

TEST_F(RequestsTest, ARangeThatIsMissingIsTransferredFrom251BytesOn) {
  allowLog("addTideData");
  fake.http->script(address(2024), answerOf(padded(250)));
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 6, 30)), -1);
  EXPECT_FALSE(kept(2024));
  fake.http->script(address(2024), answerOf(padded(251), 404));
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 6, 30)), -1);
  EXPECT_TRUE(kept(2024)) << "only the size decides";
  fake.http->script(address(2024), answerOf(document(2024, 31)));
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 6, 30)), 62) << "and the bad file is overcome";
  EXPECT_EQ(months->cachedEvents("7", 2024, 6)->size(), 31U);
  EXPECT_EQ(fake.http->requests().size(), 3U);
  provider->clearCache();
  months->evictAll();
  keep(2024, document(2024, 1));
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 5, 30)), 31) << "nor is one event enough";
  EXPECT_TRUE(settled().empty()) << "a range fetch posts nothing";
}

TEST_F(RequestsTest, ARangeOverNewYearAlsoBringsTheNextYearsFile) {
  keep(2024, document(2024, 31));
  fake.http->hold(address(2025));
  std::size_t atOnce = 0;
  provider->fetchTideEventsForStation(station, dateAt(2024, 12, 2), dateAt(2025, 1, 2, 13),
                                      [&](const auto& events) { atOnce = events->size(); });
  EXPECT_EQ(atOnce, 31U) << "what is there is not kept waiting";
  ASSERT_TRUE(fake.http->waitForRequests(1));
  ASSERT_TRUE(fake.http->answer(address(2025), answerOf(document(2025, 31))));
  EXPECT_TRUE(settled().empty());
  EXPECT_TRUE(kept(2025));
  EXPECT_EQ(fetched(dateAt(2024, 12, 2), dateAt(2025, 1, 2, 13)), 33);
  EXPECT_EQ(fake.http->requests().size(), 1U);
}

TEST_F(RequestsTest, FavouritesKeepThisYearAndTheNext) {
  EXPECT_EQ(provider->yearsForFavoriteDownload(), (Names{"2024", "2025"}));
  keep(2024, "anything");
  fake.http->script(address(2025), answerOf(padded(50)));
  provider->verifyAndDownloadFavoriteStationData(station);
  EXPECT_TRUE(settled().empty());
  EXPECT_FALSE(kept(2025));
  fake.http->script(address(2025), answerOf(padded(51)));
  provider->verifyAndDownloadFavoriteStationData(station);
  EXPECT_TRUE(settled().empty()) << "nothing is posted";
  EXPECT_TRUE(kept(2025));
  EXPECT_EQ(fake.http->requests().size(), 2U);
}

TEST_F(RequestsTest, DestroyedWithWorkInFlightItCallsEveryCompletionOnce) {
  for (const int year : {2023, 2024, 2025}) fake.http->hold(address(year));
  begin(dateAt(2024, 5, 20));
  provider->queueRefreshDataTaskForStation(station);
  provider->verifyAndDownloadFavoriteStationData(station);
  for (int i = 0; i < 4; ++i) {
    provider->fetchTideEventsForStation(station, dateAt(2023, 5, 1), dateAt(2023, 5, 9),
                                        [once = completions.once("fetch")](const auto& events) {
                                          EXPECT_FALSE(events);
                                          once();
                                        });
  }
  ASSERT_TRUE(fake.http->waitForRequests(3));  // one an address
  provider.reset();
  EXPECT_EQ(completions.outstanding(), 0U);
  seen.take();
  EXPECT_TRUE(settled().empty()) << "nothing comes from a provider that is gone";
}

}  // namespace
}  // namespace marlune::testing
