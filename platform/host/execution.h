// Execution in the kernel: IRQL, spin locks, events, mutexes, waits, interlocked operations, and
// the floating-point bracket. Every routine says at which IRQL it may run; one called above it is a
// bug check.
#pragma once

#include "platform/host/types.h"

inline constexpr KIRQL PASSIVE_LEVEL = 0;
inline constexpr KIRQL APC_LEVEL = 1;
inline constexpr KIRQL DISPATCH_LEVEL = 2;
inline constexpr KIRQL HIGH_LEVEL = 31;

/// The IRQL of this thread.
extern "C" KIRQL KeGetCurrentIrql();
/// Raises; lowering through it is a bug check. Gives the old IRQL.
extern "C" KIRQL KfRaiseIrql(KIRQL newIrql);
/// Lowers; raising through it is a bug check.
extern "C" VOID KfLowerIrql(KIRQL newIrql);

/// A word: 0 when free, else the thread that holds it.
using KSPIN_LOCK = ULONG_PTR;
using PKSPIN_LOCK = KSPIN_LOCK*;

extern "C" VOID KeInitializeSpinLock(PKSPIN_LOCK lock);
/// IRQL at most DISPATCH_LEVEL. Raises to DISPATCH_LEVEL and gives the old IRQL. A lock that this
/// thread holds already is a bug check.
extern "C" KIRQL KfAcquireSpinLock(PKSPIN_LOCK lock);
/// The holder alone may release; anybody else is a bug check.
extern "C" VOID KfReleaseSpinLock(PKSPIN_LOCK lock, KIRQL newIrql);

inline VOID KeAcquireSpinLock(PKSPIN_LOCK lock, PKIRQL oldIrql) {
  *oldIrql = KfAcquireSpinLock(lock);
}
inline VOID KeReleaseSpinLock(PKSPIN_LOCK lock, KIRQL newIrql) {
  KfReleaseSpinLock(lock, newIrql);
}

/// Head of every object that can be waited for. Its fields belong to the dispatcher.
struct DISPATCHER_HEADER {
  UCHAR Type;
  UCHAR Absolute;
  UCHAR Size;
  UCHAR Inserted;
  LONG SignalState;
  LIST_ENTRY WaitListHead;
};

enum EVENT_TYPE { NotificationEvent, SynchronizationEvent };

struct KEVENT {
  DISPATCHER_HEADER Header;
};
using PKEVENT = KEVENT*;
using PRKEVENT = KEVENT*;

struct KMUTEX {
  DISPATCHER_HEADER Header;
  LIST_ENTRY MutantListEntry;
  ULONG_PTR OwnerThread;
  BOOLEAN Abandoned;
  UCHAR ApcDisable;
};
using PKMUTEX = KMUTEX*;
using PRKMUTEX = KMUTEX*;

enum KWAIT_REASON { Executive };
inline constexpr KPROCESSOR_MODE KernelMode = 0;

extern "C" VOID KeInitializeEvent(PRKEVENT event, EVENT_TYPE type, BOOLEAN state);
/// IRQL at most DISPATCH_LEVEL. Gives the old state.
extern "C" LONG KeSetEvent(PRKEVENT event, KPRIORITY increment, BOOLEAN wait);
extern "C" VOID KeClearEvent(PRKEVENT event);
extern "C" LONG KeReadStateEvent(PRKEVENT event);

extern "C" VOID KeInitializeMutex(PRKMUTEX mutex, ULONG level);
/// Only the owner may release. Gives 0 when the mutex became free, else a negative number.
extern "C" LONG KeReleaseMutex(PRKMUTEX mutex, BOOLEAN wait);

/// Waits for an event or a mutex; a mutex may be taken again by its owner. A null timeout waits for
/// ever and needs PASSIVE_LEVEL (APC_LEVEL at most); a timeout of 0 only looks and may run at
/// DISPATCH_LEVEL; a negative one is relative, in units of 100 ns. Gives STATUS_SUCCESS or
/// STATUS_TIMEOUT.
extern "C" NTSTATUS KeWaitForSingleObject(PVOID object, KWAIT_REASON reason, KPROCESSOR_MODE mode,
                                          BOOLEAN alertable, PLARGE_INTEGER timeout);

/// The bounds of this thread's stack, from its lowest address up to, not including, its highest.
extern "C" VOID IoGetStackLimits(ULONG_PTR* lowLimit, ULONG_PTR* highLimit);

extern "C" LONG InterlockedIncrement(volatile LONG* addend);
extern "C" LONG InterlockedDecrement(volatile LONG* addend);
extern "C" LONG InterlockedExchange(volatile LONG* target, LONG value);
extern "C" LONG InterlockedCompareExchange(volatile LONG* target, LONG exchange, LONG comparand);
extern "C" PVOID InterlockedExchangePointer(PVOID volatile* target, PVOID value);
extern "C" PVOID InterlockedCompareExchangePointer(PVOID volatile* target, PVOID exchange,
                                                   PVOID comparand);

/// Room for the x87 and SSE state with their control words.
struct KFLOATING_SAVE {
  alignas(16) UCHAR State[512];
  ULONG Magic;
  ULONG Depth;
  ULONG_PTR Thread;
  KIRQL Irql;
};
using PKFLOATING_SAVE = KFLOATING_SAVE*;

/// Saves the floating-point state of this thread and loads the kernel's: exceptions masked, round
/// to nearest, on the x87 53-bit precision. IRQL at most DISPATCH_LEVEL. Brackets nest and are
/// restored in reverse order, by the thread that saved, at the IRQL at which it saved; anything
/// else, also restoring after a failed save, is a bug check.
extern "C" NTSTATUS KeSaveFloatingPointState(PKFLOATING_SAVE save);
extern "C" NTSTATUS KeRestoreFloatingPointState(PKFLOATING_SAVE save);
