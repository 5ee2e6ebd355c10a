// Counts every block of memory of the process: a heap's own figures hide small leaks among its caches. In a
// file of its own, so that no compiler sees through new and delete.
#include "live_blocks.h"

#include <cstdlib>
#include <new>

namespace quillon::soak {

std::size_t liveBlocks = 0;

}  // namespace quillon::soak

void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (!block) throw std::bad_alloc();
  ++quillon::soak::liveBlocks;
  return block;
}

void operator delete(void* block) noexcept {
  if (block) --quillon::soak::liveBlocks;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
