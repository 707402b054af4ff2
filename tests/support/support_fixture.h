// The support services in a running driver: hooks idle, allocator set up, registry empty, and an
// end at which nothing may be left.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/control/debug_control.h"
#include "platform/host/control/pool_control.h"
#include "platform/host/control/registry_control.h"
#include "support/debug_log.h"
#include "support/perf_hooks.h"
#include "support/tracked_allocator.h"

namespace zr::test {

class SupportFixture : public testing::Test {
 protected:
  SupportFixture() {
    host::ClearRegistry();
    PerfHooksInit();
    PoolTrackInit();
  }
  ~SupportFixture() override {
    PoolTrackShutdown();
    PerfHooksShutdown();
    host::SetDebugSink(nullptr);
    host::ClearRegistry();
    EXPECT_EQ(host::PoolLeakReport(), "");
    EXPECT_EQ(host::OpenKeyCount(), 0U);
  }
};

/// What went to the debug sink since KeepLines was called, with its level. Hooks are plain
/// functions, so that it lies here.
inline std::vector<std::pair<ULONG, std::string>> keptLines;

inline void KeepLines() {
  keptLines.clear();
  PerfHooks.PerfDebugSink.Set(
      [](ULONG level, const char* line) { keptLines.emplace_back(level, line); });
}

/// How many of them hold a part.
inline auto CountLines(const std::string& part) {
  return std::ranges::count_if(
      keptLines, [&part](const auto& line) { return line.second.find(part) != std::string::npos; });
}

/// Runs a call that must stop the system and gives the code.
template <typename Call>
ULONG BugCheckOf(Call call) {
  const host::ExpectedBugCheck expected;
  try {
    call();
  } catch (const host::BugCheckError& error) {
    return error.Code();
  }
  return 0;
}

}  // namespace zr::test
