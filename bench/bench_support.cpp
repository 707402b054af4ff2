// What the support services cost where nobody listens: a hook, a log statement, a block of memory.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "support/debug_log.h"
#include "support/perf_hooks.h"
#include "support/tracked_new.h"

namespace {

void Nothing(ULONG id, ULONG /*low*/, ULONG /*high*/) {
  benchmark::DoNotOptimize(id);
}

void IdleHook(benchmark::State& state) {
  for (auto _ : state)
    PerfHooks.PerfCounterAdd(1, 2, 3);
}
void IndirectCall(benchmark::State& state) {
  auto* entry = &Nothing;
  for (auto _ : state) {
    benchmark::DoNotOptimize(entry);
    entry(1, 2, 3);
  }
}
BENCHMARK(IdleHook)->Name("idle_hook/ours");
BENCHMARK(IndirectCall)->Name("idle_hook/empty_indirect_call");

void LogStatement(benchmark::State& state) {
  for (auto _ : state) {
    g_DeviceLog.Log(3, "CDevice::Dispatch> Device Object: 0x%lx \tMajorFunction:0x%x\n",
                    LogWord(&state), 15U);
  }
}
void OneSnprintf(benchmark::State& state) {
  char line[kLogLineSize];
  for (auto _ : state) {
    std::snprintf(line, sizeof(line),
                  "%s%s%s.%s: CDevice::Dispatch> Device Object: 0x%lx \tMajorFunction:0x%x\n", "",
                  "", kDriverTag, "Device", LogWord(&state), 15U);
    benchmark::DoNotOptimize(line);
  }
}
BENCHMARK(LogStatement)->Name("log_statement/ours");
BENCHMARK(OneSnprintf)->Name("log_statement/snprintf");

struct Block {
  char bytes[100];
};

void TrackedNewAndDelete(benchmark::State& state) {
  for (auto _ : state) {
    auto* block = new (NonPagedPool) Block;
    benchmark::DoNotOptimize(block);
    DeleteTracked(block);
  }
}
void MallocAndFree(benchmark::State& state) {
  for (auto _ : state) {
    void* block = std::malloc(sizeof(Block));
    benchmark::DoNotOptimize(block);
    std::free(block);
  }
}
BENCHMARK(TrackedNewAndDelete)->Name("new_delete_1_thread/ours");
BENCHMARK(MallocAndFree)->Name("new_delete_1_thread/malloc");
BENCHMARK(TrackedNewAndDelete)->Name("new_delete_8_threads/ours")->Threads(8)->UseRealTime();
BENCHMARK(MallocAndFree)->Name("new_delete_8_threads/malloc")->Threads(8)->UseRealTime();

// Before main, as a driver that has been loaded.
[[maybe_unused]] const bool kIsLoaded = [] {
  PerfHooksInit();
  PoolTrackInit();
  return true;
}();

}  // namespace
