// The three states of the hook table, and the module table's limits.
#include "support/perf_hooks.h"

#include "tests/support/support_fixture.h"

using namespace zr::test;

namespace {

constexpr void (*kServiceHooks[])() = {
    [] { PerfHooks.PerfDebugSink(1, "line"); },
    [] { PerfHooks.PerfTimerStart(1); },
    [] { PerfHooks.PerfTimerStop(1); },
    [] { PerfHooks.PerfTimerReset(1); },
    [] { PerfHooks.PerfCounterAdd(1, 2, 3); },
    [] { PerfHooks.PerfCounterSet(1, 2, 3); },
    [] { PerfHooks.PerfSetName(1, "name"); },
    [] { PerfHooks.PerfSpanStart(9); },
    [] { PerfHooks.PerfSpanStop(9); },
    [] { PerfHooks.PerfSpanReset(9); },
    [] { PerfHooks.PerfSpanName(9, "name"); },
    [] { PerfHooks.PerfSpanAdd(9, 1, 2); },
    [] { PerfHooks.PerfSpanSet(9, 1, 2); },
    [] { PerfHooks.PerfModeCall1(1, 2); },
    [] { PerfHooks.PerfModeCall2(1, 2); },
    [] { PerfHooks.PerfRegisterGlobalFlag(0, "name", nullptr, nullptr); },
    [] { PerfHooks.PerfModeCall4(1, 2); },
    [] { PerfHooks.PerfModeReserved(); },
    [] { PerfHooks.PerfModeEnableStat(1); },
    [] { EXPECT_EQ(PerfHooks.PerfModeQuery(1), 0U); }};

constexpr void (*kDriverHooks[])() = {
    [] { PerfHooks.PerfAttach(nullptr, nullptr, nullptr); }, [] { PerfHooks.PerfDetach(); },
    [] { PerfHooks.PerfHookDriver(nullptr); }, [] { PerfHooks.PerfUnhookDriver(); },
    [] { PerfHooks.PerfRegisterModule("tag", 0, nullptr); }};

void ExpectEveryHookStops() {
  for (auto* const hook : kServiceHooks)
    EXPECT_EQ(BugCheckOf(hook), 0xDEADBEEF);
  for (auto* const hook : kDriverHooks)
    EXPECT_EQ(BugCheckOf(hook), 0xDEADBEEF);
}

TEST(PerfHooks, StopOutsideTheDriversLifetimeAndRestInside) {
  ExpectEveryHookStops();
  PerfHooksInit();
  for (auto* const hook : kServiceHooks)
    hook();
  PerfHooksShutdown();
  ExpectEveryHookStops();
}

TEST(PerfHooks, TheModuleTableHasFiftyPlaces) {
  PerfHooksInit();
  for (void (*const startAfresh)() : {&PerfHooksInit, &PerfHooksShutdown}) {
    ModuleTable[49].ServiceHandle = 77;
    for (LONG index = 0; index < 50; ++index) {
      EXPECT_EQ(PerfHooks.PerfRegisterModule("tag", 3, nullptr), index);
    }
    for (int tries = 0; tries < 3; ++tries) {
      EXPECT_EQ(PerfHooks.PerfRegisterModule("late", 4, nullptr), -1);
      EXPECT_EQ(ModuleCount, 50);
    }
    EXPECT_STREQ(ModuleTable[49].Name, "tag");
    EXPECT_EQ(ModuleTable[49].Level, 3U);
    EXPECT_EQ(ModuleTable[49].ServiceHandle, 77U) << "the service alone writes it";
    startAfresh();
    EXPECT_EQ(ModuleCount, 0);
    EXPECT_EQ(ModuleTable[49].Name, nullptr);
    EXPECT_EQ(ModuleTable[49].ServiceHandle, 0U);
  }
}

}  // namespace
