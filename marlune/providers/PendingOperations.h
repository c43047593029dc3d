#pragma once

#include <mutex>
#include <string>
#include <unordered_set>

namespace marlune {

/// The keys of requests that are queued or running; an equal request is dropped meanwhile. Safe from any
/// thread.
class PendingOperations {
 public:
  /// Marks `key` as pending; false when it is already.
  bool begin(const std::string& key) {
    const std::lock_guard lock(mutex_);
    return keys_.insert(key).second;
  }

  void end(const std::string& key) {
    const std::lock_guard lock(mutex_);
    keys_.erase(key);
  }

 private:
  std::mutex mutex_;
  std::unordered_set<std::string> keys_;
};

}  // namespace marlune
