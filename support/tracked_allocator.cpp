// The driver's memory. Non-paged blocks are listed under a spin lock, paged ones under a mutex; the
// hooks are called outside both.
#include "support/tracked_allocator.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "support/perf_hooks.h"

namespace {

// "ZCam" in the order of memory.
constexpr ULONG kPoolTag = 'Z' | 'C' << 8 | 'a' << 16 | 'm' << 24;

constexpr SIZE_T kClassCount = 10;
constexpr SIZE_T kClassStep = 32;
// The header and one byte more.
constexpr SIZE_T kOverhead = sizeof(PoolBlockHeader) + 1;
constexpr SIZE_T kLargestSize = std::numeric_limits<ULONG>::max() - kOverhead;

struct BlockList {
  PoolBlockHeader Head;  ///< Of a ring; new blocks go in front of it, to the tail.
  ULONG ByteCount;

  void Clear() {
    Head.Flink = &Head;
    Head.Blink = &Head;
    ByteCount = 0;
  }
  void Append(PoolBlockHeader* block) {
    ByteCount += block->Size;
    block->Flink = &Head;
    block->Blink = Head.Blink;
    Head.Blink->Flink = block;
    Head.Blink = block;
  }
  void Unlink(PoolBlockHeader* block) {
    ByteCount -= block->Size;
    block->Flink->Blink = block->Blink;
    block->Blink->Flink = block->Flink;
  }
};

struct SizeClass {
  ULONG IsUsed = 1;  ///< 0 sends the class's requests to the pool.
  PAGED_LOOKASIDE_LIST Paged = {};
  NPAGED_LOOKASIDE_LIST NonPaged = {};
};

KSPIN_LOCK nonPagedLock;
KMUTEX pagedMutex;
BlockList nonPagedBlocks;
BlockList pagedBlocks;
// No static constructor: nothing runs one in the kernel, and elsewhere it can come after the first
// use.
constinit SizeClass sizeClasses[kClassCount];
// Not guarded: two requests at once may lose the larger.
std::atomic<ULONG> largestRequest;

// Runs a change of a block's list under the lock of its kind.
template <typename Change>
void ChangeList(ULONG poolType, Change change) {
  if (poolType == NonPagedPool) {
    const KIRQL oldIrql = KfAcquireSpinLock(&nonPagedLock);
    change(nonPagedBlocks);
    KfReleaseSpinLock(&nonPagedLock, oldIrql);
  } else {
    KeWaitForSingleObject(&pagedMutex, Executive, KernelMode, FALSE, nullptr);
    change(pagedBlocks);
    KeReleaseMutex(&pagedMutex, FALSE);
  }
}

void ReportChange(ULONG poolType, LONGLONG bytes) {
  const auto bits = static_cast<ULONGLONG>(bytes);
  PerfHooks.PerfCounterAdd(poolType == NonPagedPool ? kStatNonPagedBytes : kStatPagedBytes,
                           static_cast<ULONG>(bits), static_cast<ULONG>(bits >> 32));
}

void ReportRequest(ULONG size) {
  if (size <= largestRequest.load(std::memory_order_relaxed)) return;
  largestRequest.store(size, std::memory_order_relaxed);
  PerfHooks.PerfCounterSet(kStatLargestRequest, size, 0);
}

// From the lookaside list of its size, or straight from the pool.
PoolBlockHeader* AllocateBlock(POOL_TYPE poolType, SIZE_T size, PVOID* lookaside) {
  *lookaside = nullptr;
  const SIZE_T classIndex = (size + kOverhead) / kClassStep;
  if (classIndex < kClassCount && sizeClasses[classIndex].IsUsed != 0) {
    SizeClass& sizeClass = sizeClasses[classIndex];
    if (poolType == PagedPool) {
      *lookaside = &sizeClass.Paged;
      return static_cast<PoolBlockHeader*>(ExAllocateFromPagedLookasideList(&sizeClass.Paged));
    }
    if (poolType == NonPagedPool) {
      *lookaside = &sizeClass.NonPaged;
      return static_cast<PoolBlockHeader*>(ExAllocateFromNPagedLookasideList(&sizeClass.NonPaged));
    }
  }
  return static_cast<PoolBlockHeader*>(ExAllocatePoolWithTag(poolType, size + kOverhead, kPoolTag));
}

void FreeBlock(PoolBlockHeader* block) {
  if (block->Lookaside == nullptr) {
    ExFreePool(block);
  } else if (block->PoolType == NonPagedPool) {
    ExFreeToNPagedLookasideList(static_cast<PNPAGED_LOOKASIDE_LIST>(block->Lookaside), block);
  } else {
    ExFreeToPagedLookasideList(static_cast<PPAGED_LOOKASIDE_LIST>(block->Lookaside), block);
  }
}

}  // namespace

PAGEABLE_CODE void PoolTrackInit() {
  KeInitializeSpinLock(&nonPagedLock);
  KeInitializeMutex(&pagedMutex, 0);
  nonPagedBlocks.Clear();
  pagedBlocks.Clear();
  SIZE_T blockSize = 0;
  for (SizeClass& sizeClass : sizeClasses) {
    blockSize += kClassStep;
    if (sizeClass.IsUsed == 0) continue;
    ExInitializePagedLookasideList(&sizeClass.Paged, nullptr, nullptr, 0, blockSize, kPoolTag, 0);
    ExInitializeNPagedLookasideList(&sizeClass.NonPaged, nullptr, nullptr, 0, blockSize, kPoolTag,
                                    0);
  }
  largestRequest.store(0, std::memory_order_relaxed);
}

PAGEABLE_CODE void PoolTrackShutdown() {
  for (SizeClass& sizeClass : sizeClasses) {
    if (sizeClass.IsUsed == 0) continue;
    ExDeletePagedLookasideList(&sizeClass.Paged);
    ExDeleteNPagedLookasideList(&sizeClass.NonPaged);
  }
}

PVOID PoolAllocTracked(POOL_TYPE poolType, SIZE_T size) {
  PVOID lookaside = nullptr;
  PoolBlockHeader* const block =
      size <= kLargestSize ? AllocateBlock(poolType, size, &lookaside) : nullptr;
  const auto requested =
      static_cast<ULONG>(std::min<SIZE_T>(size, std::numeric_limits<ULONG>::max()));
  if (block != nullptr) {
    block->Size = requested;
    block->Lookaside = lookaside;
    block->PoolType = static_cast<ULONG>(poolType);
    ChangeList(block->PoolType, [block](BlockList& list) { list.Append(block); });
    ReportChange(block->PoolType, LONGLONG{requested});
  }
  ReportRequest(requested);
  return block == nullptr ? nullptr : block + 1;
}

void PoolFreeTracked(PVOID pointer) {
  PoolBlockHeader* const block = static_cast<PoolBlockHeader*>(pointer) - 1;
  ChangeList(block->PoolType, [block](BlockList& list) { list.Unlink(block); });
  ReportChange(block->PoolType, -LONGLONG{block->Size});
  FreeBlock(block);
}

ULONG PoolTrackedBytes(POOL_TYPE poolType) {
  ULONG bytes = 0;
  ChangeList(static_cast<ULONG>(poolType), [&bytes](BlockList& list) { bytes = list.ByteCount; });
  return bytes;
}
