#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "marlune/base/Export.h"

namespace marlune {

/// Keeps an object alive for the work that runs on it: background work enters the object's scope first and
/// gives up where it is closed; the object's destructor closes the scope, which waits for what has entered.
/// Held by shared_ptr by the object and by all work that is still to come, so that the question can be asked
/// after the object is gone. Calls are safe from any thread.
///
///     queue.post([this, scope = work_] {
///       const auto entered = WorkScope::enter(scope);
///       if (entered) run();
///     });
class MARLUNE_API WorkScope {
 public:
  /// One piece of work inside the scope; it leaves when this is destroyed, on the thread that entered.
  class Entry {
   public:
    Entry(Entry&&) = default;
    Entry& operator=(Entry&&) = delete;
    ~Entry();
    explicit operator bool() const { return scope_ != nullptr; }

   private:
    friend class WorkScope;
    explicit Entry(std::shared_ptr<WorkScope> scope) : scope_(std::move(scope)) {}
    std::shared_ptr<WorkScope> scope_;
  };

  /// Enters the scope; the answer is false when it is closed.
  [[nodiscard]] static Entry enter(const std::shared_ptr<WorkScope>& scope);

  /// Has the object begun to end? Work that may itself have destroyed it asks before it touches it again.
  bool isClosed() const;

  /// Lets nothing enter any more and waits until everything has left, save the work of this very thread,
  /// which closes the scope from within.
  void close();

 private:
  mutable std::mutex mutex_;
  std::condition_variable left_;
  std::vector<std::thread::id> inside_;
  bool closed_ = false;
};

}  // namespace marlune
