// What becomes of debug output and bug checks on the host: for tests and tools, never for drivers.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/host/types.h"

namespace zr::host {

/// Where DbgPrint's text and break points go, from any thread, one call at a time. The default
/// writes to standard error. Null restores the default. The sink must not print itself.
void SetDebugSink(std::function<void(std::string_view text)> sink);

/// Break points since the start of the program.
std::size_t BreakPointCount();

/// The host's own bug check codes; those with a published meaning have the published number.
enum class BugCheck : ULONG {
  kIrqlNotGreaterOrEqual = 0x09,
  kIrqlNotLessOrEqual = 0x0A,
  kSpinLockAlreadyOwned = 0x0F,
  kSpinLockNotOwned = 0x10,
  kThreadNotMutexOwner = 0x11,
  kNoMoreIrpStackLocations = 0x35,
  kMultipleIrpCompleteRequests = 0x44,
  kBadPoolHeader = 0x19,
  kBadPoolCaller = 0xC2,
  kDriverVerifierDetectedViolation = 0xC4,
  kInvalidFloatingPointState = 0xE7,
};

/// Stops the system with a code of the host and a sentence that says what was done wrong.
[[noreturn]] void StopSystem(BugCheck code, const std::string& what);

/// Thrown by a bug check on a thread that expects one.
class BugCheckError : public std::runtime_error {
 public:
  BugCheckError(ULONG code, const std::string& what) : std::runtime_error(what), code_(code) {}
  ULONG Code() const { return code_; }

 private:
  ULONG code_;
};

/// While it lives, a bug check on this thread throws a BugCheckError instead of ending the process.
/// After one, the IRQL of the thread and its floating-point depth go back to what they were when
/// this object was made; the rest of the host kernel's world may be inconsistent: check, then make
/// a new one.
class ExpectedBugCheck {
 public:
  ExpectedBugCheck();
  ~ExpectedBugCheck();
  ExpectedBugCheck(const ExpectedBugCheck&) = delete;
  ExpectedBugCheck& operator=(const ExpectedBugCheck&) = delete;

 private:
  KIRQL irql_;
  ULONG floatingPointDepth_;
  ULONG thrownBefore_;
};

}  // namespace zr::host
