#include "marlune/platform/HttpFetcher.h"

#include <gtest/gtest.h>

#include <thread>

#include "marlune/platform/linux/http/CurlHttpClient.h"
#include "marlune/platform/linux/queues/QueueFactory.h"
#include "marlune/tasks/OwnedQueue.h"
#include "support/Completions.h"
#include "support/FakeHttpClient.h"
#include "support/LoopbackServer.h"

namespace marlune::testing {
namespace {

// What a client still holds of a request as stop() returns must not be what keeps the client: it would come
// to its end on its own thread.
TEST(HttpFetcherTest, theClientMayGoAsSoonAsItIsStopped) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.stall();
    return false;
  });
  const auto queue = std::make_shared<OwnedQueue>(QueueFactory().makeQueue("answers", 1));
  Completions completions;
  for (int round = 0; round < 100; ++round) {
    auto client = std::make_shared<CurlHttpClient>();
    const std::weak_ptr<CurlHttpClient> gone = client;
    auto fetcher = std::make_shared<HttpFetcher>(std::move(client), queue);
    for (int i = 0; i < 3; ++i) {
      fetcher->fetch(server.url("/silent"), [once = completions.once("fetch")](const Data& data) {
        EXPECT_EQ(data, nullptr);
        once();
      });
    }
    fetcher->stop();
    fetcher.reset();
    ASSERT_TRUE(gone.expired()) << "round " << round;
  }
  EXPECT_TRUE(completions.wait());
  completions.verify();
}

TEST(HttpFetcherTest, whatItAsksIsLetGoOfBeforeItIsStopped) {
  const auto http = std::make_shared<FakeHttpClient>();
  http->hold("http://a/");
  const auto queue = std::make_shared<OwnedQueue>(QueueFactory().makeQueue("answers", 1));
  const auto fetcher = std::make_shared<HttpFetcher>(http, queue);
  const auto held = std::make_shared<int>(0);
  for (int i = 0; i < 50; ++i) fetcher->fetch("http://a/", [held](const Data&) {});
  std::thread answering([&] {
    while (http->answer("http://a/", answerOf("x"))) std::this_thread::yield();
  });
  fetcher->stop();
  queue->close();
  EXPECT_EQ(held.use_count(), 1);
  answering.join();
  bool answered = false;
  fetcher->fetch("http://a/", [&](const Data& data) { answered = data == nullptr; });
  EXPECT_TRUE(answered) << "once stopped it answers inside the call, with nothing";
  EXPECT_EQ(fetcher->fetchAndWait("http://a/"), nullptr);
}

}  // namespace
}  // namespace marlune::testing
