// Switches of the host's execution support: for tests and tools.
#pragma once

#include "platform/host/execution.h"

namespace zr::host {

/// Saves of the floating-point state that are open on this thread.
ULONG FloatingPointDepth();

/// While it lives, KeSaveFloatingPointState fails on every thread and saves nothing.
class FailFloatingPointSave {
 public:
  FailFloatingPointSave();
  ~FailFloatingPointSave();
  FailFloatingPointSave(const FailFloatingPointSave&) = delete;
  FailFloatingPointSave& operator=(const FailFloatingPointSave&) = delete;
};

/// While it lives, this thread runs at the given IRQL; it must lie at or above the current one.
class AtIrql {
 public:
  explicit AtIrql(KIRQL irql) : old_(KfRaiseIrql(irql)) {}
  ~AtIrql() { KfLowerIrql(old_); }
  AtIrql(const AtIrql&) = delete;
  AtIrql& operator=(const AtIrql&) = delete;

 private:
  KIRQL old_;
};

/// The stack of this thread, from its lowest address up to, not including, its highest.
struct StackBounds {
  ULONG_PTR low;
  ULONG_PTR high;
};
StackBounds CurrentStackBounds();

}  // namespace zr::host
