#include "support/instrumentation/perf_items.h"

#include "support/debug_log.h"
#include "support/perf_hooks.h"

namespace {
constexpr ULONG kDisablerFlag = 0;
}  // namespace

PAGEABLE_CODE void NamePerfItems() {
  PerfHooks.PerfSetName(kStatFilterTime, "% Time spent in POPS Filter");
  PerfHooks.PerfRegisterGlobalFlag(kDisablerFlag, "POP Filter Disabler", &OnChangeGlobalFlagHandler,
                                   &g_ulDisablePopFilter);
}

void OnChangeGlobalFlagHandler(PVOID Context, ULONG Index, ULONG Value) {
  if (Context == nullptr || Index != kDisablerFlag) return;
  g_DrvMainLog.Log(2, "OnChangeGlobalFlagHandler> Setting g_ulDisablePopFilter to %d\n",
                   static_cast<int>(Value));
  g_ulDisablePopFilter.store(Value, std::memory_order_relaxed);
}
