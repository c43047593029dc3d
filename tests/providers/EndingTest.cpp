#include <functional>

#include "marlune/providers/TideDataProviderUK.h"
#include "providers/ProviderTest.h"

// An observer or a completion destroys the provider, on the thread that tells or on another one, while the
// call that asked may still be under way.

namespace marlune::testing {
namespace {

class EndingTest : public ProviderTest {
 protected:
  void begin(int month) {
    provider->beginGetHighLowTideData(station, dateAt(2024, month, 20), nullptr, true);
  }
};

TEST_F(EndingTest, AnObserverOrACompletionMayEndTheProvider) {
  const auto whole = answerOf(document(2024, 31));
  const struct {
    const char* name;
    HttpAnswer answer;
    std::function<void()> ask;
  } cases[] = {
      {begun, whole, [&] { begin(5); }},
      {"downloadedTideData", whole, [&] { begin(5); }},
      {completed, whole, [&] { begin(5); }},
      {"downloadTideDataFailed", answerOf("", 500), [&] { begin(5); }},
      {failed, answerOf("", 500), [&] { begin(5); }},
      {"kMainModelTideDataDownloadFailed", answerOf("", 500),
       [&] { provider->queueRefreshDataTaskForStation(station); }},
      {"downloadTideDataFailed", answerOf("", 500),
       [&] { provider->queueRefreshDataTaskForStation(station); }},
      {"downloadedTideData", whole,
       [&] { EXPECT_FALSE(provider->loadTideEventsForStation(station, dateAt(2024, 5, 2))); }},
      {"TideData_GlobalTidePointsLoaded", whole, [&] { provider->loadGlobalStationPointsIfNeeded(); }},
  };
  fake.http->script(pointsAddress, answerOf(R"([{"id":1,"lat":1,"lon":2}])"));
  for (const auto& each : cases) {
    for (const bool regional : {false, true}) {
      fake.http->script(address(2024), each.answer);
      files->removeFileInContainer(kGroupContainerName, fileName(2024));
      files->removeFileInContainer(kGroupContainerName, "2024_7.json");
      months->evictForStation("7");
      if (regional) {
        provider = std::make_unique<TideDataProviderUK>(fake.host(), files, months, service);
        station->country = "United States";
      } else {
        provider = make();
      }
      bool ended = false;
      const auto ending = fake.notifications->observe(each.name, [&](const Notification&) {
        ended = true;
        provider.reset();
      });
      each.ask();
      EXPECT_TRUE(fake.settle());
      EXPECT_TRUE(ended) << each.name;
    }
  }
  station->country.reset();
  provider = make();
  fake.http->hold(address(2022));
  for (int i = 0; i < 3; ++i) {
    provider->fetchTideEventsForStation(station, dateAt(2022, 5, 1), dateAt(2022, 5, 9),
                                        [this, once = completions.once("fetch")](const auto&) {
                                          once();
                                          provider.reset();
                                        });
  }
  ASSERT_TRUE(fake.http->waitForRequests(1));
  fake.http->answer(address(2022), answerOf(document(2022, 31)));
  EXPECT_TRUE(fake.settle());
  seen.take();
}

}  // namespace
}  // namespace marlune::testing
