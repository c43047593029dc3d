// What every executor behind the seam does, and what single ones do beyond that.

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include "marlune/platform/linux/queues/MainLoop.h"
#include "marlune/platform/linux/queues/QueueFactory.h"

namespace marlune::testing {
namespace {

constexpr std::chrono::seconds longerThanAnyTest{30};

/// An executor, and what makes its jobs run until `done`.
struct Subject {
  std::shared_ptr<Executor> executor;
  std::function<bool(const std::function<bool()>& done)> run;
};

using Kind = Subject (*)(const std::shared_ptr<Activity>&);

bool waitFor(const std::shared_ptr<Activity>& activity, const std::function<bool()>& done) {
  return activity->waitUntilIdle(longerThanAnyTest) && done();
}

Subject makeMainLoop(const std::shared_ptr<Activity>& activity) {
  auto loop = std::make_shared<MainLoop>(activity);
  return {loop, [loop = loop.get()](const auto& done) {
            return loop->runUntil(done, std::chrono::steady_clock::now() + longerThanAnyTest);
          }};
}

Subject makeDrivenLoop(const std::shared_ptr<Activity>& activity) {
  auto loop = std::make_shared<MainLoop>(activity);
  loop->driveOnThread();
  return {loop, [activity](const auto& done) { return waitFor(activity, done); }};
}

Subject makeQueue(const std::shared_ptr<Activity>& activity) {
  return {QueueFactory(activity).makeQueue("contract", 1),
          [activity](const auto& done) { return waitFor(activity, done); }};
}

class ExecutorContract : public ::testing::TestWithParam<Kind> {
 protected:
  std::shared_ptr<Activity> activity = std::make_shared<Activity>();
  Subject subject = GetParam()(activity);
};

TEST_P(ExecutorContract, runsJobsLaterInOrderAndCountsThem) {
  std::mutex mutex;
  std::vector<int> order;
  bool inside = false;
  {
    const std::lock_guard lock(mutex);  // a job that ran inside post() would wait for this for ever
    for (int i = 0; i < 100; ++i) {
      subject.executor->post([&, i] {
        const std::lock_guard running(mutex);
        order.push_back(i);
        if (i < 99) return;
        subject.executor->post([&] { order.push_back(100); });  // within post() it would come before its time
        inside = order.size() != 100;
      });
    }
  }
  EXPECT_TRUE(subject.run([&] {
    const std::lock_guard lock(mutex);
    return order.size() == 101;
  }));
  for (std::size_t i = 0; i < order.size(); ++i) EXPECT_EQ(order[i], static_cast<int>(i));
  EXPECT_FALSE(inside) << "a job that was posted from a job ran inside post()";
  EXPECT_TRUE(activity->waitUntilIdle(longerThanAnyTest));
}

TEST_P(ExecutorContract, destructionDropsWhatHasNotStarted) {
  std::promise<void> started;
  std::promise<void> proceed;
  std::atomic<int> ran = 0;
  auto held = std::make_shared<int>(0);
  auto* const raw = subject.executor.get();
  // Blocks the executor where it runs by itself; elsewhere it is one more job that is dropped.
  raw->post([&started, &ran, gate = proceed.get_future().share()] {
    started.set_value();
    gate.wait();
    ++ran;
  });
  for (int i = 0; i < 10; ++i) {
    // What a dropped job holds may post once more while it goes.
    auto postsWhenGone = std::shared_ptr<void>(nullptr, [raw, held](void*) { raw->post([] {}); });
    raw->post([guard = std::move(postsWhenGone), &ran] { ++ran; });
  }
  const bool runsByItself = GetParam() != makeMainLoop;
  if (runsByItself) started.get_future().wait();
  std::thread opener([&] { proceed.set_value(); });
  // The opener may let the first job end before the queue is destroyed; the rest may then run or be dropped.
  subject = {};
  opener.join();
  EXPECT_EQ(held.use_count(), 1) << "every job is destroyed";
  if (runsByItself) {
    EXPECT_GE(ran, 1) << "a running job is waited for";
  } else {
    EXPECT_EQ(ran, 0);
  }
  EXPECT_EQ(activity->open(), 0U);
}

TEST_P(ExecutorContract, aJobMayDestroyIt) {
  std::promise<void> handedOver;
  auto* const raw = subject.executor.get();
  raw->post([this, gate = handedOver.get_future().share()] {
    gate.wait();
    subject.executor.reset();
  });
  for (int i = 0; i < 10; ++i) raw->post([] {});
  handedOver.set_value();
  EXPECT_TRUE(subject.run([&] { return activity->open() == 0; }));
  EXPECT_EQ(subject.executor, nullptr);
}

INSTANTIATE_TEST_SUITE_P(all, ExecutorContract, ::testing::Values(makeMainLoop, makeDrivenLoop, makeQueue),
                         [](const auto& one) {
                           return one.param == makeMainLoop ? "MainLoop"
                                  : one.param == makeQueue  ? "Queue"
                                                            : "DrivenMainLoop";
                         });

TEST(QueueTest, runsAsManyAtATimeAsItMay) {
  const auto activity = std::make_shared<Activity>();
  constexpr int concurrency = 3;
  auto queue = QueueFactory(activity).makeQueue("wide", concurrency);
  std::atomic<int> running = 0;
  std::atomic<bool> tooMany = false;
  std::latch meeting(concurrency);  // the first three meet, or the test does not end
  for (int i = 0; i < 20; ++i) {
    queue->post([&, i] {
      if (++running > concurrency) tooMany = true;
      if (i < concurrency) meeting.arrive_and_wait();
      --running;
    });
  }
  EXPECT_TRUE(activity->waitUntilIdle(longerThanAnyTest));
  EXPECT_FALSE(tooMany);
}

// Jobs that find a thread at work, in many rounds: a second thread would take one of them at some time.
TEST(QueueTest, aSerialOneNeverRunsTwoJobsAtOnce) {
  const auto activity = std::make_shared<Activity>();
  std::atomic<bool> two = false;
  for (int round = 0; round < 20 && !two; ++round) {
    const auto queue = QueueFactory(activity).makeQueue("serial", 1);
    std::atomic<int> running = 0;
    for (int i = 0; i < 50; ++i) {
      queue->post([&] {
        if (++running > 1) two = true;
        for (int turn = 0; turn < 30; ++turn) std::this_thread::yield();
        if (--running > 0) two = true;
      });
    }
    EXPECT_TRUE(activity->waitUntilIdle(longerThanAnyTest));
  }
  EXPECT_FALSE(two);
}

TEST(MainLoopTest, runUntilAsksAfterEachJobAndWake) {
  MainLoop loop;
  loop.post([&] { loop.post([] {}); });
  EXPECT_EQ(loop.drain(), 1U) << "not what the job has posted";
  EXPECT_EQ(loop.drain(), 1U);
  EXPECT_FALSE(loop.runUntil([] { return false; }, MainLoop::TimePoint::min()));
  int ran = 0;
  for (int i = 0; i < 5; ++i) loop.post([&] { ++ran; });
  EXPECT_TRUE(loop.runUntil([&] { return ran == 3; }));
  EXPECT_EQ(ran, 3) << "no job after the one that was waited for";
  loop.drain();
  std::atomic<bool> flag = false;
  std::thread other([&] {
    flag = true;
    loop.wake();
  });
  EXPECT_TRUE(loop.runUntil([&] { return flag.load(); }));
  other.join();
}

}  // namespace
}  // namespace marlune::testing
