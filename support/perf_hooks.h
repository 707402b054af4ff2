// The hook table: the one road on which the driver reports to an instrumentation service in another
// driver. Whoever reports calls a hook and tests nothing. While no service is connected a hook does
// nothing; outside the driver's lifetime it stops the system.
#pragma once

#include <atomic>
#include <type_traits>

#include "platform/kernel.h"

/// Sets the level and the enable word of a debug module; called by the service alone.
using DbgSetModuleStateRoutine = void (*)(ULONG level, ULONG enable);

/// Told by the service that a named flag has changed.
using GlobalFlagHandler = void (*)(PVOID context, ULONG index, ULONG value);

/// What a hook leads to where nobody listens: nothing, and the result 0.
template <typename Result, typename... Arguments>
Result PerfNop(Arguments... /*ignored*/) {
  if constexpr (!std::is_void_v<Result>) return Result{};
}

/// What a hook leads to before load and after unload.
inline constexpr ULONG kCallOutsideLifetime = 0xDEADBEEF;
template <typename Result, typename... Arguments>
Result PerfStop(Arguments... /*ignored*/) {
  KeBugCheckEx(kCallOutsideLifetime, 0, 0, 0, 0);
}

/// One slot: a pointer that is read and written whole, without a lock. A store publishes what was
/// prepared for the entry before it.
template <typename Signature>
class PerfHook;

template <typename Result, typename... Arguments>
class PerfHook<Result(Arguments...)> {
 public:
  using Entry = Result (*)(Arguments...);

  constexpr PerfHook() : entry_(&PerfStop<Result, Arguments...>) {}

  Result operator()(Arguments... arguments) const {
    return entry_.load(std::memory_order_acquire)(arguments...);
  }
  void Set(Entry entry) { entry_.store(entry, std::memory_order_release); }
  void SetIdle() { Set(&PerfNop<Result, Arguments...>); }
  void SetStop() { Set(&PerfStop<Result, Arguments...>); }

 private:
  std::atomic<Entry> entry_;
};

/// The 25 slots in their order. A 64-bit value travels as two words, the low one first.
struct PerfHookTable {
  // The driver's own part of the connection.
  PerfHook<void(PDEVICE_OBJECT fdo, PDEVICE_OBJECT lowerDevice, PDEVICE_OBJECT pdo)> PerfAttach;
  PerfHook<void()> PerfDetach;
  PerfHook<void(PDRIVER_OBJECT driver)> PerfHookDriver;
  PerfHook<void()> PerfUnhookDriver;
  PerfHook<LONG(const char* tag, ULONG level, DbgSetModuleStateRoutine callback)>
      PerfRegisterModule;
  // Debug lines.
  PerfHook<void(ULONG level, const char* line)> PerfDebugSink;
  // Statistics by number.
  PerfHook<void(ULONG id)> PerfTimerStart;
  PerfHook<void(ULONG id)> PerfTimerStop;
  PerfHook<void(ULONG id)> PerfTimerReset;
  PerfHook<void(ULONG id, ULONG low, ULONG high)> PerfCounterAdd;
  PerfHook<void(ULONG id, ULONG low, ULONG high)> PerfCounterSet;
  PerfHook<void(ULONG id, const char* name)> PerfSetName;
  PerfHook<void(ULONG id)> PerfSpanStart;
  PerfHook<void(ULONG id)> PerfSpanStop;
  PerfHook<void(ULONG id)> PerfSpanReset;
  PerfHook<void(ULONG id, const char* name)> PerfSpanName;
  PerfHook<void(ULONG id, ULONG low, ULONG high)> PerfSpanAdd;
  PerfHook<void(ULONG id, ULONG low, ULONG high)> PerfSpanSet;
  // Modes and flags.
  PerfHook<void(ULONG_PTR first, ULONG_PTR second)> PerfModeCall1;
  PerfHook<void(ULONG_PTR first, ULONG_PTR second)> PerfModeCall2;
  PerfHook<void(ULONG index, const char* name, GlobalFlagHandler handler, PVOID context)>
      PerfRegisterGlobalFlag;
  PerfHook<void(ULONG_PTR first, ULONG_PTR second)> PerfModeCall4;
  PerfHook<ULONG(ULONG_PTR word)> PerfModeQuery;
  PerfHook<void()> PerfModeReserved;
  PerfHook<void(ULONG id)> PerfModeEnableStat;
};
static_assert(sizeof(PerfHookTable) == 25 * sizeof(void*));

extern PerfHookTable PerfHooks;

/// Statistics by number.
inline constexpr ULONG kStatPagedBytes = 4;
inline constexpr ULONG kStatNonPagedBytes = 5;
inline constexpr ULONG kStatLargestRequest = 6;
inline constexpr ULONG kStatFilterTime = 9;

/// A debug module as the service sees it, which gets the table by address: the layout is its.
struct ModuleTableEntry {
  /// Written by the service, also while lines are on their way; goes back to it with every line.
  std::atomic<ULONG_PTR> ServiceHandle;
  const char* Name;
  ULONG Level;
  DbgSetModuleStateRoutine Callback;
};
static_assert(sizeof(void*) != 4 || sizeof(ModuleTableEntry) == 16);
inline constexpr LONG kMostModules = 50;
extern ModuleTableEntry ModuleTable[kMostModules];
extern LONG ModuleCount;

/// Non-zero makes the interception refuse isochronous transfers. Read without a lock.
extern std::atomic<ULONG> g_ulDisablePopFilter;

/// Sets the driver's own hooks, makes the service's idle, and forgets the modules. First of all at
/// load. PASSIVE_LEVEL.
void PerfHooksInit();
/// Makes the service's hooks idle: all from the debug sink on.
void SetServiceHooksIdle();
/// Makes every hook stop the system. Last of all at unload. PASSIVE_LEVEL.
void PerfHooksShutdown();
