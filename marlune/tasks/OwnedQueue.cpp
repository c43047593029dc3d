#include "marlune/tasks/OwnedQueue.h"

#include <utility>

namespace marlune {

OwnedQueue::OwnedQueue(std::shared_ptr<Executor> queue) : queue_(std::move(queue)) {}

OwnedQueue::~OwnedQueue() {
  close();
}

void OwnedQueue::post(Job job) {
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return;
    ++posting_;
  }
  // Not through a copy of the pointer: were that the last one, the queue would end here, unseen by close().
  queue_->post(std::move(job));
  const std::lock_guard lock(mutex_);
  if (--posting_ == 0) idle_.notify_all();
}

void OwnedQueue::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  idle_.wait(lock, [this] { return posting_ == 0; });
  // Destroyed outside the lock: what is dropped may post.
  const auto queue = std::exchange(queue_, nullptr);
  lock.unlock();
}

}  // namespace marlune
