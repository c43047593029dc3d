#pragma once

#include <algorithm>
#include <mutex>
#include <string>
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

  std::vector<Notification> all() const {
    const std::lock_guard lock(mutex_);
    return seen_;
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& notification : all()) names.push_back(notification.name);
    return names;
  }
  std::size_t count(const std::string& name) const {
    const auto seen = names();
    return static_cast<std::size_t>(std::count(seen.begin(), seen.end(), name));
  }
  /// What came since the last time.
  std::vector<Notification> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(seen_, {});
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Notification> seen_;               // guarded by the mutex
  NotificationCenter::Observation observation_;  // last: ends before what it writes to
};

}  // namespace marlune::testing
