// Lookaside lists: short stacks of free blocks of one size in front of the pool. Where the kernel
// has stacks that processors change by interlocked operations, each thread here has one that it
// changes without any, and one behind a lock evens out threads that only allocate or only free.
#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "platform/host/internal_checks.h"
#include "platform/host/pool.h"

using zr::host::BugCheck;
using zr::host::CurrentThreadSlot;
using zr::host::kThreadSlots;
using zr::host::RequireIrqlAtMost;
using zr::host::StopSystem;

namespace {

constexpr ULONG kMagic = 0x4C4F4F4B;
constexpr USHORT kDefaultDepth = 16;

// Lies in the free block itself. By the mark, a block that comes back twice, or that was written to
// after it had come back, is found out.
struct FreeEntry {
  FreeEntry* next;
  ULONG_PTR mark;
};

// Differs from entry to entry, so that data copied from another free block is no mark.
ULONG_PTR MarkOf(const FreeEntry* entry) {
  return ~reinterpret_cast<ULONG_PTR>(entry) ^ kMagic;
}

[[noreturn, gnu::cold, gnu::noinline]] void StopAtList(const char* routine) {
  StopSystem(BugCheck::kDriverVerifierDetectedViolation,
             std::string(routine) + ": the lookaside list is not initialised, or deleted already");
}

void RequireList(const GENERAL_LOOKASIDE& list, const char* routine) {
  if (list.Magic != kMagic) StopAtList(routine);
}

[[noreturn, gnu::cold, gnu::noinline]] void StopAtEntry(const GENERAL_LOOKASIDE& list,
                                                        const char* what) {
  StopSystem(BugCheck::kBadPoolCaller,
             "Lookaside list of " + std::to_string(list.Size) + " bytes: " + what);
}

class ListLock {
 public:
  explicit ListLock(GENERAL_LOOKASIDE& list)
      : list_(list), oldIrql_(KfAcquireSpinLock(&list.Lock)) {}
  ~ListLock() { KfReleaseSpinLock(&list_.Lock, oldIrql_); }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

 private:
  GENERAL_LOOKASIDE& list_;
  KIRQL oldIrql_;
};

// On a line of the processor's cache of its own.
struct alignas(64) ThreadStack {
  FreeEntry* first;
  USHORT count;
};
using ThreadStacks = std::array<ThreadStack, kThreadSlots>;

ThreadStacks& StacksOf(const GENERAL_LOOKASIDE& list) {
  return *static_cast<ThreadStacks*>(list.ThreadStacks);
}

// Null if more threads live than have slots.
ThreadStack* CurrentStack(const GENERAL_LOOKASIDE& list) {
  const ULONG slot = CurrentThreadSlot();
  return slot < kThreadSlots ? &StacksOf(list)[slot] : nullptr;
}

FreeEntry* CommonFirst(const GENERAL_LOOKASIDE& list) {
  return static_cast<FreeEntry*>(list.FirstFree);
}

FreeEntry* Pushed(FreeEntry* entry, FreeEntry* first) {
  entry->next = first;
  entry->mark = MarkOf(entry);
  return entry;
}

// Gives what stands behind the entry, which is free no more.
FreeEntry* Popped(const GENERAL_LOOKASIDE& list, FreeEntry* entry) {
  if (entry->mark != MarkOf(entry)) {
    StopAtEntry(list, "a block was written to after it had been freed to the list");
  }
  entry->mark = 0;
  return entry->next;
}

// The mark may be left over in the data of a block; it only says that a look is due.
void RequireAbsent(const GENERAL_LOOKASIDE& list, FreeEntry* first, const FreeEntry* entry) {
  while (first != nullptr && first != entry) {
    first = first->next;
  }
  if (first == entry) StopAtEntry(list, "a block was freed to the list twice");
}

void Initialize(GENERAL_LOOKASIDE& list, PALLOCATE_FUNCTION allocate, PFREE_FUNCTION free,
                POOL_TYPE type, SIZE_T size, ULONG tag, USHORT depth) {
  list = {};
  KeInitializeSpinLock(&list.Lock);
  list.ThreadStacks = new ThreadStacks();
  list.Depth = depth == 0 ? kDefaultDepth : depth;
  list.ThreadDepth = list.Depth / 2;
  list.Type = type;
  list.Tag = tag;
  list.Size = static_cast<ULONG>(std::max(size, sizeof(FreeEntry)));
  list.Allocate = allocate == nullptr ? &ExAllocatePoolWithTag : allocate;
  list.Free = free == nullptr ? &ExFreePool : free;
  list.Magic = kMagic;
}

void FreeAll(const GENERAL_LOOKASIDE& list, FreeEntry* first) {
  while (first != nullptr) {
    list.Free(std::exchange(first, first->next));
  }
}

// Who deletes a list is the last to use it: the stacks of other threads are at rest.
void Delete(GENERAL_LOOKASIDE& list, const char* routine) {
  RequireList(list, routine);
  list.Magic = 0;
  for (const ThreadStack& stack : StacksOf(list)) {
    FreeAll(list, stack.first);
  }
  FreeAll(list, CommonFirst(list));
  delete &StacksOf(list);
}

PVOID AllocateCommon(GENERAL_LOOKASIDE& list) {
  {
    const ListLock lock(list);
    FreeEntry* const entry = CommonFirst(list);
    if (entry != nullptr) {
      list.FirstFree = Popped(list, entry);
      --list.FreeCount;
      return entry;
    }
    ++list.AllocateMisses;
  }
  return list.Allocate(list.Type, list.Size, list.Tag);
}

PVOID Allocate(GENERAL_LOOKASIDE& list, const char* routine) {
  RequireList(list, routine);
  ThreadStack* const stack = CurrentStack(list);
  if (stack == nullptr || stack->first == nullptr) return AllocateCommon(list);
  FreeEntry* const entry = stack->first;
  stack->first = Popped(list, entry);
  --stack->count;
  return entry;
}

void FreeCommon(GENERAL_LOOKASIDE& list, FreeEntry* entry) {
  {
    const ListLock lock(list);
    if (list.FreeCount < list.Depth - list.ThreadDepth) {
      list.FirstFree = Pushed(entry, CommonFirst(list));
      ++list.FreeCount;
      return;
    }
    ++list.FreeMisses;
  }
  list.Free(entry);
}

void Free(GENERAL_LOOKASIDE& list, PVOID block, const char* routine) {
  RequireList(list, routine);
  auto* const entry = static_cast<FreeEntry*>(block);
  ThreadStack* const stack = CurrentStack(list);
  if (entry->mark == MarkOf(entry)) {
    if (stack != nullptr) RequireAbsent(list, stack->first, entry);
    const ListLock lock(list);
    RequireAbsent(list, CommonFirst(list), entry);
  }
  if (stack == nullptr || stack->count == list.ThreadDepth) {
    FreeCommon(list, entry);
    return;
  }
  stack->first = Pushed(entry, stack->first);
  ++stack->count;
}

}  // namespace

extern "C" VOID ExInitializeNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list,
                                                PALLOCATE_FUNCTION allocate, PFREE_FUNCTION free,
                                                ULONG /*flags*/, SIZE_T size, ULONG tag,
                                                USHORT depth) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "ExInitializeNPagedLookasideList");
  Initialize(list->L, allocate, free, NonPagedPool, size, tag, depth);
}

extern "C" VOID ExDeleteNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "ExDeleteNPagedLookasideList");
  Delete(list->L, "ExDeleteNPagedLookasideList");
}

extern "C" PVOID ExAllocateFromNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "ExAllocateFromNPagedLookasideList");
  return Allocate(list->L, "ExAllocateFromNPagedLookasideList");
}

extern "C" VOID ExFreeToNPagedLookasideList(PNPAGED_LOOKASIDE_LIST list, PVOID entry) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "ExFreeToNPagedLookasideList");
  Free(list->L, entry, "ExFreeToNPagedLookasideList");
}

extern "C" VOID ExInitializePagedLookasideList(PPAGED_LOOKASIDE_LIST list,
                                               PALLOCATE_FUNCTION allocate, PFREE_FUNCTION free,
                                               ULONG /*flags*/, SIZE_T size, ULONG tag,
                                               USHORT depth) {
  RequireIrqlAtMost(APC_LEVEL, "ExInitializePagedLookasideList");
  Initialize(list->L, allocate, free, PagedPool, size, tag, depth);
}

extern "C" VOID ExDeletePagedLookasideList(PPAGED_LOOKASIDE_LIST list) {
  RequireIrqlAtMost(APC_LEVEL, "ExDeletePagedLookasideList");
  Delete(list->L, "ExDeletePagedLookasideList");
}

extern "C" PVOID ExAllocateFromPagedLookasideList(PPAGED_LOOKASIDE_LIST list) {
  RequireIrqlAtMost(APC_LEVEL, "ExAllocateFromPagedLookasideList");
  return Allocate(list->L, "ExAllocateFromPagedLookasideList");
}

extern "C" VOID ExFreeToPagedLookasideList(PPAGED_LOOKASIDE_LIST list, PVOID entry) {
  RequireIrqlAtMost(APC_LEVEL, "ExFreeToPagedLookasideList");
  Free(list->L, entry, "ExFreeToPagedLookasideList");
}
