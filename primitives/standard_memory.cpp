// Raw memory for stand-alone programs: the non-throwing operator new.
#include <new>

#include "primitives/raw_memory.h"

namespace zr::primitives {

void* AllocateRawMemory(std::size_t byteCount) noexcept {
  return ::operator new(byteCount, std::nothrow);
}

void FreeRawMemory(void* block) noexcept {
  ::operator delete(block);
}

}  // namespace zr::primitives
