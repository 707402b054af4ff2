// Checks that open the host kernel's routines. Inside platform/host only.
#pragma once

#include "platform/host/control/debug_control.h"
#include "platform/host/execution.h"
#include "platform/host/thread_state.h"

namespace zr::host {

/// A bug check that names the routine if this thread runs above the given IRQL.
inline void RequireIrqlAtMost(KIRQL highest, const char* routine) {
  const KIRQL current = threadState.irql;
  if (current <= highest) [[likely]] {
    return;
  }
  StopSystem(BugCheck::kIrqlNotLessOrEqual, std::string(routine) + " may run at IRQL " +
                                                std::to_string(highest) + " at most, called at " +
                                                std::to_string(current));
}

}  // namespace zr::host
