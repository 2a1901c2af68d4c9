// Aligned blocks.

#include <cstdint>
#include <cstdlib>

#include "arko/core.h"
#include "core/hooks.h"

using namespace arko::core;

extern "C" void* arko_serv_allocate(size_t size, size_t alignment) {
  if (alignment == 0 || (alignment & (alignment - 1)) != 0) return nullptr;
  if (alignment < sizeof(void*)) alignment = sizeof(void*);
  if (size == 0) size = 1;
  // No object is larger than PTRDIFF_MAX, and the allocator adds up to one alignment to the size.
  if (alignment > PTRDIFF_MAX || size > PTRDIFF_MAX - alignment) return nullptr;
  if (!allocation_may_succeed()) return nullptr;
  void* block = nullptr;
  if (posix_memalign(&block, alignment, size) != 0) return nullptr;
  block_taken();
  return block;
}

extern "C" void arko_serv_deallocate(void* block) {
  if (block == nullptr) return;
  block_released();
  std::free(block);
}
