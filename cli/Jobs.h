#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "cli/Report.h"
#include "cli/Session.h"

namespace marlune::cli {

/// Runs commands: on the main thread, or on a thread of their own while the main thread goes on delivering.
/// For the main thread. Like its session it is left only by ending the process, since commands may be
/// running.
class Jobs {
 public:
  explicit Jobs(Session& session);

  Context& context() { return context_; }

  /// Runs a command and waits for its end.
  Outcome run(const Call& call);

  /// Begins a command without waiting for it; the answer is its number, 1, 2, ...
  std::int64_t begin(Call call);

  /// Waits for a command that was begun and gives how it ended, once. Throws WrongCall for a number that is
  /// not outstanding.
  Outcome finish(std::int64_t number);

  /// Delivers until `done`, which is asked after each delivery and when the main loop is woken.
  void waitUntil(const std::function<bool()>& done);

  /// Delivers until nothing is queued, running or to be delivered; false when that took longer.
  bool waitUntilIdle(std::chrono::duration<double> limit);

 private:
  struct Job;

  std::shared_ptr<Job> launch(Call call);
  bool deliverUntil(const std::function<bool()>& done, MainLoop::TimePoint deadline);

  Session& session_;
  Context context_;
  std::map<std::int64_t, std::shared_ptr<Job>> begun_;
  std::int64_t lastNumber_ = 0;
};

}  // namespace marlune::cli
