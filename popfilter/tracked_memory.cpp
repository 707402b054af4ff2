// In the driver the primitives' memory is tracked like all other, non-paged.
#include "primitives/raw_memory.h"
#include "support/tracked_allocator.h"

namespace zr::primitives {

void* AllocateRawMemory(std::size_t byteCount) noexcept {
  return PoolAllocTracked(NonPagedPool, byteCount);
}

void FreeRawMemory(void* block) noexcept {
  PoolFreeTracked(block);
}

}  // namespace zr::primitives
