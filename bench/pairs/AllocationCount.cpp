#include "pairs/AllocationCount.h"

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> taken{0};

// Of a MemoryCount. What was taken before it may be given back meanwhile, so the sum may be negative.
std::atomic<bool> counting{false};
std::atomic<std::int64_t> held{0};
std::atomic<std::int64_t> most{0};

void count(void* block, std::int64_t sign) {
  if (!counting.load(std::memory_order_relaxed) || block == nullptr) return;
  const auto bytes = sign * static_cast<std::int64_t>(::malloc_usable_size(block));
  const std::int64_t now = held.fetch_add(bytes, std::memory_order_relaxed) + bytes;
  if (now > most.load(std::memory_order_relaxed)) most.store(now, std::memory_order_relaxed);
}

std::size_t positive(std::int64_t bytes) {
  return bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

}  // namespace

std::size_t marlune::bench::allocations() {
  return taken.load(std::memory_order_relaxed);
}

marlune::bench::MemoryCount::MemoryCount() {
  ::held = ::most = 0;
  counting = true;
}

marlune::bench::MemoryCount::~MemoryCount() {
  counting = false;
}

std::size_t marlune::bench::MemoryCount::held() const {
  return positive(::held);
}

std::size_t marlune::bench::MemoryCount::most() const {
  return positive(::most);
}

// In place of the ones of the standard library, for the whole program; the array forms come here too.
void* operator new(std::size_t size) {
  taken.fetch_add(1, std::memory_order_relaxed);
  void* const block = std::malloc(size != 0 ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  count(block, 1);
  return block;
}
void operator delete(void* block) noexcept {
  count(block, -1);
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  count(block, -1);
  std::free(block);
}
