#include "marlune/platform/NotificationHub.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace marlune {

struct NotificationHub::State {
  struct Entry {
    std::string name;
    Observer observer;
    // Guarded by the hub's mutex.
    std::vector<std::thread::id> running;  // once for each call that has not returned
    bool ended = false;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;

  std::mutex mutex;
  std::condition_variable returned;
  Entries entries;  // guarded by the mutex

  void call(Entry& entry, const Notification& notification) {
    const auto self = std::this_thread::get_id();
    {
      const std::lock_guard lock(mutex);
      if (entry.ended) return;
      entry.running.push_back(self);
    }
    entry.observer(notification);
    Observer finished;
    {
      const std::lock_guard lock(mutex);
      entry.running.erase(std::find(entry.running.begin(), entry.running.end(), self));
      // Ended from within its own call: what it holds goes now, not when the last post lets go of the entry.
      if (entry.ended && entry.running.empty()) finished = std::move(entry.observer);
    }
    returned.notify_all();
  }

  void end(Entries::iterator place) {
    Observer finished;
    std::unique_lock lock(mutex);
    const auto entry = *place;
    entries.erase(place);
    entry->ended = true;
    returned.wait(lock, [&entry] {
      return std::all_of(entry->running.begin(), entry->running.end(),
                         [](std::thread::id id) { return id == std::this_thread::get_id(); });
    });
    if (entry->running.empty()) finished = std::move(entry->observer);
    lock.unlock();
  }
};

NotificationHub::NotificationHub() : state_(std::make_shared<State>()) {}

NotificationHub::~NotificationHub() = default;

NotificationCenter::Observation NotificationHub::observe(std::string name, Observer observer) {
  auto entry = std::make_shared<State::Entry>();
  entry->name = std::move(name);
  entry->observer = std::move(observer);
  State::Entries::iterator place;
  {
    const std::lock_guard lock(state_->mutex);
    place = state_->entries.insert(state_->entries.end(), std::move(entry));
  }
  return Observation(state_.get(), [state = state_, place](void*) { state->end(place); });
}

void NotificationHub::post(Notification notification) {
  const auto state = state_;  // an observer may destroy the hub
  std::vector<std::shared_ptr<State::Entry>> called;
  {
    const std::lock_guard lock(state->mutex);
    for (const auto& entry : state->entries) {
      if (entry->name.empty() || entry->name == notification.name) called.push_back(entry);
    }
  }
  for (const auto& entry : called) state->call(*entry, notification);
}

}  // namespace marlune
