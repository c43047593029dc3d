#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace marlune {

/// A map from texts that holds a number of entries at most: when one more is stored, the one that was stored
/// first goes. Asking does not count as use. Used by one thread at a time.
template <class Value>
class BoundedCache {
 public:
  explicit BoundedCache(std::size_t maximum) : maximum_(maximum) {}

  /// Null when there is none; lasts until the next store().
  const Value* find(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? nullptr : &found->second;
  }

  /// Calls `visit` with key and value of each entry from one key to another, both included, in their order.
  template <class Visit>
  void visitRange(std::string_view first, std::string_view last, Visit visit) const {
    for (auto at = values_.lower_bound(first); at != values_.end() && at->first <= last; ++at) {
      visit(at->first, at->second);
    }
  }

  /// An entry of the same key is replaced and keeps its turn.
  void store(const std::string& key, Value value) {
    const auto [at, isNew] = values_.insert_or_assign(key, std::move(value));
    if (!isNew) return;
    order_.push_back(at->first);
    if (order_.size() <= maximum_) return;
    values_.erase(values_.find(order_.front()));
    order_.pop_front();
  }

  std::size_t size() const { return values_.size(); }

 private:
  const std::size_t maximum_;
  std::map<std::string, Value, std::less<>> values_;
  std::deque<std::string> order_;
};

}  // namespace marlune
