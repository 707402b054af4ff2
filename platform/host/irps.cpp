// IRPs on their way down: making and freeing them, their stack locations, calling the next driver,
// cancelling. The way up is in irp_completion.cpp. Freed IRPs rest in a quarantine for a while, so
// that a driver that touches a request it no longer owns is told so.
#include <cstring>
#include <mutex>

#include "platform/host/control/io_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/internal_devices.h"
#include "platform/host/internal_irps.h"

namespace zr::host {
namespace {

constexpr std::size_t kQuarantinedIrps = 1024;
constexpr int kFreedByte = 0xDD;
constexpr SHORT kIrpType = 6;
constexpr CCHAR kMaximumStackSize = 126;  // CurrentLocation starts two above and is a CCHAR.

struct Irps {
  std::mutex lock;
  std::list<std::unique_ptr<IrpState>> inUse;
  std::list<std::unique_ptr<IrpState>> quarantine;
  ULONG allocationsToFail = 0;
};

// Never destroyed: threads of a test may outlive the static objects.
Irps& AllIrps() {
  static auto& irps = *new Irps;
  return irps;
}

bool AllocationFails() {
  const std::lock_guard guard(AllIrps().lock);
  if (AllIrps().allocationsToFail == 0) return false;
  --AllIrps().allocationsToFail;
  return true;
}

// Under the lock. An IRP stays while a call that passed it down has not returned.
void TrimQuarantine(std::list<std::unique_ptr<IrpState>>& quarantine) {
  for (auto irp = quarantine.begin(); irp != quarantine.end();) {
    if (quarantine.size() <= kQuarantinedIrps) return;
    const bool isWatched = (*irp)->callsInProgress.load(std::memory_order_acquire) != 0;
    irp = isWatched ? std::next(irp) : quarantine.erase(irp);
  }
}

// Keeps the state in place while the call is under way, whatever becomes of the IRP.
class CallInProgress {
 public:
  explicit CallInProgress(IrpState& state) : state_(state) {
    state_.callsInProgress.fetch_add(1, std::memory_order_relaxed);
  }
  ~CallInProgress() { state_.callsInProgress.fetch_sub(1, std::memory_order_release); }
  CallInProgress(const CallInProgress&) = delete;
  CallInProgress& operator=(const CallInProgress&) = delete;

 private:
  IrpState& state_;
};

IO_STACK_LOCATION& RequireCurrentLocation(const char* routine, PIRP irp) {
  RequireIrp(routine, irp);
  if (!HasCurrentLocation(*irp)) [[unlikely]] {
    StopForIrp(BugCheck::kNoMoreIrpStackLocations, routine, irp,
               "no stack location is current, the IRP is with its maker");
  }
  return *irp->Tail.Overlay.CurrentStackLocation;
}

IO_STACK_LOCATION& RequireNextLocation(const char* routine, PIRP irp) {
  RequireIrp(routine, irp);
  if (irp->CurrentLocation <= 1) [[unlikely]] {
    StopForIrp(BugCheck::kNoMoreIrpStackLocations, routine, irp,
               "no stack location is left for a lower driver");
  }
  return *(irp->Tail.Overlay.CurrentStackLocation - 1);
}

// A location that is entered again before the request has left it was skipped by the driver above.
uint32_t EnterLocation(IrpState& state, const IO_STACK_LOCATION& location) {
  LocationState& locationState = CurrentState(state);
  const uint32_t previous = locationState.call.load(std::memory_order_relaxed);
  const bool wasSkipped = previous != 0 && (previous & (kLeftMarked | kLeftUnmarked)) == 0;
  if (wasSkipped && location.MajorFunction == IRP_MJ_POWER) CheckNextPowerIrpStarted(state);
  locationState.hasStartedNextPowerIrp = false;

  state.lastCall += kNextCall;
  const bool isMarked = (location.Control & SL_PENDING_RETURNED) != 0;
  locationState.call.store(state.lastCall | (isMarked ? kMarkedBefore : 0),
                           std::memory_order_relaxed);
  return state.lastCall;
}

KSPIN_LOCK cancelLock;

}  // namespace

void StopForIrp(BugCheck code, const char* routine, PIRP irp, const std::string& what) {
  StopSystem(code, std::string(routine) + ", IRP " + Hexadecimal(irp) + ": " + what);
}

void StopForDeadIrp(const char* routine, PIRP irp) {
  const bool isCompletion = std::strcmp(routine, "IofCompleteRequest") == 0;
  StopForIrp(isCompletion ? BugCheck::kMultipleIrpCompleteRequests
                          : BugCheck::kDriverVerifierDetectedViolation,
             routine, irp,
             irp == nullptr ? "there is no IRP" : "the IRP is complete and has been freed");
}

PIRP MakeIrp(CCHAR stackSize, IrpMaker maker) {
  auto owner = std::make_unique<IrpState>();
  IrpState& state = *owner;
  state.maker = maker;
  state.locations = std::make_unique<IO_STACK_LOCATION[]>(static_cast<std::size_t>(stackSize));
  state.locationStates = std::make_unique<LocationState[]>(static_cast<std::size_t>(stackSize));
  IRP& irp = state.irp;
  irp.Type = kIrpType;
  irp.Size = static_cast<USHORT>(sizeof(IRP) + stackSize * sizeof(IO_STACK_LOCATION));
  irp.StackCount = stackSize;
  irp.CurrentLocation = static_cast<CCHAR>(stackSize + 1);
  irp.Tail.Overlay.CurrentStackLocation = state.locations.get() + stackSize;
  irp.HostState = &state;

  const std::lock_guard guard(AllIrps().lock);
  state.position = AllIrps().inUse.insert(AllIrps().inUse.end(), std::move(owner));
  return &irp;
}

void FreeIrp(IrpState& state) {
  Irps& irps = AllIrps();
  const std::lock_guard guard(irps.lock);
  state.phase.store(IrpPhase::kFreed, std::memory_order_release);
  std::memset(state.locations.get(), kFreedByte, state.irp.Size - sizeof(IRP));
  std::memset(&state.irp, kFreedByte, offsetof(IRP, HostState));
  irps.quarantine.splice(irps.quarantine.end(), irps.inUse, state.position);
  TrimQuarantine(irps.quarantine);
}

void CheckNextPowerIrpStarted(IrpState& state) {
  if (CurrentState(state).hasStartedNextPowerIrp) return;
  StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "PoStartNextPowerIrp", &state.irp,
             "the driver of device " +
                 Hexadecimal(state.irp.Tail.Overlay.CurrentStackLocation->DeviceObject) +
                 " let the power IRP go without calling it");
}

NTSTATUS CallDriver(const char* routine, PDEVICE_OBJECT device, PIRP irp) {
  const KIRQL irql = KeGetCurrentIrql();
  if (irql > DISPATCH_LEVEL) RequireIrqlAtMost(DISPATCH_LEVEL, routine);
  IO_STACK_LOCATION& location = RequireNextLocation(routine, irp);
  RequireDevice(routine, device);
  const UCHAR major = location.MajorFunction;
  if (major > IRP_MJ_MAXIMUM_FUNCTION) [[unlikely]] {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, routine, irp,
               "there is no major function " + std::to_string(major));
  }
  if (major == IRP_MJ_PNP && irql > PASSIVE_LEVEL) [[unlikely]] {
    RequireIrqlAtMost(PASSIVE_LEVEL, "IofCallDriver with IRP_MJ_PNP");
  }
  if (std::atomic_ref(irp->CancelRoutine).load() != nullptr) [[unlikely]] {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, routine, irp,
               "it is passed down with a cancel routine set");
  }
  --irp->CurrentLocation;
  irp->Tail.Overlay.CurrentStackLocation = &location;
  IrpState& state = *static_cast<IrpState*>(irp->HostState);
  const CallInProgress inProgress(state);
  LocationState& locationState = CurrentState(state);
  const uint32_t call = EnterLocation(state, location);
  location.DeviceObject = device;

  // The IRP is the driver's from here on; only its LocationState may be looked at afterwards.
  const NTSTATUS status = device->DriverObject->MajorFunction[major](device, irp);
  if (KeGetCurrentIrql() != irql) [[unlikely]] {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, routine, irp,
               "the dispatch routine was called at IRQL " + std::to_string(irql) +
                   " and returned at " + std::to_string(KeGetCurrentIrql()));
  }
  CheckDispatchReturn(state, locationState, call, status);
  return status;
}

void FailIrpAllocations(ULONG times) {
  const std::lock_guard guard(AllIrps().lock);
  AllIrps().allocationsToFail = times;
}

std::size_t IrpCount() {
  const std::lock_guard guard(AllIrps().lock);
  return AllIrps().inUse.size();
}

}  // namespace zr::host

using namespace zr::host;

extern "C" PIRP IoAllocateIrp(CCHAR stackSize, BOOLEAN /*chargeQuota*/) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "IoAllocateIrp");
  if (stackSize < 1 || stackSize > kMaximumStackSize) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IoAllocateIrp", nullptr,
               "a stack of " + std::to_string(stackSize) + " locations was asked for");
  }
  return AllocationFails() ? nullptr : MakeIrp(stackSize, IrpMaker::kDriver);
}

extern "C" VOID IoFreeIrp(PIRP irp) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "IoFreeIrp");
  IrpState& state = RequireIrp("IoFreeIrp", irp);
  if (state.maker != IrpMaker::kDriver) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IoFreeIrp", irp,
               "it belongs to the I/O manager, which frees it once it is complete");
  }
  if (HasCurrentLocation(*irp)) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IoFreeIrp", irp,
               "a driver still has it");
  }
  FreeIrp(state);
}

// For the kinds of request that the published routine knows. Those without data need no buffer, and
// nothing on this host reads or writes through one.
extern "C" PIRP IoBuildSynchronousFsdRequest(ULONG majorFunction, PDEVICE_OBJECT device,
                                             PVOID buffer, ULONG /*length*/,
                                             PLARGE_INTEGER /*startingOffset*/, PKEVENT event,
                                             PIO_STATUS_BLOCK ioStatusBlock) {
  constexpr ULONG kFlushBuffers = 0x09;
  constexpr ULONG kShutdown = 0x10;
  RequireIrqlAtMost(PASSIVE_LEVEL, "IoBuildSynchronousFsdRequest");
  RequireDevice("IoBuildSynchronousFsdRequest", device);
  const bool isKnown = majorFunction == IRP_MJ_PNP || majorFunction == IRP_MJ_READ ||
                       majorFunction == IRP_MJ_WRITE || majorFunction == kFlushBuffers ||
                       majorFunction == kShutdown;
  if (!isKnown || event == nullptr || ioStatusBlock == nullptr) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IoBuildSynchronousFsdRequest", nullptr,
               isKnown ? "it needs an event and a status block"
                       : "it is not made for major function " + std::to_string(majorFunction));
  }
  if (AllocationFails()) return nullptr;
  PIRP irp = MakeIrp(device->StackSize, IrpMaker::kIoManager);
  irp->UserEvent = event;
  irp->UserIosb = ioStatusBlock;
  irp->UserBuffer = buffer;
  IoGetNextIrpStackLocation(irp)->MajorFunction = static_cast<UCHAR>(majorFunction);
  return irp;
}

extern "C" NTSTATUS FASTCALL IofCallDriver(PDEVICE_OBJECT device, PIRP irp) {
  if (RequireNextLocation("IofCallDriver", irp).MajorFunction == IRP_MJ_POWER) [[unlikely]] {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IofCallDriver", irp,
               "power requests are passed down with PoCallDriver");
  }
  return CallDriver("IofCallDriver", device, irp);
}

// The devices here get one power request at a time, so none has to be held back.
extern "C" NTSTATUS PoCallDriver(PDEVICE_OBJECT device, PIRP irp) {
  if (RequireNextLocation("PoCallDriver", irp).MajorFunction != IRP_MJ_POWER) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "PoCallDriver", irp,
               "the IRP is no power request");
  }
  return CallDriver("PoCallDriver", device, irp);
}

extern "C" VOID PoStartNextPowerIrp(PIRP irp) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "PoStartNextPowerIrp");
  if (RequireCurrentLocation("PoStartNextPowerIrp", irp).MajorFunction != IRP_MJ_POWER) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "PoStartNextPowerIrp", irp,
               "the IRP is no power request");
  }
  CurrentState(*static_cast<IrpState*>(irp->HostState)).hasStartedNextPowerIrp = true;
}

extern "C" VOID IoAcquireCancelSpinLock(PKIRQL irql) {
  KeAcquireSpinLock(&cancelLock, irql);
}
extern "C" VOID IoReleaseCancelSpinLock(KIRQL irql) {
  KeReleaseSpinLock(&cancelLock, irql);
}

extern "C" PDRIVER_CANCEL IoSetCancelRoutine(PIRP irp, PDRIVER_CANCEL routine) {
  RequireIrp("IoSetCancelRoutine", irp);
  return std::atomic_ref(irp->CancelRoutine).exchange(routine);
}

extern "C" BOOLEAN IoCancelIrp(PIRP irp) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "IoCancelIrp");
  RequireIrp("IoCancelIrp", irp);
  KIRQL irql = PASSIVE_LEVEL;
  IoAcquireCancelSpinLock(&irql);
  std::atomic_ref(irp->Cancel).store(TRUE);
  PDRIVER_CANCEL routine = IoSetCancelRoutine(irp, nullptr);
  if (routine == nullptr) {
    IoReleaseCancelSpinLock(irql);
    return FALSE;
  }
  irp->CancelIrql = irql;
  PDEVICE_OBJECT device =
      HasCurrentLocation(*irp) ? irp->Tail.Overlay.CurrentStackLocation->DeviceObject : nullptr;
  routine(device, irp);
  if (KeGetCurrentIrql() != irql) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IoCancelIrp", irp,
               "the cancel routine did not release the cancel spin lock to CancelIrql");
  }
  return TRUE;
}

PIO_STACK_LOCATION IoGetCurrentIrpStackLocation(PIRP irp) {
  return &RequireCurrentLocation("IoGetCurrentIrpStackLocation", irp);
}

PIO_STACK_LOCATION IoGetNextIrpStackLocation(PIRP irp) {
  return &RequireNextLocation("IoGetNextIrpStackLocation", irp);
}

VOID IoSkipCurrentIrpStackLocation(PIRP irp) {
  RequireCurrentLocation("IoSkipCurrentIrpStackLocation", irp);
  ++irp->CurrentLocation;
  ++irp->Tail.Overlay.CurrentStackLocation;
}

VOID IoCopyCurrentIrpStackLocationToNext(PIRP irp) {
  const IO_STACK_LOCATION& current =
      RequireCurrentLocation("IoCopyCurrentIrpStackLocationToNext", irp);
  IO_STACK_LOCATION& next = RequireNextLocation("IoCopyCurrentIrpStackLocationToNext", irp);
  std::memcpy(&next, &current, offsetof(IO_STACK_LOCATION, CompletionRoutine));
  next.Control = 0;
}

VOID IoSetCompletionRoutine(PIRP irp, PIO_COMPLETION_ROUTINE routine, PVOID context,
                            BOOLEAN onSuccess, BOOLEAN onError, BOOLEAN onCancel) {
  IO_STACK_LOCATION& next = RequireNextLocation("IoSetCompletionRoutine", irp);
  UCHAR control = 0;
  if (onSuccess != FALSE) control |= SL_INVOKE_ON_SUCCESS;
  if (onError != FALSE) control |= SL_INVOKE_ON_ERROR;
  if (onCancel != FALSE) control |= SL_INVOKE_ON_CANCEL;
  if (control != 0 && routine == nullptr) {
    StopForIrp(BugCheck::kDriverVerifierDetectedViolation, "IoSetCompletionRoutine", irp,
               "it is to be invoked, but there is no routine");
  }
  next.CompletionRoutine = routine;
  next.Context = context;
  next.Control = control;
}

VOID IoMarkIrpPending(PIRP irp) {
  RequireCurrentLocation("IoMarkIrpPending", irp).Control |= SL_PENDING_RETURNED;
}
