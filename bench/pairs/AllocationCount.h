#pragma once

#include <cstddef>

namespace marlune::bench {

/// How many blocks this program has taken with operator new so far, by any thread.
std::size_t allocations();

/// Counts the bytes that are taken and given back with operator new and delete, as the allocator rounds them,
/// while it lives. One at a time; it slows allocation down, so nothing is timed meanwhile.
class MemoryCount {
 public:
  MemoryCount();
  ~MemoryCount();
  MemoryCount(const MemoryCount&) = delete;
  MemoryCount& operator=(const MemoryCount&) = delete;

  std::size_t held() const;
  std::size_t most() const;  ///< that was held at any moment
};

}  // namespace marlune::bench
