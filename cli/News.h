#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/platform/Log.h"
#include "marlune/platform/NotificationCenter.h"

namespace marlune::cli {

/// Collects log lines and notifications until they are shown. Safe from any thread.
class News : public Log {
 public:
  struct Items {
    std::vector<std::string> log;
    std::vector<Notification> notifications;
    bool empty() const { return log.empty() && notifications.empty(); }
  };

  /// `arrived` is called after each item, on the thread that brought it.
  explicit News(std::function<void()> arrived) : arrived_(std::move(arrived)) {}

  void line(std::string_view text) override;
  void add(const Notification& notification);

  bool empty();
  /// What has come since the last call.
  Items take();

 private:
  const std::function<void()> arrived_;
  std::mutex mutex_;
  Items items_;  // guarded by the mutex
};

}  // namespace marlune::cli
