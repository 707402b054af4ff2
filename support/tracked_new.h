// The driver's objects in tracked memory, by an explicit form: the global operators stay what they
// are, as on a host the rest of a process lives on them.
//
//   auto* device = new (NonPagedPool) CDevice;   // null if there is no memory
//   DeleteTracked(device);                       // device is not null
#pragma once

#include <cstddef>

#include "support/tracked_allocator.h"

inline void* operator new(std::size_t size, POOL_TYPE poolType) noexcept {
  return PoolAllocTracked(poolType, size);
}
inline void* operator new[](std::size_t size, POOL_TYPE poolType) noexcept {
  return PoolAllocTracked(poolType, size);
}
// What a constructor that throws would call.
inline void operator delete(void* block, POOL_TYPE /*poolType*/) noexcept {
  PoolFreeTracked(block);
}
inline void operator delete[](void* block, POOL_TYPE /*poolType*/) noexcept {
  PoolFreeTracked(block);
}

template <typename Object>
void DeleteTracked(Object* object) {
  // Behind its header a block is aligned for a pointer and no further.
  static_assert(alignof(Object) <= alignof(void*));
  object->~Object();
  PoolFreeTracked(object);
}
