#include "tests/scene/heap_count.h"

#include <cstdlib>
#include <new>

namespace {
long liveBlocks = 0;
}  // namespace

void* operator new(std::size_t size) {
  void* block = std::malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  ++liveBlocks;
  return block;
}
void operator delete(void* block) noexcept {
  if (!block) return;
  --liveBlocks;
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace tstest {

long liveHeapBlocks() { return liveBlocks; }

}  // namespace tstest
