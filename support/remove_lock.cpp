// The device's remove lock. A newcomer raises the count before it looks at the flag, and the
// remover sets the flag before it gives up a count: so either the newcomer sees the flag, or the
// count cannot reach 0 before that holder releases.
#include "support/remove_lock.h"

void RemoveLockInit(RemoveLock* lock) {
  lock->Removed.store(0, std::memory_order_relaxed);
  lock->Count = 1;
  KeInitializeEvent(&lock->Event, NotificationEvent, FALSE);
}

NTSTATUS RemoveLockAcquire(PIRP irp, RemoveLock* lock) {
  InterlockedIncrement(&lock->Count);
  if (lock->Removed.load(std::memory_order_seq_cst) == 0) return STATUS_SUCCESS;
  RemoveLockRelease(irp, lock);
  return STATUS_DELETE_PENDING;
}

void RemoveLockRelease(PIRP /*irp*/, RemoveLock* lock) {
  if (InterlockedDecrement(&lock->Count) == 0) {
    KeSetEvent(&lock->Event, IO_NO_INCREMENT, FALSE);
  }
}

PAGEABLE_CODE void RemoveLockReleaseAndWait(PIRP irp, RemoveLock* lock) {
  lock->Removed.store(1, std::memory_order_seq_cst);
  InterlockedDecrement(&lock->Count);  // The one that it was made with.
  RemoveLockRelease(irp, lock);
  KeWaitForSingleObject(&lock->Event, Executive, KernelMode, FALSE, nullptr);
}
