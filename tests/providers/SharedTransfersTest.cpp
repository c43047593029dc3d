#include <atomic>
#include <set>
#include <thread>

#include "marlune/providers/JoinedWork.h"
#include "providers/GlobalTest.h"

namespace marlune::testing {
namespace {

using Work = JoinedWork<std::shared_ptr<int>>;

TEST(JoinedWorkTest, LastsUntilWhatItBroughtIsStored) {
  const auto work = std::make_shared<Work>();
  std::vector<Work::Share> shares;
  const auto asker = [&] {
    return Work::Asker{.completion = [&](Work::Share share) { shares.push_back(std::move(share)); }};
  };
  const auto before = work->ended();
  const auto first = work->join("a", asker());
  ASSERT_TRUE(first.ticket);
  EXPECT_FALSE(work->join("a", asker(), before).ticket);
  EXPECT_TRUE(work->join("b", asker()).ticket);  // dropped at once: a failure
  ASSERT_EQ(shares.size(), 1U);
  EXPECT_FALSE(shares[0].answer());
  EXPECT_TRUE(work->join("a", asker(), before).lookAgain) << "something has ended since";

  first.ticket->answer(std::make_shared<int>(1));
  first.ticket->answer(std::make_shared<int>(2));
  ASSERT_EQ(shares.size(), 3U);
  shares[1].letGo();
  EXPECT_FALSE(work->join("a", asker()).ticket) << "one has not stored it yet";
  EXPECT_EQ(*shares.at(3).answer(), 1);
  shares.clear();
  EXPECT_FALSE(work->isUnderWay("a"));
  EXPECT_TRUE(work->join("a", asker()).ticket);
}

TEST(JoinedWorkTest, OneThatIsClosedIsNotJoinedAndNobodyWaitsForItself) {
  const auto work = std::make_shared<Work>();
  const auto pending = std::make_shared<PendingOperations>();
  int answered = 0;
  const auto count = [&](const Work::Share&) { ++answered; };
  auto mark = pending->begin("request");
  const auto first = work->join("a", {.completion = count, .mark = mark});
  first.ticket->runHere([&] {
    EXPECT_FALSE(work->join("a", {.completion = count}).ticket);
    EXPECT_TRUE(work->join("a", {.completion = count, .waits = true}).ticket);
  });
  EXPECT_EQ(answered, 1) << "the second ticket was dropped";
  const auto third = work->join("a", {.completion = count, .mark = mark});
  EXPECT_FALSE(pending->begin("request"));
  work->close("a", true);
  const auto again = pending->begin("request");
  EXPECT_TRUE(again);
  mark->end();
  EXPECT_FALSE(pending->begin("request")) << "a mark that has ended frees no later one";
  EXPECT_TRUE(work->join("a", {.completion = count}).ticket);
  third.ticket->answer(nullptr);
  EXPECT_EQ(answered, 3);
}

class SharedTransfersTest : public GlobalTest {
 protected:
  SharedTransfersTest() {
    station = std::make_shared<TideStation>();
    station->stationId = "7";
    station->timezoneName = "UTC";
  }
  /// Runs `ask` on ten threads at once while the main thread goes on, and answers the one request.
  void onTenThreads(const std::string& url, const std::string& body, const std::function<void(int)>& ask) {
    fake.http->hold(url);
    const auto asked = fake.http->requests().size();
    std::atomic<int> running = 10;
    std::vector<std::thread> threads;
    for (int i = 0; i < 10; ++i) {
      threads.emplace_back([&, i] {
        ask(i);
        --running;
        fake.mainThread->wake();
      });
    }
    ASSERT_TRUE(fake.http->waitForRequests(asked + 1));
    fake.http->answer(url, answerOf(body));
    fake.mainThread->runUntil([&] { return running == 0; });
    for (auto& thread : threads) thread.join();
    EXPECT_TRUE(fake.settle());
    EXPECT_EQ(fake.http->requests().size(), asked + 1);
  }
};

TEST_F(SharedTransfersTest, TenRangesAreOneTransferAndEachGetsItsOwn) {
  for (int round = 0; round < 20; ++round) {
    provider = make();
    months->evictAll();
    files->removeFileInContainer(kGroupContainerName, fileName(2024));
    std::atomic<int> right = 0;
    onTenThreads(address(2024), document(2024, 31), [&](int i) {
      // From noon of the second day of a month on, an event an hour.
      provider->fetchTideEventsForStation(station, dateAt(2024, 1 + i, 2, 12), dateAt(2024, 1 + i, 2, 13 + i),
                                          [&, i, once = completions.once("range")](const auto& events) {
                                            if (events && events->size() == 2U + static_cast<unsigned>(i) &&
                                                events->front().timestamp == at(2024, 1 + i, 2, 12)) {
                                              ++right;
                                            }
                                            once();
                                          });
    });
    EXPECT_EQ(right, 10);
  }
}

TEST_F(SharedTransfersTest, TenDaysAreOneDownload) {
  for (int round = 0; round < 20; ++round) {
    provider = make();
    files->removeFileInContainer(kGroupContainerName, fileName(2024));
    seen.take();
    std::atomic<int> right = 0;
    onTenThreads(address(2024), document(2024, 31), [&](int i) {
      const auto events = provider->loadTideEventsForStation(station, dateAt(2024, 1 + i, 2));
      if (events && events->size() == 13 && events->front().timestamp == at(2024, 1 + i, 2, 12)) ++right;
    });
    EXPECT_EQ(right, 10);
    EXPECT_EQ(namesOf(seen.take()), Names{"downloadedTideData"});
  }
}

TEST_F(SharedTransfersTest, TenYearsOfAPointAreOneRequest) {
  std::atomic<int> right = 0;
  onTenThreads(yearAddress(2024), yearAnswer(2024), [&](int i) {
    if (i % 2 == 0) {
      const auto events = provider->fetchGlobalYearEventsBlocking(point, 2024);
      if (events && events->size() == 360) ++right;
      return;
    }
    provider->fetchGlobalTideEventsForStation(point, dateAt(2024, i, 1), dateAt(2024, i, 28),
                                              [&, once = completions.once("year")](const auto& events) {
                                                if (events && events->size() == 30) ++right;
                                                once();
                                              });
  });
  EXPECT_EQ(right, 10);
}

TEST_F(SharedTransfersTest, EveryPathSharesAndEachJudgesByItsOwnMeasure) {
  // A refresh, a month, a range and next year's file ahead of need; 2500 bytes are enough for the ranges
  // only.
  fake.http->hold(address(2024));
  provider->queueRefreshDataTaskForStation(station);
  ASSERT_TRUE(fake.http->waitForRequests(1));
  provider->beginGetHighLowTideData(station, dateAt(2024, 5, 20), nullptr, true);
  std::string year = "<t>";
  for (int i = 0; i < 3; ++i) year += fmt::format(R"(<e t="{}" l="1" w="H"/>)", at(2024, 5, 2, i));
  year += "</t>";
  year.resize(2500, ' ');
  int count = -1;
  provider->fetchTideEventsForStation(station, dateAt(2024, 5, 1), dateAt(2024, 5, 9),
                                      [&, once = completions.once("range")](const auto& events) {
                                        count = events ? static_cast<int>(events->size()) : 0;
                                        once();
                                      });
  // One that prefetches 2024 as the year of its end.
  keep(2023, document(2023, 31));
  provider->fetchTideEventsForStation(station, dateAt(2023, 12, 1), dateAt(2024, 1, 2),
                                      [once = completions.once("over New Year")](const auto&) { once(); });
  fake.http->answer(address(2024), answerOf(year));
  const Names names = namesOf(settled());
  EXPECT_EQ(
      std::set(names.begin(), names.end()),
      (std::set<std::string>{begun, "downloadTideDataFailed", failed, "kMainModelTideDataDownloadFailed"}));
  EXPECT_EQ(names.size(), 4U);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(kept(2024)->size(), 2500U);
  EXPECT_EQ(fake.http->requests().size(), 1U);
}

}  // namespace
}  // namespace marlune::testing
