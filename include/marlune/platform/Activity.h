#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include "marlune/base/Export.h"

namespace marlune {

/// Counts work that is queued, running or to be delivered, so that someone can wait until there is none. The
/// Linux defaults of a host share one: work that starts more work counts the new before it ends itself, so
/// zero means that nothing more will come of its own. Calls are safe from any thread.
///
///     auto activity = std::make_shared<Activity>();
///     auto loop = std::make_shared<MainLoop>(activity);  // woken whenever nothing is open any more
///     ...
///     loop->runUntil([&] { return activity->open() == 0; }, deadline);
class MARLUNE_API Activity {
 public:
  /// Held for as long as one piece of work is open.
  using Piece = std::shared_ptr<void>;
  /// Ends the listening when it is destroyed; the listener is not called after that.
  using Listening = std::shared_ptr<void>;

  /// Counts one piece of work until the answer is released. Without an activity nothing is counted.
  [[nodiscard]] static Piece begin(const std::shared_ptr<Activity>& activity);

  std::size_t open() const;

  /// Waits until nothing is open or `limit` has passed; true when nothing is open.
  bool waitUntilIdle(std::chrono::nanoseconds limit);

  /// Calls `listener` each time the last open piece ends, on the thread that ended it. It must return at once
  /// and must not call the activity.
  [[nodiscard]] static Listening listen(const std::shared_ptr<Activity>& activity,
                                        std::function<void()> listener);

 private:
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  std::size_t open_ = 0;
  std::list<std::function<void()>> listeners_;  // called with the mutex held, so that none outlives its end
};

}  // namespace marlune
