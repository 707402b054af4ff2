// The device's remove lock: keeps the objects of a device alive while requests are out.
#pragma once

#include <atomic>

#include "platform/kernel.h"

struct RemoveLock {
  std::atomic<ULONG> Removed;  ///< 0 until removal, then 1, and never back.
  LONG Count;                  ///< 1 plus the number of holders; 0 only after removal.
  KEVENT Event;                ///< Set when Count reaches 0.
};

void RemoveLockInit(RemoveLock* lock);

/// Takes a hold: STATUS_SUCCESS, or STATUS_DELETE_PENDING with no hold once removal has begun. At
/// up to DISPATCH_LEVEL. The IRP is not touched here or below.
NTSTATUS RemoveLockAcquire(PIRP irp, RemoveLock* lock);

/// Gives a hold up; nothing of the device may be touched afterwards. At up to DISPATCH_LEVEL.
void RemoveLockRelease(PIRP irp, RemoveLock* lock);

/// Begins removal, gives the caller's own hold up, and waits until every other has gone.
/// PASSIVE_LEVEL, once for each lock.
void RemoveLockReleaseAndWait(PIRP irp, RemoveLock* lock);
