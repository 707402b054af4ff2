// IRPs on their way up: the walk over the completion routines, the rules for pending, and the end
// of a request that the I/O manager made.
#include "platform/host/internal_checks.h"
#include "platform/host/internal_devices.h"
#include "platform/host/internal_irps.h"

namespace zr::host {
namespace {

constexpr const char* kRoutine = "IofCompleteRequest";

std::string StatusText(NTSTATUS status) {
  return Hexadecimal(static_cast<ULONG>(status));
}

[[noreturn]] void StopForPendingRule(IrpState& state, const std::string& what) {
  StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IofCallDriver", &state.irp,
             "a dispatch routine " + what);
}

void CheckFinalStatus(PIRP irp) {
  if (irp->IoStatus.Status != STATUS_PENDING) return;
  StopForIrp(BugCheck::kDriverVerifierDetectedViolation, kRoutine, irp,
             "it is completed with STATUS_PENDING in IoStatus");
}

bool IsInvoked(const IO_STACK_LOCATION& location, const IRP& irp, bool isCancelled) {
  if (isCancelled && (location.Control & SL_INVOKE_ON_CANCEL) != 0) return true;
  const UCHAR wanted = NT_SUCCESS(irp.IoStatus.Status) ? SL_INVOKE_ON_SUCCESS : SL_INVOKE_ON_ERROR;
  return (location.Control & wanted) != 0;
}

// Whether the dispatch routine that had the location has returned already, and said otherwise.
void LeaveLocation(IrpState& state, const IO_STACK_LOCATION& location) {
  const bool isMarked = (location.Control & SL_PENDING_RETURNED) != 0;
  const uint32_t before = CurrentState(state).call.fetch_or(isMarked ? kLeftMarked : kLeftUnmarked,
                                                            std::memory_order_relaxed);
  if (!isMarked && (before & kReturnedPending) != 0) {
    StopForPendingRule(state,
                       "returned STATUS_PENDING and never marked its stack location, device " +
                           Hexadecimal(location.DeviceObject));
  }
  if (location.MajorFunction == IRP_MJ_POWER) CheckNextPowerIrpStarted(state);
}

// The published text promises the status block and the event "when the request is complete", no
// matter whether the drivers below completed it at once or later; so the event is always set. It
// comes last: the maker's stack may go as soon as it is set.
void FinishRequestOfIoManager(IrpState& state) {
  PKEVENT event = state.irp.UserEvent;
  *state.irp.UserIosb = state.irp.IoStatus;
  FreeIrp(state);
  KeSetEvent(event, IO_NO_INCREMENT, FALSE);
}

// An IRP that is with its maker has no location to be completed from. One that the I/O manager made
// and nobody has sent yet is given back by completing it.
void CheckHasOwner(IrpState& state) {
  if (HasCurrentLocation(state.irp)) return;
  if (state.maker == IrpMaker::kIoManager && state.lastCall == 0) return;
  StopForIrp(BugCheck::kMultipleIrpCompleteRequests, kRoutine, &state.irp,
             "no driver has it, it was never sent or is complete already");
}

}  // namespace

void CheckDispatchReturn(IrpState& state, LocationState& location, uint32_t call, NTSTATUS status) {
  uint32_t word = location.call.load(std::memory_order_relaxed);
  do {
    if ((word & ~kCallFlags) != call) return;
    const bool isMarked = (word & kLeftMarked) != 0;
    const bool isUnmarked = (word & kLeftUnmarked) != 0;
    if (status != STATUS_PENDING) {
      if (isUnmarked || (word & kMarkedBefore) != 0) return;
      StopForPendingRule(
          state, isMarked
                     ? "marked its stack location pending and returned " + StatusText(status)
                     : "returned " + StatusText(status) + " and the IRP had not been completed");
    }
    if (isMarked) return;
    if (isUnmarked) {
      StopForPendingRule(state, "returned STATUS_PENDING and never marked its stack location");
    }
  } while (!location.call.compare_exchange_weak(word, word | kReturnedPending,
                                                std::memory_order_relaxed));
}

}  // namespace zr::host

using namespace zr::host;

// A location is left before the routine that stands in it is called: the routine belongs to the
// driver above, and finds that driver's location current. After STATUS_MORE_PROCESSING_REQUIRED the
// IRP is somebody else's, perhaps on another thread already, and is not looked at again.
extern "C" VOID FASTCALL IofCompleteRequest(PIRP irp, CCHAR /*priorityBoost*/) {
  const KIRQL irql = KeGetCurrentIrql();
  if (irql > DISPATCH_LEVEL) RequireIrqlAtMost(DISPATCH_LEVEL, kRoutine);
  IrpState& state = RequireIrp(kRoutine, irp);
  CheckHasOwner(state);
  if (std::atomic_ref(irp->CancelRoutine).load() != nullptr) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, kRoutine, irp,
               "it is completed with a cancel routine set");
  }
  CheckFinalStatus(irp);

  while (HasCurrentLocation(*irp)) {
    IO_STACK_LOCATION& left = *irp->Tail.Overlay.CurrentStackLocation;
    LeaveLocation(state, left);
    const bool isInvoked = IsInvoked(left, *irp, std::atomic_ref(irp->Cancel).load() != FALSE);
    PIO_COMPLETION_ROUTINE routine = left.CompletionRoutine;
    PVOID context = left.Context;
    irp->PendingReturned = (left.Control & SL_PENDING_RETURNED) != 0 ? TRUE : FALSE;
    left.Control = 0;
    ++irp->CurrentLocation;
    ++irp->Tail.Overlay.CurrentStackLocation;

    const bool hasCurrent = HasCurrentLocation(*irp);
    IO_STACK_LOCATION* const current = irp->Tail.Overlay.CurrentStackLocation;
    if (!isInvoked) {
      if (irp->PendingReturned != FALSE && hasCurrent) current->Control |= SL_PENDING_RETURNED;
      continue;
    }
    const NTSTATUS status = routine(hasCurrent ? current->DeviceObject : nullptr, irp, context);
    if (KeGetCurrentIrql() != irql) {
      StopForIrp(BugCheck::kDriverVerifierDetectedViolation, kRoutine, irp,
                 "a completion routine was called at IRQL " + std::to_string(irql) +
                     " and returned at " + std::to_string(KeGetCurrentIrql()));
    }
    if (status == STATUS_MORE_PROCESSING_REQUIRED) return;
    RequireIrp("a completion routine that did not return STATUS_MORE_PROCESSING_REQUIRED", irp);
    CheckFinalStatus(irp);
  }
  if (state.maker == IrpMaker::kDriver) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, kRoutine, irp,
               "the driver that made it has no completion routine that takes it back with "
               "STATUS_MORE_PROCESSING_REQUIRED");
  }
  FinishRequestOfIoManager(state);
}
