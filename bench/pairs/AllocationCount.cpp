#include "pairs/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> taken{0};
}

std::size_t marlune::bench::allocations() {
  return taken.load(std::memory_order_relaxed);
}

// In place of the ones of the standard library, for the whole program; the array forms come here too.
void* operator new(std::size_t size) {
  taken.fetch_add(1, std::memory_order_relaxed);
  if (void* const block = std::malloc(size != 0 ? size : 1)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
