#include "marlune/tasks/WorkScope.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

namespace marlune::testing {
namespace {

// The work inside begins to leave only once the scope lets nobody in: who closes and does not wait is seen
// to go on before it, in nearly each of the rounds.
TEST(WorkScopeTest, closingWaitsForWhoIsInside) {
  for (int round = 0; round < 200; ++round) {
    const auto scope = std::make_shared<WorkScope>();
    std::latch entered(1);
    std::atomic<bool> closeReturned = false;
    std::atomic<bool> worked = false;
    std::thread worker([&] {
      const auto entry = WorkScope::enter(scope);
      entered.count_down();
      while (!closeReturned && WorkScope::enter(scope)) std::this_thread::yield();
      for (int i = 0; i < 100; ++i) std::this_thread::yield();
      worked = true;
    });
    entered.wait();
    scope->close();
    const bool waited = worked;
    closeReturned = true;
    worker.join();
    ASSERT_TRUE(waited) << "round " << round;
    EXPECT_FALSE(WorkScope::enter(scope));
  }
}

TEST(WorkScopeTest, isClosedFromWithinWithoutWaitingForItself) {
  const auto scope = std::make_shared<WorkScope>();
  const auto outer = WorkScope::enter(scope);
  const auto inner = WorkScope::enter(scope);
  EXPECT_TRUE(outer && inner);
  scope->close();
  EXPECT_FALSE(WorkScope::enter(scope));
}

}  // namespace
}  // namespace marlune::testing
