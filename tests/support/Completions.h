#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace marlune::testing {

/// Watches over completions: each must be called exactly once. Safe from any thread.
///
///     Completions completions;
///     provider.fetch(station, [done = completions.once("fetch")](auto events) { done(); });
///     ...
///     completions.verify();  // fails the test for each that was not called, or more than once
class Completions {
 public:
  Completions();

  /// A function to be called exactly once, and copied at will.
  std::function<void()> once(std::string what);

  /// How many are still to be called.
  std::size_t outstanding() const;
  /// Waits until none is; false after thirty seconds. Only where other threads call them.
  bool wait() const;
  void verify() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune::testing
