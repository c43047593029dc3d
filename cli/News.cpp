#include "cli/News.h"

#include <utility>

namespace marlune::cli {

void News::line(std::string_view text) {
  {
    const std::lock_guard lock(mutex_);
    items_.log.emplace_back(text);
  }
  arrived_();
}

void News::add(const Notification& notification) {
  {
    const std::lock_guard lock(mutex_);
    items_.notifications.push_back(notification);
  }
  arrived_();
}

bool News::empty() {
  const std::lock_guard lock(mutex_);
  return items_.empty();
}

News::Items News::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(items_, {});
}

}  // namespace marlune::cli
