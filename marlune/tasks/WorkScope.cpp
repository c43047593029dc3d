#include "marlune/tasks/WorkScope.h"

#include <algorithm>

namespace marlune {

WorkScope::Entry WorkScope::enter(const std::shared_ptr<WorkScope>& scope) {
  const std::lock_guard lock(scope->mutex_);
  if (scope->closed_) return Entry(nullptr);
  scope->inside_.push_back(std::this_thread::get_id());
  return Entry(scope);
}

WorkScope::Entry::~Entry() {
  if (!scope_) return;
  const std::lock_guard lock(scope_->mutex_);
  auto& inside = scope_->inside_;
  inside.erase(std::find(inside.begin(), inside.end(), std::this_thread::get_id()));
  scope_->left_.notify_all();
}

bool WorkScope::isClosed() const {
  const std::lock_guard lock(mutex_);
  return closed_;
}

void WorkScope::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  const auto self = std::this_thread::get_id();
  left_.wait(lock, [&] {
    return std::all_of(inside_.begin(), inside_.end(), [&](std::thread::id id) { return id == self; });
  });
}

}  // namespace marlune
