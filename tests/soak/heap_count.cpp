#include "soak/heap_count.h"

#include <malloc.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> live_bytes{0};
std::atomic<std::size_t> live_blocks{0};

void* Take(std::size_t size) noexcept {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) return nullptr;
  live_bytes += malloc_usable_size(block);
  ++live_blocks;
  return block;
}

void Give(void* block) noexcept {
  if (block == nullptr) return;
  live_bytes -= malloc_usable_size(block);
  --live_blocks;
  std::free(block);
}

}  // namespace

// All other forms of new and delete, but those for over-aligned types, call these.
void* operator new(std::size_t size) {
  if (void* block = Take(size)) return block;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Take(size);
}
void operator delete(void* block) noexcept {
  Give(block);
}
void operator delete(void* block, std::size_t) noexcept {
  Give(block);
}

kvx::HeapCount kvx::CountHeap() {
  return {live_bytes, live_blocks, static_cast<std::size_t>(sqlite3_memory_used())};
}
