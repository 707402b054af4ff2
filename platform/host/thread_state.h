// What the host kernel keeps for each thread. One plain record, so that the fast paths read and
// write it without a call. Inside platform/host only.
#pragma once

#include <atomic>

#include "platform/host/types.h"

namespace zr::host {

/// Of the numbers below this, each belongs to one living thread at most.
inline constexpr ULONG kThreadSlots = 32;

struct ThreadState {
  ULONG_PTR id = 0;  ///< 0 until CurrentThread has given one.
  KIRQL irql = 0;
  ULONG floatingPointDepth = 0;
  ULONG expectedBugChecks = 0;  ///< Living ExpectedBugChecks.
  ULONG thrownBugChecks = 0;
  ULONG slotPlusOne = 0;  ///< 0 until CurrentThreadSlot has given one.
};

inline constinit thread_local ThreadState threadState;

/// Never 0, and never used again after the thread has ended: what a dead thread still holds is
/// nobody's.
inline ULONG_PTR CurrentThread() {
  static constinit std::atomic<ULONG_PTR> lastId{0};
  if (threadState.id == 0) threadState.id = ++lastId;
  return threadState.id;
}

/// Takes the lowest free slot for this thread until it ends; kThreadSlots if all are taken. What
/// one thread leaves behind in a slot is seen by the next that gets it.
ULONG TakeThreadSlot();

inline ULONG CurrentThreadSlot() {
  return threadState.slotPlusOne != 0 ? threadState.slotPlusOne - 1 : TakeThreadSlot();
}

}  // namespace zr::host
