// Events, mutexes and waits. One lock and one condition variable serve the whole system: whoever
// signals an object lets go of it before a waiter can return, so that an object may lie on the
// waiter's stack and vanish with it.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/host/execution.h"
#include "platform/host/internal_checks.h"
#include "platform/host/thread_state.h"

using zr::host::BugCheck;
using zr::host::CurrentThread;
using zr::host::RequireIrqlAtMost;
using zr::host::StopSystem;

namespace {

// Published numbers of the object types.
constexpr UCHAR kNotificationEvent = 0;
constexpr UCHAR kSynchronizationEvent = 1;
constexpr UCHAR kMutant = 2;

std::mutex dispatcherLock;
std::condition_variable stateChanged;

void InitializeHeader(DISPATCHER_HEADER& header, UCHAR type, std::size_t size, LONG state) {
  const std::lock_guard lock(dispatcherLock);
  header = {type, 0, static_cast<UCHAR>(size / sizeof(ULONG)), 0, state, {}};
  header.WaitListHead = {&header.WaitListHead, &header.WaitListHead};
}

// Waiters stand in the condition variable, so the list of an initialised object is always empty. A
// list that is not tells of an object that was never initialised, was copied, or was written over.
void RequireObject(const DISPATCHER_HEADER& header, bool isOfType, const char* routine) {
  const LIST_ENTRY* const head = &header.WaitListHead;
  if (isOfType && head->Flink == head && head->Blink == head) return;
  StopSystem(BugCheck::kDriverVerifierDetectedViolation,
             std::string(routine) + ": the object is not initialised, or of another kind");
}

void RequireEvent(const KEVENT& event, const char* routine) {
  RequireObject(event.Header, event.Header.Type <= kSynchronizationEvent, routine);
}

KMUTEX& MutexOf(DISPATCHER_HEADER& header) {
  return reinterpret_cast<KMUTEX&>(header);
}

bool IsOwner(const KMUTEX& mutex) {
  return mutex.OwnerThread == CurrentThread();
}

// Takes the object if this thread need not wait for it.
bool Take(DISPATCHER_HEADER& header) {
  if (header.Type == kMutant) {
    KMUTEX& mutex = MutexOf(header);
    // 1 is free, 0 is owned once, every further level of recursion is one less.
    if (header.SignalState <= 0 && !IsOwner(mutex)) return false;
    --header.SignalState;
    mutex.OwnerThread = CurrentThread();
    return true;
  }
  if (header.SignalState == 0) return false;
  if (header.Type == kSynchronizationEvent) header.SignalState = 0;
  return true;
}

using Ticks = std::chrono::duration<LONGLONG, std::ratio<1, 10'000'000>>;

// A negative time-out is relative; a positive one is a moment of the system clock, whose years
// began to count in 1601. Neither reaches further than a clock of nanoseconds can count.
bool WaitUntilTaken(std::unique_lock<std::mutex>& lock, DISPATCHER_HEADER& header,
                    LONGLONG timeout) {
  constexpr LONGLONG kFrom1601To1970 = 116'444'736'000'000'000;
  constexpr LONGLONG kHundredYears = 31'557'600'000'000'000;
  const auto taken = [&header] { return Take(header); };
  if (timeout < 0) {
    const Ticks relative(-std::max(timeout, -kHundredYears));
    return stateChanged.wait_for(lock, relative, taken);
  }
  const Ticks since1970(std::clamp(timeout - kFrom1601To1970, LONGLONG{0}, 2 * kHundredYears));
  return stateChanged.wait_until(lock, std::chrono::sys_time<Ticks>(since1970), taken);
}

// Signalling with "wait" set promises that a wait follows at once, for which the IRQL must do.
void RequireSignallingIrql(BOOLEAN wait, const char* routine) {
  RequireIrqlAtMost(wait == FALSE ? DISPATCH_LEVEL : APC_LEVEL, routine);
}

}  // namespace

extern "C" VOID KeInitializeEvent(PRKEVENT event, EVENT_TYPE type, BOOLEAN state) {
  InitializeHeader(event->Header,
                   type == NotificationEvent ? kNotificationEvent : kSynchronizationEvent,
                   sizeof(KEVENT), state == FALSE ? 0 : 1);
}

extern "C" LONG KeSetEvent(PRKEVENT event, KPRIORITY /*increment*/, BOOLEAN wait) {
  RequireSignallingIrql(wait, "KeSetEvent");
  const std::lock_guard lock(dispatcherLock);
  RequireEvent(*event, "KeSetEvent");
  const LONG old = event->Header.SignalState;
  event->Header.SignalState = 1;
  stateChanged.notify_all();
  return old;
}

extern "C" VOID KeClearEvent(PRKEVENT event) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "KeClearEvent");
  const std::lock_guard lock(dispatcherLock);
  RequireEvent(*event, "KeClearEvent");
  event->Header.SignalState = 0;
}

extern "C" LONG KeReadStateEvent(PRKEVENT event) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "KeReadStateEvent");
  const std::lock_guard lock(dispatcherLock);
  RequireEvent(*event, "KeReadStateEvent");
  return event->Header.SignalState;
}

extern "C" VOID KeInitializeMutex(PRKMUTEX mutex, ULONG /*level*/) {
  InitializeHeader(mutex->Header, kMutant, sizeof(KMUTEX), 1);
  mutex->MutantListEntry = {nullptr, nullptr};
  mutex->OwnerThread = 0;
  mutex->Abandoned = FALSE;
  mutex->ApcDisable = 1;
}

extern "C" LONG KeReleaseMutex(PRKMUTEX mutex, BOOLEAN wait) {
  RequireSignallingIrql(wait, "KeReleaseMutex");
  const std::lock_guard lock(dispatcherLock);
  RequireObject(mutex->Header, mutex->Header.Type == kMutant, "KeReleaseMutex");
  if (!IsOwner(*mutex)) {
    StopSystem(BugCheck::kThreadNotMutexOwner,
               "KeReleaseMutex: this thread does not own the mutex");
  }
  const LONG old = mutex->Header.SignalState++;
  if (old == 0) {
    mutex->OwnerThread = 0;
    stateChanged.notify_all();
  }
  return old;
}

extern "C" NTSTATUS KeWaitForSingleObject(PVOID object, KWAIT_REASON /*reason*/,
                                          KPROCESSOR_MODE /*mode*/, BOOLEAN /*alertable*/,
                                          PLARGE_INTEGER timeout) {
  const bool onlyLooks = timeout != nullptr && timeout->QuadPart == 0;
  RequireIrqlAtMost(onlyLooks ? DISPATCH_LEVEL : APC_LEVEL,
                    onlyLooks ? "KeWaitForSingleObject with a time-out of 0"
                              : "KeWaitForSingleObject that may wait");
  auto& header = *static_cast<DISPATCHER_HEADER*>(object);
  std::unique_lock lock(dispatcherLock);
  RequireObject(header, header.Type <= kMutant, "KeWaitForSingleObject");
  if (Take(header)) return STATUS_SUCCESS;
  if (onlyLooks) return STATUS_TIMEOUT;
  if (timeout == nullptr) {
    stateChanged.wait(lock, [&header] { return Take(header); });
    return STATUS_SUCCESS;
  }
  return WaitUntilTaken(lock, header, timeout->QuadPart) ? STATUS_SUCCESS : STATUS_TIMEOUT;
}
