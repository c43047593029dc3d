#include "marlune/platform/NotificationHub.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace marlune::testing {
namespace {

class NotificationHubTest : public ::testing::Test {
 protected:
  void post(const std::string& name) { hub->post({name, nullptr, std::nullopt}); }
  NotificationCenter::Observation observe(const std::string& name, const std::string& mark) {
    return hub->observe(name, [this, mark](const Notification& n) { seen.push_back(mark + ":" + n.name); });
  }

  std::shared_ptr<NotificationHub> hub = std::make_shared<NotificationHub>();
  std::vector<std::string> seen;
};

TEST_F(NotificationHubTest, callsObserversByNameInOrder) {
  const auto first = observe("a", "1");
  const auto all = observe("", "2");
  auto third = observe("a", "3");
  post("a");
  post("b");
  third.reset();
  post("a");
  EXPECT_EQ(seen, (std::vector<std::string>{"1:a", "2:a", "3:a", "2:b", "1:a", "2:a"}));
}

TEST_F(NotificationHubTest, observersMayPostObserveAndEnd) {
  NotificationCenter::Observation self;
  NotificationCenter::Observation next;
  NotificationCenter::Observation added;
  self = hub->observe("a", [&](const Notification&) {
    seen.push_back("self");
    next.reset();
    added = observe("a", "added");  // first called by the next post
    if (seen.size() == 1) post("b");
    self.reset();
    self = nullptr;
  });
  next = observe("a", "next");
  const auto other = observe("b", "other");
  post("a");
  EXPECT_EQ(seen, (std::vector<std::string>{"self", "other:b"}));
  post("a");
  EXPECT_EQ(seen.back(), "added:a");
  EXPECT_EQ(seen.size(), 3U);
}

TEST_F(NotificationHubTest, anEndedObserverIsGoneWithWhatItHolds) {
  const auto held = std::make_shared<int>(0);
  auto outside = hub->observe("a", [held](const Notification&) {});
  NotificationCenter::Observation inside;
  inside = hub->observe("a", [held, &inside](const Notification&) { inside.reset(); });
  EXPECT_EQ(held.use_count(), 3);
  post("a");
  EXPECT_EQ(held.use_count(), 2);
  outside.reset();
  EXPECT_EQ(held.use_count(), 1);
  outside = hub->observe("a", [held](const Notification&) {});
  hub.reset();
  outside.reset();  // an observation may outlive the hub
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationHubTest, endingWaitsForACallOnAnotherThread) {
  std::promise<void> entered;
  std::promise<void> proceed;
  std::atomic<bool> returned = false;
  auto observation = hub->observe("a", [&](const Notification&) {
    entered.set_value();
    proceed.get_future().wait();
    returned = true;
  });
  std::thread poster([&] { post("a"); });
  entered.get_future().wait();
  std::thread opener([&] { proceed.set_value(); });
  observation.reset();
  EXPECT_TRUE(returned);
  poster.join();
  opener.join();
}

TEST_F(NotificationHubTest, neverCallsAnObserverAfterItsEnd) {
  std::atomic<bool> stop = false;
  const auto postOn = [&] {
    while (!stop) post("a");
  };
  std::thread posters[] = {std::thread(postOn), std::thread(postOn)};
  for (int round = 0; round < 300; ++round) {
    auto alive = std::make_unique<std::atomic<int>>(0);
    auto observation = hub->observe("a", [target = alive.get()](const Notification&) { ++*target; });
    std::this_thread::yield();
    observation.reset();
    alive.reset();  // a later call would write to freed memory
  }
  stop = true;
  for (auto& poster : posters) poster.join();
}

}  // namespace
}  // namespace marlune::testing
