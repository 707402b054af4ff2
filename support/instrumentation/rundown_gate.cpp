#include "support/instrumentation/rundown_gate.h"

void RundownGate::Init() {
  word_.store(kClosed);
  KeInitializeEvent(&isEmpty_, NotificationEvent, FALSE);
}

bool RundownGate::Enter() {
  if ((word_.fetch_add(kCaller) & kClosed) == 0) return true;
  Leave();
  return false;
}

void RundownGate::Leave() {
  if (word_.fetch_sub(kCaller) == (kClosed | kCaller))
    KeSetEvent(&isEmpty_, IO_NO_INCREMENT, FALSE);
}

void RundownGate::Open() {
  word_.fetch_and(~kClosed);
}

// Somebody who was refused long ago may set the event late, so the word alone decides.
void RundownGate::Close() {
  if ((word_.load() & kClosed) != 0) return;
  KeClearEvent(&isEmpty_);
  word_.fetch_or(kClosed);
  while (word_.load() != kClosed) {
    KeWaitForSingleObject(&isEmpty_, Executive, KernelMode, FALSE, nullptr);
    KeClearEvent(&isEmpty_);
  }
}
