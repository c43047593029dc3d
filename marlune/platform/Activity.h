#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

#include "marlune/platform/Export.h"

namespace marlune {

/// Counts work that is queued, running or to be delivered, so that someone can wait until there is none. The
/// Linux defaults of a host share one: work that starts more work counts the new before it ends itself, so
/// zero means that nothing more will come of its own. Calls are safe from any thread.
class MARLUNE_API Activity {
 public:
  /// Held for as long as one piece of work is open.
  using Piece = std::shared_ptr<void>;

  /// Counts one piece of work until the answer is released.
  [[nodiscard]] static Piece begin(const std::shared_ptr<Activity>& activity);

  std::size_t open() const;

  /// Waits until nothing is open or `limit` has passed; true when nothing is open.
  bool waitUntilIdle(std::chrono::nanoseconds limit);

 private:
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  std::size_t open_ = 0;
};

}  // namespace marlune
