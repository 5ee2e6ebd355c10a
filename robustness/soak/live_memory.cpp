// Counts all memory of the process, block by block: a heap's own figures hide small leaks among its caches.
// In a file of its own, so that no compiler sees through new and delete.
#include "live_memory.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace quillon::soak {

std::size_t liveBlocks = 0;
std::size_t liveBytes = 0;

}  // namespace quillon::soak

void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (!block) throw std::bad_alloc();
  ++quillon::soak::liveBlocks;
  quillon::soak::liveBytes += malloc_usable_size(block);
  return block;
}

void operator delete(void* block) noexcept {
  if (!block) return;
  --quillon::soak::liveBlocks;
  quillon::soak::liveBytes -= malloc_usable_size(block);
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
