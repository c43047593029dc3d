#pragma once

#include <chrono>
#include <functional>

#include "marlune/platform/linux/MainLoop.h"

namespace marlune::testing {

/// A main thread that is the test's own: nothing runs on it until the test says so.
class ManualMainThread : public MainLoop {
 public:
  using MainLoop::MainLoop;

  /// Runs what is queued and what that queues; how many jobs it ran.
  std::size_t drainAll() {
    std::size_t total = 0;
    while (const std::size_t ran = drain()) total += ran;
    return total;
  }

  /// Runs jobs as they come until `done`; false when that takes longer than any test should.
  bool runUntil(const std::function<bool()>& done) {
    return MainLoop::runUntil(done, std::chrono::steady_clock::now() + std::chrono::seconds(30));
  }
};

}  // namespace marlune::testing
