#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "marlune/providers/PendingOperations.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// Work by key, for example a transfer by its address, that all its callers share. It stays open until those
/// that got the answer have stored it, so that a caller that comes in between finds either the work or what
/// it brought. An answer that converts to false is a failure: nothing is stored, and the next caller begins
/// anew.
///
/// Held by shared_ptr. Safe from any thread. Nothing is called with a lock held. An asker is called exactly
/// once, on the thread that answers, or inside join() if the answer is there already; it should only post
/// what it got. The caller that begins the work holds a ticket; if the ticket is dropped, the answer is a
/// failure.
///
///     for (;;) {
///       const auto before = work->ended();
///       if (lookInMemory()) return;
///       const auto joined = work->join(address, {.completion = store}, before);
///       if (joined.ticket) send(address, [ticket = joined.ticket](auto answer) { ticket->answer(answer); });
///       if (!joined.lookAgain) return;
///     }
template <class Answer>
class JoinedWork : public std::enable_shared_from_this<JoinedWork<Answer>> {
  struct Entry;

 public:
  /// The answer as one asker gets it. The work counts as under way until every one has let go of it.
  class Share {
   public:
    Share() = default;
    Share(Answer answer, std::shared_ptr<const void> hold)
        : answer_(std::move(answer)), hold_(std::move(hold)) {}
    const Answer& answer() const { return answer_; }
    /// What was to be stored is stored.
    void letGo() { hold_ = nullptr; }

   private:
    Answer answer_{};
    std::shared_ptr<const void> hold_;
  };

  struct Asker {
    UniqueFunction<void(Share)> completion;
    std::shared_ptr<PendingOperations::Mark> mark = nullptr;  ///< of the request that asks, if it has one
    bool waits = false;                                       ///< is its thread about to wait for the answer?
  };

  /// The right and the duty to do the work.
  class Ticket {
   public:
    Ticket(std::shared_ptr<JoinedWork> work, std::shared_ptr<Entry> entry)
        : work_(std::move(work)), entry_(std::move(entry)) {}
    ~Ticket() { work_->answer(entry_, Answer{}); }
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;

    /// Only the first one counts.
    void answer(Answer answer) const { work_->answer(entry_, std::move(answer)); }

    /// Does `work` on this thread, which in the meantime does not wait for itself: where it asks for the same
    /// within `work`, it begins anew.
    template <class Work>
    void runHere(const Work& work) const {
      work_->setRunner(*entry_, std::this_thread::get_id());
      work();
      work_->setRunner(*entry_, {});
    }

   private:
    const std::shared_ptr<JoinedWork> work_;
    const std::shared_ptr<Entry> entry_;
  };

  struct Joined {
    std::shared_ptr<Ticket> ticket = nullptr;  ///< not empty: the caller is to begin
    bool lookAgain = false;                    ///< some work has ended; the asker was dropped
  };

  /// How much has ended by now; taken before looking at what finished work would have stored.
  std::uint64_t ended() const {
    const std::lock_guard lock(mutex_);
    return ended_;
  }

  bool isUnderWay(const std::string& key) const {
    const std::lock_guard lock(mutex_);
    return open_.contains(key);
  }

  /// Without `before` the asker wants the answer whatever has been stored.
  Joined join(const std::string& key, Asker asker, std::optional<std::uint64_t> before = {}) {
    std::unique_lock lock(mutex_);
    if (before && *before != ended_) return {.lookAgain = true};
    auto& entry = open_[key];
    if (entry && entry->answered) {
      if (auto hold = entry->hold.lock()) {
        Share share(entry->answer, std::move(hold));
        lock.unlock();
        asker.completion(std::move(share));
        return {};
      }
      entry = nullptr;  // the last share goes at this moment
    }
    if (entry && asker.waits && entry->runner == std::this_thread::get_id()) entry = nullptr;
    const bool isFirst = !entry;
    if (isFirst) entry = std::make_shared<Entry>(key);
    entry->askers.push_back(std::move(asker));
    if (!isFirst) return {};
    return {.ticket = std::make_shared<Ticket>(this->shared_from_this(), entry)};
  }

  /// Nobody joins the work of that key any more; who has joined gets its answer. With `endMarks` the keys of
  /// their requests are free at once, for who hears of a failure before the answer does.
  void close(const std::string& key, bool endMarks) {
    std::vector<std::shared_ptr<PendingOperations::Mark>> marks;
    {
      const std::lock_guard lock(mutex_);
      const auto found = open_.find(key);
      if (found == open_.end()) return;
      if (endMarks) {
        for (const Asker& asker : found->second->askers) marks.push_back(asker.mark);
      }
      open_.erase(found);
      ++ended_;
    }
    for (const auto& mark : marks) {
      if (mark) mark->end();
    }
  }

 private:
  struct Entry {
    explicit Entry(std::string name) : key(std::move(name)) {}
    const std::string key;
    // Guarded by the mutex.
    std::vector<Asker> askers;
    bool answered = false;
    Answer answer{};
    std::weak_ptr<const void> hold;
    std::thread::id runner;
  };

  /// Ends the work when the last share lets go of it.
  struct Hold {
    Hold(std::shared_ptr<JoinedWork> owner, std::shared_ptr<Entry> held)
        : work(std::move(owner)), entry(std::move(held)) {}
    ~Hold() {
      const std::lock_guard lock(work->mutex_);
      work->leave(entry);
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    const std::shared_ptr<JoinedWork> work;
    const std::shared_ptr<Entry> entry;
  };

  void setRunner(Entry& entry, std::thread::id runner) {
    const std::lock_guard lock(mutex_);
    entry.runner = runner;
  }

  void answer(const std::shared_ptr<Entry>& entry, Answer answer) {
    std::vector<Asker> askers;
    std::shared_ptr<const void> hold;
    {
      const std::lock_guard lock(mutex_);
      if (std::exchange(entry->answered, true)) return;
      askers = std::exchange(entry->askers, {});
      if (!answer) {
        leave(entry);
      } else {
        hold = std::make_shared<const Hold>(this->shared_from_this(), entry);
        entry->hold = hold;
        entry->answer = answer;
      }
    }
    // From here on only the shares hold the work open.
    std::vector<Share> shares(askers.size(), Share(std::move(answer), std::move(hold)));
    for (std::size_t i = 0; i < askers.size(); ++i) askers[i].completion(std::move(shares[i]));
  }

  /// Requires the mutex.
  void leave(const std::shared_ptr<Entry>& entry) {
    const auto found = open_.find(entry->key);
    if (found == open_.end() || found->second != entry) return;
    open_.erase(found);
    ++ended_;
  }

  mutable std::mutex mutex_;
  // Guarded by the mutex.
  std::map<std::string, std::shared_ptr<Entry>> open_;
  std::uint64_t ended_ = 0;
};

}  // namespace marlune
