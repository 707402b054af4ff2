// The states of the hook table, and the registration of debug modules.
#include "support/perf_hooks.h"

PerfHookTable PerfHooks;
ModuleTableEntry ModuleTable[kMostModules];
LONG ModuleCount = 0;
std::atomic<ULONG> g_ulDisablePopFilter = 0;

namespace {

template <typename Change>
void ForEachHook(Change change) {
  auto& [attach, detach, hookDriver, unhookDriver, registerModule, debugSink, timerStart, timerStop,
         timerReset, counterAdd, counterSet, setName, spanStart, spanStop, spanReset, spanName,
         spanAdd, spanSet, modeCall1, modeCall2, registerGlobalFlag, modeCall4, modeQuery,
         modeReserved, modeEnableStat] = PerfHooks;
  const auto changeAll = [&](auto&... hooks) { (change(hooks), ...); };
  changeAll(attach, detach, hookDriver, unhookDriver, registerModule, debugSink, timerStart,
            timerStop, timerReset, counterAdd, counterSet, setName, spanStart, spanStop, spanReset,
            spanName, spanAdd, spanSet, modeCall1, modeCall2, registerGlobalFlag, modeCall4,
            modeQuery, modeReserved, modeEnableStat);
}

LONG RegisterModule(const char* tag, ULONG level, DbgSetModuleStateRoutine callback) {
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

void ForgetModules() {
  for (ModuleTableEntry& entry : ModuleTable)
    entry = {};
  InterlockedExchange(&ModuleCount, 0);
}

}  // namespace

void PerfHooksInit() {
  ForEachHook([](auto& hook) { hook.SetIdle(); });
  PerfHooks.PerfRegisterModule.Set(&RegisterModule);
  ForgetModules();
  // As after a load; a host process may load the driver more than once.
  g_ulDisablePopFilter.store(0, std::memory_order_relaxed);
}

void PerfHooksShutdown() {
  ForEachHook([](auto& hook) { hook.SetStop(); });
  ForgetModules();
}
