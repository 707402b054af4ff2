// Debug output and the end of the system. A bug check writes to standard error by itself and takes
// no lock, so that it gets out whatever the thread was in the middle of.
#include "platform/host/debug.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "platform/host/control/debug_control.h"
#include "platform/host/thread_state.h"
#include "platform/host/wide_text.h"

namespace {

std::mutex sinkMutex;
std::function<void(std::string_view)> sink;
std::atomic<std::size_t> breakPointCount{0};

void Emit(std::string_view text) {
  const std::lock_guard lock(sinkMutex);
  if (sink) {
    sink(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stderr);
  }
}

[[noreturn]] void Stop(ULONG code, const std::string& what) {
  if (zr::host::threadState.expectedBugChecks > 0) {
    ++zr::host::threadState.thrownBugChecks;
    throw zr::host::BugCheckError(code, what);
  }
  std::fprintf(stderr, "*** STOP: %s\n", what.c_str());
  std::abort();
}

}  // namespace

extern "C" ULONG DbgPrint(PCSTR format, ...) {
  // The kernel passes on no more than this in one call.
  std::array<char, 512> line = {};
  va_list arguments;
  va_start(arguments, format);
  _vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  Emit(line.data());
  return static_cast<ULONG>(STATUS_SUCCESS);
}

extern "C" VOID DbgBreakPoint() {
  ++breakPointCount;
  Emit("Break point\n");
}

extern "C" VOID KeBugCheckEx(ULONG code, ULONG_PTR parameter1, ULONG_PTR parameter2,
                             ULONG_PTR parameter3, ULONG_PTR parameter4) {
  constexpr int kDigits = 2 * sizeof(ULONG_PTR);
  const auto wide = [](ULONG_PTR value) { return static_cast<unsigned long long>(value); };
  std::array<char, 128> text = {};
  std::snprintf(text.data(), text.size(), "0x%08X (0x%0*llX, 0x%0*llX, 0x%0*llX, 0x%0*llX)", code,
                kDigits, wide(parameter1), kDigits, wide(parameter2), kDigits, wide(parameter3),
                kDigits, wide(parameter4));
  Stop(code, text.data());
}

namespace zr::host {

void SetDebugSink(std::function<void(std::string_view text)> newSink) {
  const std::lock_guard lock(sinkMutex);
  sink = std::move(newSink);
}

std::size_t BreakPointCount() {
  return breakPointCount;
}

void StopSystem(BugCheck code, const std::string& what) {
  std::array<char, 16> number = {};
  std::snprintf(number.data(), number.size(), "0x%08X: ", static_cast<ULONG>(code));
  Stop(static_cast<ULONG>(code), number.data() + what);
}

ExpectedBugCheck::ExpectedBugCheck()
    : irql_(threadState.irql),
      floatingPointDepth_(threadState.floatingPointDepth),
      thrownBefore_(threadState.thrownBugChecks) {
  ++threadState.expectedBugChecks;
}

ExpectedBugCheck::~ExpectedBugCheck() {
  --threadState.expectedBugChecks;
  if (threadState.thrownBugChecks == thrownBefore_) return;
  threadState.irql = irql_;
  threadState.floatingPointDepth = floatingPointDepth_;
}

}  // namespace zr::host
