// Where, when and to whom the worldwide service answers, and what may become of it meanwhile.

#include <atomic>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "marlune/global/PelagoraService.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "support/HastyQueues.h"
#include "support/HostTest.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {
namespace {

using Stations = PelagoraService::Stations;
using Events = PelagoraService::Events;

constexpr const char* pointsUrl = "https://tides.test/tide-points";
constexpr const char* onePoint = R"([{"id":5,"lat":1,"lon":2}])";
constexpr const char* twoEvents =
    R"({"tide_events":[{"time":"2025-01-01T03:00:00Z","level":1.5,"is_high":true},
                       {"time":"2025-01-01T09:00:00Z","level":-0.25}]})";

std::string yearUrl(std::int64_t year) {
  return "https://tides.test/tides?lat=1.0&lon=2.0&year=" + std::to_string(year) + "&agencies=none";
}

class PelagoraAnswersTest : public HostTest {
 protected:
  PelagoraAnswersTest() {
    fake.settings.globalTidesBaseURL = "https://tides.test";
    fake.http->script(pointsUrl, answerOf(onePoint));
    for (std::int64_t year = 2000; year < 2010; ++year) fake.http->script(yearUrl(year), answerOf(twoEvents));
  }

  std::unique_ptr<PelagoraService> make(const Host& host) {
    return std::make_unique<PelagoraService>(host, std::make_shared<FileAccess>(host.folders, host.files));
  }
};

TEST_F(PelagoraAnswersTest, NothingComesInsideTheCallThatAsks) {
  Host host = fake.host();
  host.executors = std::make_shared<HastyQueues>(host.executors);
  const auto here = std::this_thread::get_id();
  std::atomic<int> elsewhere = 0;
  const auto note = [&] {
    return [&, once = completions.once("answer")](const auto&) {
      if (std::this_thread::get_id() != here) ++elsewhere;
      once();
    };
  };
  for (const char* const base : {"https://tides.test", "no address"}) {
    fake.settings.globalTidesBaseURL = host.settings.globalTidesBaseURL = base;
    const auto service = make(host);
    for (int i = 0; i < 3; ++i) {  // from the network, then from the disk
      service->fetchTidePointsWithCompletionHandler(note());
      service->fetchGlobalTidesWithLat(1, 2, 2000, note());
      start(service->fetchTidePoints(), note());
      start(service->fetchGlobalTides(1, 2, 2000), note());
      ASSERT_TRUE(fake.settle());
    }
  }
  EXPECT_EQ(elsewhere, 24);
}

TEST_F(PelagoraAnswersTest, CompletionsThatBlockDelayNoOther) {
  const auto service = make(fake.host());
  std::promise<void> answered;
  const auto gate = answered.get_future().share();
  for (std::int64_t year = 2000; year < 2003; ++year) {
    service->fetchGlobalTidesWithLat(1, 2, year, [gate, once = completions.once("blocked")](const Events&) {
      EXPECT_EQ(gate.wait_for(std::chrono::seconds(10)), std::future_status::ready);
      once();
    });
  }
  service->fetchGlobalTidesWithLat(1, 2, 2005, [&, once = completions.once("free")](const Events& events) {
    EXPECT_EQ(events.size(), 2U);
    once();
    answered.set_value();
  });
  EXPECT_TRUE(fake.settle());
}

TEST_F(PelagoraAnswersTest, EachWhoAsksGetsRecordsOfItsOwn) {
  const auto service = make(fake.host());
  fake.http->hold(pointsUrl);
  std::vector<Stations> answers(3);
  for (auto& answer : answers) {
    service->fetchTidePointsWithCompletionHandler([&, once = completions.once("points")](auto stations) {
      answer = std::move(stations.value());
      answer.at(0)->stationName = "changed";
      once();
    });
  }
  ASSERT_TRUE(fake.http->waitForRequests(1));
  ASSERT_TRUE(fake.http->answer(pointsUrl, answerOf(onePoint)));
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(fake.http->requests().size(), 1U);
  EXPECT_EQ(answers[0].at(0)->stationId, "global_5");
  EXPECT_EQ(answers[2].at(0)->timezoneName, answers[0].at(0)->timezoneName);
  for (std::size_t i = 0; i < answers.size(); ++i) {
    EXPECT_NE(answers[i].at(0), answers[(i + 1) % answers.size()].at(0));
  }
}

TEST_F(PelagoraAnswersTest, ASlowLineHasTimeAndAnyCaseOfTheSchemeWill) {
  fake.settings.globalTidesBaseURL = "HTTPS://tides.test";
  const std::string url = "HTTPS" + yearUrl(2000).substr(5);
  fake.http->script(url, answerOf(twoEvents));
  const auto service = make(fake.host());
  service->fetchGlobalTidesWithLat(1, 2, 2000, [once = completions.once("year")](const Events& events) {
    EXPECT_EQ(events.size(), 2U);
    once();
  });
  ASSERT_TRUE(fake.settle());
  const HttpRequest asked = fake.http->requests().at(0);
  EXPECT_EQ(asked.url, url);
  EXPECT_EQ(asked.silenceLimit, std::chrono::seconds(60));
  EXPECT_EQ(asked.totalLimit, std::chrono::minutes(10));
}

/// A server of points and years; of the years, every third is never answered.
class WorldServer {
 public:
  std::string url() const { return server_.url(""); }

 private:
  const LoopbackServer server_{[](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.empty()) return false;
    if (head.starts_with("GET /tide-points ")) return connection.send(httpAnswer(onePoint));
    const auto year = head.find("&year=");
    if (year != std::string::npos && std::stoi(head.substr(year + 6)) % 3 != 0) {
      return connection.send(httpAnswer(twoEvents));
    }
    connection.stall();
    return false;
  }};
};

/// A service over a host of its own, of the system's parts; the host goes last.
struct OwnWorld {
  OwnWorld(const WorldServer& server, const std::string& folder)
      : host(linuxHost({.dataFolder = folder, .settings = {.globalTidesBaseURL = server.url()}})),
        service(std::make_unique<PelagoraService>(host,
                                                  std::make_shared<FileAccess>(host.folders, host.files))) {}
  Host host;
  std::unique_ptr<PelagoraService> service;
};

// Threads ask while completions ask again; then the service and its host go, with requests open.
TEST(PelagoraThreadsTest, ServiceAndHostGoWithEverythingUnderWay) {
  const WorldServer server;
  for (int round = 0; round < 30; ++round) {
    const TemporaryFolder folder;
    Completions completions;
    thread_local bool calling = false;
    std::atomic<int> inside = 0;
    auto world = std::make_unique<OwnWorld>(server, folder.path());
    PelagoraService* const service = world->service.get();
    const auto ask = [&, service](std::int64_t year, auto&& self, int again) -> void {
      service->fetchGlobalTidesWithLat(
          1, 2, year, [&, year, self, again, once = completions.once("year")](const Events& events) {
            if (calling && !events.empty()) ++inside;
            once();
            if (again > 0) self(year + 1, self, again - 1);
          });
    };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&, thread] {
        for (std::int64_t i = 0; i < 10; ++i) {
          calling = true;
          ask(2000 + (i * 7 + thread) % 30, ask, 2);
          service->fetchTidePointsWithCompletionHandler(
              [once = completions.once("points")](const auto&) { once(); });
          calling = false;
        }
      });
    }
    for (auto& thread : threads) thread.join();
    if (round % 2 == 0) std::this_thread::yield();
    world.reset();
    ASSERT_EQ(completions.outstanding(), 0U) << "round " << round;
    completions.verify();
    EXPECT_EQ(inside, 0);
  }
}

// The last who holds all of it is a completion of its own.
TEST(PelagoraThreadsTest, ACompletionMayDestroyServiceAndHost) {
  const WorldServer server;
  for (int round = 0; round < 30; ++round) {
    const TemporaryFolder folder;
    Completions completions;
    std::promise<void> destroyed;
    auto world = std::make_shared<OwnWorld>(server, folder.path());
    PelagoraService* const service = world->service.get();
    for (int i = 0; i < 5; ++i) {
      service->fetchGlobalTidesWithLat(1, 2, 2001 + i,  // of which 2001 and 2004 are not answered
                                       [once = completions.once("year")](const Events&) { once(); });
    }
    std::promise<void> let;
    service->fetchTidePointsWithCompletionHandler(
        [held = world, &destroyed, &let, once = completions.once("points")](const auto& points) mutable {
          EXPECT_TRUE(points);
          let.get_future().wait();
          held.reset();
          once();
          destroyed.set_value();
        });
    world.reset();
    let.set_value();
    destroyed.get_future().wait();
    ASSERT_EQ(completions.outstanding(), 0U) << "round " << round;
    completions.verify();
  }
}

}  // namespace
}  // namespace marlune::testing
