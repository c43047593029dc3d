#include "marlune/tasks/Task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <coroutine>
#include <deque>
#include <exception>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "marlune/platform/linux/queues/QueueFactory.h"
#include "marlune/tasks/OwnedQueue.h"
#include "marlune/tasks/SharedRequests.h"
#include "support/HastyQueues.h"

namespace marlune::testing {
namespace {

/// Runs its jobs when it is told to.
class StepQueue : public Executor {
 public:
  void post(Job job) override { jobs.push_back(std::move(job)); }
  std::size_t run() {
    std::size_t count = 0;
    for (; !jobs.empty(); ++count) {
      auto job = std::move(jobs.front());
      jobs.pop_front();
      job();
    }
    return count;
  }
  std::deque<Job> jobs;
};

Task<std::string> echoed(std::shared_ptr<Executor> queue, std::string text) {
  co_await resumeOn(queue);
  co_return text + "!";
}

using Done = UniqueFunction<void(std::string)>;

enum class Answer { atOnce, later, dropped, droppedLater };

Task<std::string> answered(std::shared_ptr<Executor> queue, Answer kind) {
  auto operation = completionOf<std::string>([queue, kind](Done done) {
    if (kind == Answer::atOnce) done("a text that is too long to lie in the string itself");
    if (kind == Answer::later) queue->post([held = std::move(done)]() mutable { held("later"); });
    if (kind == Answer::droppedLater) queue->post([held = std::move(done)] {});
  });
  co_return co_await operation;
}

/// Notes its beginning and its destruction, and passes on what the inner one gives.
Task<std::string> outer(std::shared_ptr<std::vector<std::string>> notes, Task<std::string> inner) {
  notes->emplace_back("begun");
  const std::shared_ptr<void> gone(nullptr, [notes](void*) { notes->emplace_back("gone"); });
  auto text = co_await std::move(inner);
  notes->emplace_back("got " + text);
  co_return text;
}

Task<void> noteAfter(std::shared_ptr<std::vector<std::string>> notes, Task<std::string> inner) {
  notes->emplace_back(co_await outer(notes, std::move(inner)));
}

class TaskTest : public ::testing::Test {
 protected:
  std::shared_ptr<StepQueue> queue = std::make_shared<StepQueue>();
  std::shared_ptr<std::vector<std::string>> notes = std::make_shared<std::vector<std::string>>();

  /// Starts a task within another; the completion notes what it gets.
  void startNoting(Task<std::string> inner) {
    start(outer(notes, std::move(inner)),
          [seen = notes](std::string text) { seen->push_back("done " + text); });
  }
};

TEST_F(TaskTest, DoesNothingUntilItIsStartedAndGoesOnWhereItsWaitEnds) {
  {
    auto never = outer(notes, echoed(queue, "never"));
    EXPECT_TRUE(notes->empty());
  }
  startNoting(echoed(queue, "a text that is too long to lie in the string itself"));
  EXPECT_EQ(*notes, (std::vector<std::string>{"begun"}));
  EXPECT_EQ(queue->run(), 1U);
  const std::string text = "a text that is too long to lie in the string itself!";
  EXPECT_EQ(*notes, (std::vector<std::string>{"begun", "got " + text, "gone", "done " + text}));
  notes->clear();
  start(noteAfter(notes, answered(queue, Answer::atOnce)), [this] { notes->emplace_back("ended"); });
  EXPECT_EQ(notes->back(), "ended");
}

// However a wait comes to nothing, the frames go first and the completion is called once, with nothing.
TEST_F(TaskTest, IsGivenUpWhereWhatItWaitsForIsDropped) {
  const std::vector<std::string> givenUp{"begun", "gone", "done "};
  startNoting(echoed(nullptr, "x"));
  EXPECT_EQ(*notes, givenUp);
  notes->clear();
  startNoting(answered(queue, Answer::dropped));
  EXPECT_EQ(*notes, givenUp);
  for (const bool run : {true, false}) {
    notes->clear();
    startNoting(answered(queue, run ? Answer::droppedLater : Answer::later));
    EXPECT_EQ(notes->size(), 1U);
    if (run) queue->run();
    queue->jobs.clear();
    EXPECT_EQ(*notes, givenUp);
  }
  notes->clear();
  startNoting(echoed(queue, "x"));
  queue->jobs.clear();
  EXPECT_EQ(*notes, givenUp);
}

Task<int> one(std::shared_ptr<Executor> queue, bool byCompletion) {
  if (!byCompletion) co_return 1;
  co_return static_cast<int>((co_await answered(queue, Answer::atOnce)).size() / 51);
}
Task<int> sum(std::shared_ptr<Executor> queue, int count) {
  int total = 0;
  for (int i = 0; i < count; ++i) total += co_await one(queue, i % 2 == 0);
  co_return total;
}
Task<int> nested(int depth) {
  if (depth == 0) co_return 0;
  co_return 1 + co_await nested(depth - 1);
}

TEST_F(TaskTest, NeedsNoStackForLongLoopsAndDeepNests) {
  int result = 0;
  start(sum(queue, 100'000), [&](int total) { result = total; });
  EXPECT_EQ(result, 100'000);
  start(nested(100'000), [&](int depth) { result = depth; });
  EXPECT_EQ(result, 100'000);
}

Task<int> hops(std::shared_ptr<Executor> a, std::shared_ptr<Executor> b, int count) {
  int done = 0;
  for (; done < count; ++done) {
    const auto& next = done % 2 == 0 ? a : b;
    const auto text = co_await echoed(next, "x");
    if (text != "x!" || (co_await answered(next, Answer::later)) != "later") break;
  }
  co_return done;
}

/// A coroutine of another kind, which runs at once and is never waited for.
struct Foreign {
  struct promise_type {
    Foreign get_return_object() const noexcept { return {}; }
    std::suspend_never initial_suspend() const noexcept { return {}; }
    std::suspend_never final_suspend() const noexcept { return {}; }
    void return_void() const noexcept {}
    [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
  };
};

using Threads = std::promise<std::thread::id>;

Foreign awaitFromOutside(Task<std::string> task, std::shared_ptr<Threads> where) {
  co_await std::move(task);
  where->set_value(std::this_thread::get_id());
}

Task<std::string> askedTogether(std::shared_ptr<SharedRequests<int, std::string>> requests,
                                std::shared_ptr<Executor> queue) {
  auto answer = completionOf<std::string>([requests, queue](Done done) {
    requests->ask(1, std::move(done),
                  [queue](Done answered) { start(echoed(queue, "shared"), std::move(answered)); });
  });
  co_return co_await answer;
}

// Where an answer comes on another thread while the call that asks is still at work, the task goes on there:
// nobody's completion runs inside the call.
TEST(TaskOnThreadsTest, AnAnswerFromElsewhereNeverComesInsideTheCall) {
  HastyQueues hasty(std::make_shared<QueueFactory>());
  const auto queue = hasty.makeQueue("hasty", 1);
  const auto requests = std::make_shared<SharedRequests<int, std::string>>(queue);
  const auto here = std::this_thread::get_id();
  const std::pair<const char*, std::function<Task<std::string>()>> tasks[] = {
      {"a job", [&] { return echoed(queue, "x"); }},
      {"a completion", [&] { return answered(queue, Answer::later); }},
      {"a completion that is dropped", [&] { return answered(queue, Answer::droppedLater); }},
      {"a chain of its own", [&] { return inOwnChain(echoed(queue, "x")); }},
      {"chains in each other", [&] { return inOwnChain(inOwnChain(answered(queue, Answer::later))); }},
      {"a shared request", [&] { return inOwnChain(askedTogether(requests, queue)); }},
  };
  for (const auto& [name, make] : tasks) {
    SCOPED_TRACE(name);
    Threads where;
    start(make(), [&](const std::string&) { where.set_value(std::this_thread::get_id()); });
    EXPECT_NE(where.get_future().get(), here);
    const auto outside = std::make_shared<Threads>();
    awaitFromOutside(make(), outside);
    EXPECT_NE(outside->get_future().get(), here);
  }
}

// Chains wander between the threads of two queues while these end; each completion comes once.
TEST(TaskOnThreadsTest, EveryCompletionComesWhileQueuesEnd) {
  constexpr int chains = 40;
  for (const int length : {3, 20'000}) {
    const auto first = std::make_shared<OwnedQueue>(QueueFactory().makeQueue("first", 2));
    const auto second = std::make_shared<OwnedQueue>(QueueFactory().makeQueue("second", 2));
    std::atomic<int> ended = 0;
    std::atomic<int> whole = 0;
    for (int i = 0; i < chains; ++i) {
      start(hops(first, second, length), [&, length](int done) {
        if (done == length) ++whole;
        ++ended;
        ended.notify_all();
      });
    }
    if (length == 3) {
      for (int seen = ended; seen < chains; seen = ended) ended.wait(seen);
      EXPECT_EQ(whole, chains);
    }
    std::thread other([&] { second->close(); });
    first->close();
    other.join();
    EXPECT_EQ(ended, chains);
    start(hops(first, second, 1), [&](int done) { EXPECT_EQ(done, 0); });
  }
}

}  // namespace
}  // namespace marlune::testing
