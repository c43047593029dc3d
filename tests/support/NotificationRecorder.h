#pragma once

#include <mutex>
#include <utility>
#include <vector>

#include "marlune/platform/NotificationCenter.h"

namespace marlune::testing {

/// Keeps every notification of a centre, in order. Safe from any thread.
class NotificationRecorder {
 public:
  explicit NotificationRecorder(NotificationCenter& center)
      : observation_(center.observe("", [this](const Notification& notification) {
          const std::lock_guard lock(mutex_);
          seen_.push_back(notification);
        })) {}

  /// What came since the last time.
  std::vector<Notification> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(seen_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Notification> seen_;               // guarded by the mutex
  NotificationCenter::Observation observation_;  // last: ends before what it writes to
};

}  // namespace marlune::testing
