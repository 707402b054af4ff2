// Lets callers through while it is open, and closes only behind the last of them. Entering costs
// one interlocked operation and takes no lock, at any IRQL up to DISPATCH_LEVEL.
#pragma once

#include <atomic>

#include "platform/kernel.h"

class RundownGate {
 public:
  constexpr RundownGate() = default;
  RundownGate(const RundownGate&) = delete;
  RundownGate& operator=(const RundownGate&) = delete;

  /// Closed, and nobody in. Before all else.
  void Init();

  /// Whether the caller is in; if so, it leaves again.
  bool Enter();
  void Leave();

  /// By one thread at a time, PASSIVE_LEVEL. What was written before Open is seen by all who enter.
  void Open();
  /// Waits until all who entered have left.
  void Close();

 private:
  static constexpr ULONG kClosed = 1;
  static constexpr ULONG kCaller = 2;

  std::atomic<ULONG> word_ = kClosed;  // kClosed, and kCaller for each who is in or was refused.
  KEVENT isEmpty_ = {};                // Set by the last who leaves a closed gate.
};
