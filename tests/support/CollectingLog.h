#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "marlune/platform/Log.h"

namespace marlune::testing {

/// Keeps every line. Safe from any thread.
class CollectingLog : public Log {
 public:
  void line(std::string_view text) override {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(text);
  }

  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  /// Is there a line that holds `part`?
  bool contains(std::string_view part) const {
    const auto all = lines();
    return std::any_of(all.begin(), all.end(),
                       [part](const auto& line) { return line.find(part) != std::string::npos; });
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;  // guarded by the mutex
};

}  // namespace marlune::testing
