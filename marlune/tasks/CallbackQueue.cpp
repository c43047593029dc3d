#include "marlune/tasks/CallbackQueue.h"

#include <algorithm>
#include <utility>

namespace marlune {

CallbackQueue::CallbackQueue(std::shared_ptr<ExecutorFactory> factory) : factory_(std::move(factory)) {}

CallbackQueue::~CallbackQueue() {
  close();
}

void CallbackQueue::post(Job job) {
  const std::lock_guard lock(state_->mutex);
  if (state_->closed) return;  // the job goes after the lock
  state_->jobs.push_back(std::move(job));
  if (!state_->current) openLane();
}

/// Requires the mutex and that no lane takes the jobs.
void CallbackQueue::openLane() {
  auto& lanes = state_->lanes;
  auto free = std::find_if(lanes.begin(), lanes.end(), [](const auto& lane) { return !lane->isBusy; });
  if (free == lanes.end()) {
    free = lanes.insert(lanes.end(), std::make_shared<Lane>());
    (*free)->executor = factory_->makeQueue("tide-callback", 1);
  }
  state_->current = *free;
  (*free)->isBusy = true;
  (*free)->executor->post([state = state_, lane = std::weak_ptr<Lane>(*free)] {
    if (const auto self = lane.lock()) run(*state, self);
  });
}

void CallbackQueue::run(State& state, const std::shared_ptr<Lane>& lane) {
  std::unique_lock lock(state.mutex);
  if (state.current == lane) state.runner = std::this_thread::get_id();
  // Another lane is current once this one has given way.
  while (state.current == lane && !state.jobs.empty()) {
    Job job = std::move(state.jobs.front());
    state.jobs.pop_front();
    lock.unlock();
    job();
    job = nullptr;
    lock.lock();
  }
  lane->isBusy = false;
  if (state.current != lane) return;
  state.current = nullptr;
  state.runner = {};
}

void CallbackQueue::giveWay() {
  const std::lock_guard lock(state_->mutex);
  if (!state_->current || state_->runner != std::this_thread::get_id() || state_->closed) return;
  state_->current = nullptr;
  state_->runner = {};
  if (!state_->jobs.empty()) openLane();
}

void CallbackQueue::close() {
  std::deque<Job> dropped;
  std::vector<std::shared_ptr<Lane>> lanes;
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
    state_->current = nullptr;
    dropped.swap(state_->jobs);
    lanes.swap(state_->lanes);
  }
  dropped.clear();
  for (const auto& lane : lanes) lane->executor = nullptr;
}

}  // namespace marlune
