// IRQL, spin locks and interlocked operations. The IRQL of a thread is a number that the checks
// read: it keeps no thread off the processor here, so only spin locks keep threads apart.
#include "platform/host/execution.h"

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <bit>
#include <mutex>

#include "platform/host/control/execution_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/thread_state.h"

using zr::host::BugCheck;
using zr::host::CurrentThread;
using zr::host::RequireIrqlAtMost;
using zr::host::StopSystem;
using zr::host::threadState;

namespace {

std::atomic_ref<KSPIN_LOCK> Word(PKSPIN_LOCK lock) {
  return std::atomic_ref(*lock);
}

std::atomic_ref<LONG> Shared(volatile LONG* value) {
  return std::atomic_ref(const_cast<LONG&>(*value));
}

std::atomic_ref<PVOID> Shared(PVOID volatile* value) {
  return std::atomic_ref(const_cast<PVOID&>(*value));
}

// The ways to a bug check stand apart, so that the fast ways need no frame for their texts.
[[noreturn, gnu::cold, gnu::noinline]] void StopAtOwnLock() {
  StopSystem(BugCheck::kSpinLockAlreadyOwned,
             "KfAcquireSpinLock: this thread holds the spin lock already");
}

[[noreturn, gnu::cold, gnu::noinline]] void StopAtForeignLock() {
  StopSystem(BugCheck::kSpinLockNotOwned,
             "KfReleaseSpinLock: this thread does not hold the spin lock");
}

[[noreturn, gnu::cold, gnu::noinline]] void StopAtRelease(KIRQL newIrql) {
  StopSystem(BugCheck::kDriverVerifierDetectedViolation,
             "KfReleaseSpinLock at IRQL " + std::to_string(threadState.irql) +
                 " with the old IRQL " + std::to_string(newIrql) +
                 ": it runs at DISPATCH_LEVEL and never raises");
}

// Yields at once rather than spin: a thread that looks at the lock takes its cache line from the
// holder, which costs more than the few instructions that a lock is held for; and where threads
// outnumber processors, the holder may be waiting for this one.
[[gnu::noinline]] void AcquireContended(PKSPIN_LOCK lock, ULONG_PTR self) {
  for (;;) {
    KSPIN_LOCK holder = Word(lock).load(std::memory_order_relaxed);
    if (holder == self) StopAtOwnLock();
    if (holder == 0 && Word(lock).compare_exchange_weak(holder, self, std::memory_order_acquire)) {
      return;
    }
    sched_yield();
  }
}

}  // namespace

extern "C" KIRQL KeGetCurrentIrql() {
  return threadState.irql;
}

extern "C" KIRQL KfRaiseIrql(KIRQL newIrql) {
  const KIRQL old = threadState.irql;
  if (newIrql < old || newIrql > HIGH_LEVEL) {
    StopSystem(BugCheck::kIrqlNotGreaterOrEqual,
               "KfRaiseIrql from IRQL " + std::to_string(old) + " to " + std::to_string(newIrql));
  }
  threadState.irql = newIrql;
  return old;
}

extern "C" VOID KfLowerIrql(KIRQL newIrql) {
  if (newIrql > threadState.irql) {
    StopSystem(BugCheck::kIrqlNotLessOrEqual, "KfLowerIrql from IRQL " +
                                                  std::to_string(threadState.irql) + " to " +
                                                  std::to_string(newIrql));
  }
  threadState.irql = newIrql;
}

extern "C" VOID KeInitializeSpinLock(PKSPIN_LOCK lock) {
  Word(lock).store(0, std::memory_order_release);
}

extern "C" KIRQL KfAcquireSpinLock(PKSPIN_LOCK lock) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "KfAcquireSpinLock");
  const KIRQL old = threadState.irql;
  const ULONG_PTR self = CurrentThread();
  KSPIN_LOCK expected = 0;
  if (!Word(lock).compare_exchange_strong(expected, self, std::memory_order_acquire,
                                          std::memory_order_relaxed)) {
    AcquireContended(lock, self);
  }
  threadState.irql = DISPATCH_LEVEL;
  return old;
}

extern "C" VOID KfReleaseSpinLock(PKSPIN_LOCK lock, KIRQL newIrql) {
  if (Word(lock).load(std::memory_order_relaxed) != CurrentThread()) StopAtForeignLock();
  if (threadState.irql != DISPATCH_LEVEL || newIrql > DISPATCH_LEVEL) StopAtRelease(newIrql);
  Word(lock).store(0, std::memory_order_release);
  threadState.irql = newIrql;
}

extern "C" LONG InterlockedIncrement(volatile LONG* addend) {
  return ++Shared(addend);
}

extern "C" LONG InterlockedDecrement(volatile LONG* addend) {
  return --Shared(addend);
}

extern "C" LONG InterlockedExchange(volatile LONG* target, LONG value) {
  return Shared(target).exchange(value);
}

extern "C" LONG InterlockedCompareExchange(volatile LONG* target, LONG exchange, LONG comparand) {
  Shared(target).compare_exchange_strong(comparand, exchange);
  return comparand;
}

extern "C" PVOID InterlockedExchangePointer(PVOID volatile* target, PVOID value) {
  return Shared(target).exchange(value);
}

extern "C" PVOID InterlockedCompareExchangePointer(PVOID volatile* target, PVOID exchange,
                                                   PVOID comparand) {
  Shared(target).compare_exchange_strong(comparand, exchange);
  return comparand;
}

namespace zr::host {

namespace {

std::mutex slotMutex;
uint32_t takenSlots = 0;  // a bit for each
static_assert(kThreadSlots == 32);

struct SlotReturner {
  ULONG slot = kThreadSlots;
  ~SlotReturner() {
    if (slot == kThreadSlots) return;
    // Whatever this thread still runs goes without a slot.
    threadState.slotPlusOne = kThreadSlots + 1;
    const std::lock_guard lock(slotMutex);
    takenSlots &= ~(uint32_t{1} << slot);
  }
};

}  // namespace

ULONG TakeThreadSlot() {
  static thread_local SlotReturner returner;
  const std::lock_guard lock(slotMutex);
  const auto slot = static_cast<ULONG>(std::countr_one(takenSlots));
  if (slot < kThreadSlots) takenSlots |= uint32_t{1} << slot;
  returner.slot = slot;
  threadState.slotPlusOne = slot + 1;
  return slot;
}

void StopAtIrql(KIRQL highest, const char* routine) {
  StopSystem(BugCheck::kIrqlNotLessOrEqual, std::string(routine) + " may run at IRQL " +
                                                std::to_string(highest) + " at most, called at " +
                                                std::to_string(threadState.irql));
}

StackBounds CurrentStackBounds() {
  // Asking is slow on the first thread of a process: it reads the memory map.
  static thread_local StackBounds bounds = {0, 0};
  if (bounds.high != 0) return bounds;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return bounds;
  void* low = nullptr;
  std::size_t size = 0;
  pthread_attr_getstack(&attributes, &low, &size);
  pthread_attr_destroy(&attributes);
  bounds.low = reinterpret_cast<ULONG_PTR>(low);
  bounds.high = bounds.low + size;
  return bounds;
}

}  // namespace zr::host

extern "C" VOID IoGetStackLimits(ULONG_PTR* lowLimit, ULONG_PTR* highLimit) {
  const zr::host::StackBounds bounds = zr::host::CurrentStackBounds();
  *lowLimit = bounds.low;
  *highLimit = bounds.high;
}
