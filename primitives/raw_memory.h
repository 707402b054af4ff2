// The one seam through which the primitives obtain memory. A stand-alone program links
// standard_memory.cpp; the driver brings its tracked allocator, tests an allocator that counts.
#pragma once

#include <cstddef>

namespace zr::primitives {

/// At least byteCount bytes, aligned for a pointer, or null. Never throws.
void* AllocateRawMemory(std::size_t byteCount) noexcept;

/// Gives back a block of AllocateRawMemory. block is not null.
void FreeRawMemory(void* block) noexcept;

}  // namespace zr::primitives
