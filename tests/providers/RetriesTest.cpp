#include "marlune/providers/TideDataArchiver.h"
#include "marlune/providers/TideDataProviderAus.h"
#include "marlune/providers/TideDataProviderUK.h"
#include "providers/GlobalTest.h"

// Observers that ask again, and observers and completions that destroy the provider.

namespace marlune::testing {
namespace {

/// Delivers at once, on the thread that posts: whatever is posted too early is seen too early.
class ImpatientMainThread : public MainThread {
 public:
  void post(Job job) override { job(); }
  bool isMainThread() const override { return false; }
};

class RetriesTest : public GlobalTest {
 protected:
  RetriesTest() {
    station = std::make_shared<TideStation>();
    station->stationId = "7";
    station->timezoneName = "UTC";
  }
  template <class Provider = TideDataProvider>
  void open(Host host) {
    provider = nullptr;
    seen.take();
    provider = std::make_unique<Provider>(host, files, months, service);
    provider->loadStationData();
  }
  template <class Provider = TideDataProvider>
  void openImpatient() {
    Host host = fake.host();
    host.mainThread = std::make_shared<ImpatientMainThread>();
    open<Provider>(host);
  }
  NotificationCenter::Observation whenFirst(const char* name, std::function<void()> act) {
    return fake.notifications->observe(name, [act = std::move(act), asked = false](const auto&) mutable {
      if (!std::exchange(asked, true)) act();
    });
  }
  /// How often each name was posted, in one text.
  std::string counts() {
    std::map<std::string, int> counted;
    for (const auto& name : namesOf(settled())) ++counted[name];
    std::string text;
    for (const auto& [name, count] : counted) text += fmt::format("{} {} ", name, count);
    return text;
  }
};

TEST_F(RetriesTest, WhoIsToldOfAFailureOrASuccessAndAsksAgainIsToldAgain) {
  const auto month = [this] {
    provider->beginGetHighLowTideData(station, dateAt(2024, 5, 20), nullptr, true);
  };
  const auto refresh = [this] { provider->queueRefreshDataTaskForStation(station); };
  const auto year = [this] { provider->beginGetHighLowTideData(point, dateAt(2024, 5, 20), nullptr, true); };
  fake.http->script(address(2024), answerOf("short"));
  script(2024, "", 404);
  const std::string twoErrors = fmt::format("{} 2 {} 2 downloadTideDataFailed 2 ", begun, failed);
  for (const char* const told : {failed, "downloadTideDataFailed"}) {
    openImpatient();
    const auto again = whenFirst(told, month);
    month();
    EXPECT_EQ(counts(), twoErrors) << told;
  }
  for (const char* const told : {"kMainModelTideDataDownloadFailed", "downloadTideDataFailed"}) {
    openImpatient();
    const auto again = whenFirst(told, refresh);
    refresh();
    EXPECT_EQ(counts(), "downloadTideDataFailed 2 kMainModelTideDataDownloadFailed 2 ") << told;
  }
  {
    openImpatient();
    const auto again = whenFirst(failed, year);
    year();
    EXPECT_EQ(counts(), fmt::format("{} 2 {} 2 ", begun, failed));
  }
  // Of 30 events a month is not taken for cached, so it is asked for in earnest: of the network, then of the
  // file.
  fake.http->script(address(2024), answerOf(document(2024, 30)));
  for (const char* const download : {"downloadedTideData 1 ", ""}) {
    openImpatient();
    const auto again = whenFirst(completed, month);
    month();
    EXPECT_EQ(counts(), fmt::format("{} 2 {} 2 {}", begun, completed, download));
  }
  fake.http->script(address(2024), answerOf(document(2024, 31)));
  {
    openImpatient();
    const auto again = whenFirst(completed, refresh);
    refresh();
    EXPECT_EQ(counts(), fmt::format("{} 2 downloadedTideData 2 ", completed));
  }
  files->removeFileInContainer(kGroupContainerName, fileName(2024));
  openImpatient();
  {
    // The request that is about to be told is not doubled, and a day that is asked for inside waits for
    // nobody.
    const auto again = whenFirst("downloadedTideData", [&] {
      month();
      EXPECT_EQ(provider->loadTideEventsForStation(station, dateAt(2024, 7, 2))->size(), 13U);
    });
    month();
    EXPECT_EQ(counts(), fmt::format("{} 2 {} 1 downloadedTideData 1 ", begun, completed));
  }
}

TEST_F(RetriesTest, ADayThatIsAskedForInsideAFailureIsDownloadedAnew) {
  fake.http->script(address(2024), answerOf("short"));
  const auto again = whenFirst("downloadTideDataFailed", [&] {
    fake.http->script(address(2024), answerOf(document(2024, 31)));
    EXPECT_EQ(provider->loadTideEventsForStation(station, dateAt(2024, 5, 2))->size(), 13U);
  });
  EXPECT_FALSE(provider->loadTideEventsForStation(station, dateAt(2024, 5, 2)));
  EXPECT_EQ(fake.http->requests().size(), 2U);
}

TEST_F(RetriesTest, AnObserverMayDestroyTheProviderOnAnyThread) {
  const auto month = [this] {
    provider->beginGetHighLowTideData(station, dateAt(2024, 5, 20), nullptr, true);
  };
  const auto refresh = [this] { provider->queueRefreshDataTaskForStation(station); };
  const auto day = [this] { provider->loadTideEventsForStation(station, dateAt(2024, 5, 2)); };
  const auto year = [this] { provider->beginGetHighLowTideData(point, dateAt(2024, 5, 20), nullptr, true); };
  const struct {
    const char* told;
    std::function<void()> ask;
    bool works;
  } cases[] = {{begun, month, true},
               {begun, year, true},
               {"downloadedTideData", month, true},
               {"downloadedTideData", refresh, true},
               {"downloadedTideData", day, true},
               {"downloadTideDataFailed", month, false},
               {"downloadTideDataFailed", day, false},
               {"kMainModelTideDataDownloadFailed", refresh, false},
               {completed, month, true},
               {completed, year, true},
               {failed, month, false}};
  const auto destroyed = [&](const char* region) {
    for (const auto& [told, ask, works] : cases) {
      SCOPED_TRACE(fmt::format("{} {} {}", region, told, works));
      const Bytes body = region == std::string("aus")
                             ? TideDataArchiver::archive(bureauForecast(31, "UTC")).value()
                             : document(2024, 31);
      fake.http->script(provider->getTideDataEndpointForStation(station, 2024),
                        answerOf(works ? body : "short"));
      script(2024, yearAnswer(2024));
      files->removeFileInContainer(kGroupContainerName, provider->fileNameForStation("7", 2024));
      provider->fetchTideEventsForStation(nullptr, Date(), Date(),
                                          [once = completions.once("fetch")](const auto&) { once(); });
      const auto end = whenFirst(told, [this] { provider.reset(); });
      ask();
      EXPECT_TRUE(fake.settle());
      EXPECT_FALSE(provider);
      // The next one is made by whoever goes on.
      if (region == std::string("aus")) {
        open<TideDataProviderAus>(fake.host());
      } else if (region == std::string("worldwide")) {
        open<TideDataProviderUK>(fake.host());
      } else {
        open(fake.host());
      }
    }
  };
  fake.settings.australianArchiveBaseURL = "http://archives.test";
  allowLog("Json file error.");
  allowLog("addTideData");
  allowLog("BOMTideParser error: ");
  destroyed("usa");
  open<TideDataProviderAus>(fake.host());
  destroyed("aus");
  station->country = "United States";
  open<TideDataProviderUK>(fake.host());
  destroyed("worldwide");
}

TEST_F(RetriesTest, ACompletionMayDestroyTheProviderAndEveryOtherHasBeenCalledThen) {
  fake.settings.admiraltyBaseURL = "http://admiralty.test";
  allowLog("Json file error.");
  for (const bool worldwide : {false, true}) {
    if (worldwide) {
      station->country = "United States";
      open<TideDataProviderUK>(fake.host());
    }
    fake.http->hold(address(2024));
    std::atomic<int> called = 0;
    std::atomic<int> calledInTime = 0;
    for (int i = 0; i < 10; ++i) {
      provider->fetchTideEventsForStation(station, dateAt(2024, 5, 1), dateAt(2024, 5, 9),
                                          [&, once = completions.once("fetch")](const auto&) {
                                            once();
                                            if (++called != 1) return;
                                            provider.reset();
                                            calledInTime = called.load();
                                          });
    }
    ASSERT_TRUE(fake.http->waitForRequests(worldwide ? 2 : 1));
    fake.http->answer(address(2024), answerOf(document(2024, 31)));
    ASSERT_TRUE(fake.settle());
    EXPECT_EQ(calledInTime, 10);
    files->removeFileInContainer(kGroupContainerName, fileName(2024));
    months->evictAll();
  }
}

}  // namespace
}  // namespace marlune::testing
