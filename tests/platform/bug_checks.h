// What the tests of the host kernel share: misuses with the bug check that each meets, threads and
// waits.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "platform/host/control/debug_control.h"
#include "platform/host/execution.h"

namespace zr::test {

inline constexpr host::BugCheck kViolation = host::BugCheck::kDriverVerifierDetectedViolation;

struct Misuse {
  const char* name;
  host::BugCheck code;
  const char* text;  ///< A part of what the bug check says.
  std::function<void()> run;
  KIRQL irql = PASSIVE_LEVEL;  ///< At which it runs, or at the test's own if that is higher.
};

inline void ExpectBugChecks(const std::vector<Misuse>& misuses) {
  for (const Misuse& misuse : misuses) {
    const host::ExpectedBugCheck expected;
    try {
      if (misuse.irql > KeGetCurrentIrql()) KfRaiseIrql(misuse.irql);
      misuse.run();
      ADD_FAILURE() << misuse.name << ": nothing stopped it";
    } catch (const host::BugCheckError& error) {
      EXPECT_EQ(error.Code(), static_cast<ULONG>(misuse.code))
          << misuse.name << ": " << error.what();
      EXPECT_THAT(error.what(), testing::HasSubstr(misuse.text)) << misuse.name;
    }
  }
}

inline void OnThreads(int count, const std::function<void(int)>& run) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i)
    threads.emplace_back(run, i);
  for (std::thread& thread : threads)
    thread.join();
}

inline void OnAnotherThread(const std::function<void()>& run) {
  std::thread(run).join();
}

inline NTSTATUS Wait(PVOID object, LONGLONG hundredNanoseconds) {
  LARGE_INTEGER timeout;
  timeout.QuadPart = hundredNanoseconds;
  return KeWaitForSingleObject(object, Executive, KernelMode, FALSE, &timeout);
}

inline NTSTATUS WaitForEver(PVOID object) {
  return KeWaitForSingleObject(object, Executive, KernelMode, FALSE, nullptr);
}

}  // namespace zr::test
