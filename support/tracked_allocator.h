// The driver's memory: every block is linked into a list and counted, small ones come from
// lookaside lists by size class, and the instrumentation hears of every change.
#pragma once

#include "platform/kernel.h"

/// In front of every block; 20 bytes on the 32-bit system.
struct PoolBlockHeader {
  PoolBlockHeader* Flink;
  PoolBlockHeader* Blink;
  ULONG Size;       ///< As the caller asked for.
  PVOID Lookaside;  ///< The list that the block came from, null if it came from the pool.
  ULONG PoolType;   ///< 0 non-paged, anything else tracked as paged.
};
static_assert(sizeof(void*) != 4 || sizeof(PoolBlockHeader) == 20);

/// Sets up the lists, locks and size classes. Before the first allocation, at PASSIVE_LEVEL.
void PoolTrackInit();
/// Deletes the lookaside lists. Blocks that are still out are not looked for. PASSIVE_LEVEL.
void PoolTrackShutdown();

/// A block of at least size bytes, aligned for a pointer, or null. Pool type 0 at up to
/// DISPATCH_LEVEL, any other at PASSIVE_LEVEL.
PVOID PoolAllocTracked(POOL_TYPE poolType, SIZE_T size);
/// Gives a block back; not null. At the IRQL that its pool type allows.
void PoolFreeTracked(PVOID block);

/// What is out now, of the two kinds.
ULONG PoolTrackedBytes(POOL_TYPE poolType);
