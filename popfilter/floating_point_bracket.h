// The bracket around every call into the core: kernel code owns the floating-point unit only
// between a save and its restore.
#pragma once

#include "platform/kernel.h"
#include "primitives/processor/floating_point_control.h"

/// Double precision, rounding to nearest, all exceptions masked: what the filter's bits rest on.
/// The published contract of the save does not say which control it leaves in force.
inline constexpr uint32_t kFilterControlWord = 0x27f;

/// Runs call() with the floating-point state saved, in a save area on this stack, and gives its
/// result; where the state cannot be saved, nothing runs and the result is `refused`. At up to
/// DISPATCH_LEVEL.
template <typename Call>
ULONG WithFloatingPoint(ULONG refused, Call call) {
  KFLOATING_SAVE save;
  if (!NT_SUCCESS(KeSaveFloatingPointState(&save))) return refused;
  FpRestoreControlWord(kFilterControlWord);
  const auto result = static_cast<ULONG>(call());
  KeRestoreFloatingPointState(&save);
  return result;
}
