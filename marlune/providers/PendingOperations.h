#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

namespace marlune {

/// The keys of requests that are queued or running; an equal request is dropped meanwhile, unless it wants to
/// be told of the outcome and the one under way tells nobody. Held by shared_ptr. Safe from any thread.
class PendingOperations : public std::enable_shared_from_this<PendingOperations> {
 public:
  /// One request under way. Its key is free again from end() on, and when the mark is dropped with the work.
  class Mark {
   public:
    Mark(std::shared_ptr<PendingOperations> owner, std::string key, bool tells)
        : owner_(std::move(owner)), key_(std::move(key)), tells_(tells) {}
    ~Mark() { end(); }
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;

    /// Does nothing the second time.
    void end() {
      const std::lock_guard lock(owner_->mutex_);
      if (std::exchange(ended_, true)) return;
      const auto found = owner_->keys_.find(key_);
      (tells_ ? found->second.telling : found->second.quiet) = false;
      if (!found->second.telling && !found->second.quiet) owner_->keys_.erase(found);
    }

   private:
    const std::shared_ptr<PendingOperations> owner_;
    const std::string key_;
    const bool tells_;
    bool ended_ = false;  // guarded by the owner's mutex
  };

  /// Marks `key` as pending; an empty pointer when the request is one to drop. `tells`: is somebody told of
  /// the outcome?
  std::shared_ptr<Mark> begin(const std::string& key, bool tells = true) {
    {
      const std::lock_guard lock(mutex_);
      Kinds& pending = keys_[key];
      if (pending.telling || (!tells && pending.quiet)) return nullptr;
      (tells ? pending.telling : pending.quiet) = true;
    }
    return std::make_shared<Mark>(this->shared_from_this(), key, tells);
  }

 private:
  struct Kinds {
    bool telling = false;
    bool quiet = false;
  };

  std::mutex mutex_;
  std::unordered_map<std::string, Kinds> keys_;
};

}  // namespace marlune
