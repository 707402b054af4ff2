// Checks that open the host kernel's routines. Inside platform/host only.
#pragma once

#include "platform/host/control/debug_control.h"
#include "platform/host/execution.h"
#include "platform/host/thread_state.h"

namespace zr::host {

/// The bug check of RequireIrqlAtMost, out of line: its text must not cost the fast way a frame.
[[noreturn]] void StopAtIrql(KIRQL highest, const char* routine);

/// A bug check that names the routine if this thread runs above the given IRQL.
inline void RequireIrqlAtMost(KIRQL highest, const char* routine) {
  if (threadState.irql > highest) [[unlikely]] {
    StopAtIrql(highest, routine);
  }
}

}  // namespace zr::host
