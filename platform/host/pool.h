// Pool memory and lookaside lists. Every block carries its tag and guard bytes on both sides;
// leaks, overruns and failing allocations are the business of control/pool_control.h.
#pragma once

#include "platform/host/execution.h"
#include "platform/host/types.h"

inline constexpr POOL_TYPE NonPagedPool = 0;
inline constexpr POOL_TYPE PagedPool = 1;

/// Null if there is no memory. Non-paged pool up to DISPATCH_LEVEL, paged pool up to APC_LEVEL. The
/// block is aligned to 8 bytes on a 32-bit and to 16 on a 64-bit system; its contents are garbage.
extern "C" PVOID ExAllocatePoolWithTag(POOL_TYPE poolType, SIZE_T byteCount, ULONG tag);
/// A block that is not out, or whose guard bytes have changed, is a bug check.
extern "C" VOID ExFreePool(PVOID block);

using PALLOCATE_FUNCTION = PVOID(NTAPI*)(POOL_TYPE poolType, SIZE_T byteCount, ULONG tag);
using PFREE_FUNCTION = VOID(NTAPI*)(PVOID block);

/// A cache of blocks of one size in front of the pool. Half of its depth is each thread's own, the
/// other half is common to all.
struct GENERAL_LOOKASIDE {
  KSPIN_LOCK Lock;  ///< Guards FirstFree, FreeCount and the counts of misses.
  PVOID FirstFree;
  PVOID ThreadStacks;
  USHORT FreeCount;
  USHORT Depth;
  USHORT ThreadDepth;  ///< Of Depth, what each thread may keep.
  ULONG AllocateMisses;
  ULONG FreeMisses;
  POOL_TYPE Type;
  ULONG Tag;
  ULONG Size;
  PALLOCATE_FUNCTION Allocate;
  PFREE_FUNCTION Free;
  ULONG Magic;
};

struct NPAGED_LOOKASIDE_LIST {
  GENERAL_LOOKASIDE L;
};
using PNPAGED_LOOKASIDE_LIST = NPAGED_LOOKASIDE_LIST*;

struct PAGED_LOOKASIDE_LIST {
  GENERAL_LOOKASIDE L;
};
using PPAGED_LOOKASIDE_LIST = PAGED_LOOKASIDE_LIST*;

/// A depth of 0 leaves the depth to the system. Null routines are the pool's own.
extern "C" VOID ExInitializeNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list,
                                                PALLOCATE_FUNCTION allocate, PFREE_FUNCTION free,
                                                ULONG flags, SIZE_T size, ULONG tag, USHORT depth);
extern "C" VOID ExDeleteNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list);
extern "C" PVOID ExAllocateFromNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list);
extern "C" VOID ExFreeToNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list, PVOID entry);

extern "C" VOID ExInitializePagedLookasideList(PPAGED_LOOKASIDE_LIST list,
                                               PALLOCATE_FUNCTION allocate, PFREE_FUNCTION free,
                                               ULONG flags, SIZE_T size, ULONG tag, USHORT depth);
extern "C" VOID ExDeletePagedLookasideList(PPAGED_LOOKASIDE_LIST list);
extern "C" PVOID ExAllocateFromPagedLookasideList(PPAGED_LOOKASIDE_LIST list);
extern "C" VOID ExFreeToPagedLookasideList(PPAGED_LOOKASIDE_LIST list, PVOID entry);
