// The floating-point bracket. The whole x87 and SSE state goes into the save area and comes back
// from it, and in between the thread computes as the kernel does: on the x87 in double precision,
// rounding to nearest, nothing trapped. Code that forgets the bracket then shows in its results.
#include <atomic>
#include <cstring>

#include "platform/host/control/execution_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/thread_state.h"

using zr::host::BugCheck;
using zr::host::CurrentThread;
using zr::host::RequireIrqlAtMost;
using zr::host::StopSystem;
using zr::host::threadState;

namespace {

constexpr ULONG kMagic = 0x56535046;
constexpr uint16_t kControlWord = 0x27f;
constexpr uint32_t kMxcsr = 0x1f80;

// The head of what fxsave stores. Both loads go through the same image, so that the build without
// SSE needs no instruction of it.
struct ImageHead {
  uint16_t controlWord;
  uint16_t statusWord;
  uint16_t tagWord;  // abridged: 0 is eight empty registers
  uint16_t opcode;
  uint32_t pointers[4];
  uint32_t mxcsr;
};
static_assert(offsetof(ImageHead, mxcsr) == 24);

std::atomic<int> failingSaves{0};

void Store(KFLOATING_SAVE& save) {
  asm volatile("fxsave %0" : "=m"(save.State));
}

// The compiler keeps nothing in floating-point registers here: nothing in this file computes, and
// to the caller they are lost across a call anyway.
void Load(const KFLOATING_SAVE& save) {
  asm volatile("fxrstor %0" : : "m"(save.State));
}

void LoadKernelState(const KFLOATING_SAVE& save) {
  KFLOATING_SAVE kernel = save;
  ImageHead head = {};
  std::memcpy(&head, kernel.State, sizeof(head));
  head.controlWord = kControlWord;
  head.statusWord = 0;
  head.tagWord = 0;
  head.mxcsr = kMxcsr;
  std::memcpy(kernel.State, &head, sizeof(head));
  Load(kernel);
}

[[noreturn]] void RefuseRestore(const char* reason) {
  StopSystem(BugCheck::kInvalidFloatingPointState,
             std::string("KeRestoreFloatingPointState: ") + reason);
}

}  // namespace

extern "C" NTSTATUS KeSaveFloatingPointState(PKFLOATING_SAVE save) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "KeSaveFloatingPointState");
  // A restore that follows a failed save must not find what an earlier save left in this place.
  save->Magic = 0;
  if (failingSaves.load(std::memory_order_relaxed) > 0) return STATUS_INSUFFICIENT_RESOURCES;
  Store(*save);
  LoadKernelState(*save);
  save->Magic = kMagic;
  save->Depth = ++threadState.floatingPointDepth;
  save->Thread = CurrentThread();
  save->Irql = threadState.irql;
  return STATUS_SUCCESS;
}

extern "C" NTSTATUS KeRestoreFloatingPointState(PKFLOATING_SAVE save) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "KeRestoreFloatingPointState");
  if (save->Magic != kMagic) RefuseRestore("nothing is saved here, or it was restored already");
  if (save->Thread != CurrentThread()) RefuseRestore("another thread saved this state");
  if (save->Irql != threadState.irql) RefuseRestore("it was saved at another IRQL");
  if (save->Depth != threadState.floatingPointDepth) {
    RefuseRestore("brackets nest: the state that was saved last is restored first");
  }
  --threadState.floatingPointDepth;
  save->Magic = 0;
  Load(*save);
  return STATUS_SUCCESS;
}

namespace zr::host {

ULONG FloatingPointDepth() {
  return threadState.floatingPointDepth;
}

FailFloatingPointSave::FailFloatingPointSave() {
  ++failingSaves;
}

FailFloatingPointSave::~FailFloatingPointSave() {
  --failingSaves;
}

}  // namespace zr::host
