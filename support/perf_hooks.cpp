// The states of the hook table, and the registration of debug modules.
#include "support/perf_hooks.h"

#include "support/instrumentation/connection.h"
#include "support/instrumentation/driver_wrap.h"

constinit PerfHookTable PerfHooks;
constinit ModuleTableEntry ModuleTable[kMostModules] = {};
LONG ModuleCount = 0;
constinit std::atomic<ULONG> g_ulDisablePopFilter = 0;

namespace {

// Slots from the sink on belong to the service.
template <typename Change>
void ForEachServiceHook(Change change) {
  PerfHookTable& table = PerfHooks;
  const auto changeAll = [&change](auto&... hooks) { (change(hooks), ...); };
  changeAll(table.PerfDebugSink, table.PerfTimerStart, table.PerfTimerStop, table.PerfTimerReset,
            table.PerfCounterAdd, table.PerfCounterSet, table.PerfSetName, table.PerfSpanStart,
            table.PerfSpanStop, table.PerfSpanReset, table.PerfSpanName, table.PerfSpanAdd,
            table.PerfSpanSet, table.PerfModeCall1, table.PerfModeCall2,
            table.PerfRegisterGlobalFlag, table.PerfModeCall4, table.PerfModeQuery,
            table.PerfModeReserved, table.PerfModeEnableStat);
}

PAGEABLE_CODE LONG RegisterModule(const char* tag, ULONG level, DbgSetModuleStateRoutine callback) {
  const LONG count = InterlockedIncrement(&ModuleCount);
  if (count > kMostModules) {
    InterlockedExchange(&ModuleCount, kMostModules);
    return -1;
  }
  ModuleTableEntry& entry = ModuleTable[count - 1];
  entry.Name = tag;
  entry.Level = level;
  entry.Callback = callback;
  return count - 1;
}

void ForgetState() {
  for (ModuleTableEntry& entry : ModuleTable) {
    entry.ServiceHandle.store(0, std::memory_order_relaxed);
    entry.Name = nullptr;
    entry.Level = 0;
    entry.Callback = nullptr;
  }
  InterlockedExchange(&ModuleCount, 0);
  ConnectionInit();
  DriverWrapInit();
}

}  // namespace

PAGEABLE_CODE void PerfHooksInit() {
  PerfHooks.PerfAttach.Set(&AttachToService);
  PerfHooks.PerfDetach.Set(&DetachFromService);
  PerfHooks.PerfHookDriver.Set(&WrapDriver);
  PerfHooks.PerfUnhookDriver.Set(&UnwrapDriver);
  PerfHooks.PerfRegisterModule.Set(&RegisterModule);
  SetServiceHooksIdle();
  ForgetState();
  // As after a load; a host process may load the driver more than once.
  g_ulDisablePopFilter.store(0, std::memory_order_relaxed);
}

void SetServiceHooksIdle() {
  ForEachServiceHook([](auto& hook) { hook.SetIdle(); });
}

PAGEABLE_CODE void PerfHooksShutdown() {
  PerfHooks.PerfAttach.SetStop();
  PerfHooks.PerfDetach.SetStop();
  PerfHooks.PerfHookDriver.SetStop();
  PerfHooks.PerfUnhookDriver.SetStop();
  PerfHooks.PerfRegisterModule.SetStop();
  ForEachServiceHook([](auto& hook) { hook.SetStop(); });
  ForgetState();
}
