#include "marlune/platform/Activity.h"

#include <utility>

namespace marlune {

Activity::Piece Activity::begin(const std::shared_ptr<Activity>& activity) {
  if (!activity) return nullptr;
  {
    const std::lock_guard lock(activity->mutex_);
    ++activity->open_;
  }
  return Piece(activity.get(), [activity](void*) {
    const std::lock_guard lock(activity->mutex_);
    if (--activity->open_ != 0) return;
    activity->idle_.notify_all();
    for (const auto& listener : activity->listeners_) listener();
  });
}

std::size_t Activity::open() const {
  const std::lock_guard lock(mutex_);
  return open_;
}

bool Activity::waitUntilIdle(std::chrono::nanoseconds limit) {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, limit, [this] { return open_ == 0; });
}

Activity::Listening Activity::listen(const std::shared_ptr<Activity>& activity,
                                     std::function<void()> listener) {
  if (!activity) return nullptr;
  const std::lock_guard lock(activity->mutex_);
  const auto place = activity->listeners_.insert(activity->listeners_.end(), std::move(listener));
  return Listening(activity.get(), [activity, place](void*) {
    const std::lock_guard removing(activity->mutex_);
    activity->listeners_.erase(place);
  });
}

}  // namespace marlune
