// What the I/O manager keeps about an IRP beside the record that drivers see: whether it still
// exists, and what each dispatch routine said about its stack location. Inside platform/host only.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <string>

#include "platform/host/control/debug_control.h"
#include "platform/host/io.h"

namespace zr::host {

enum class IrpMaker : uint8_t { kDriver, kIoManager };
enum class IrpPhase : uint8_t { kInUse, kFreed };

/// What became of a location since a driver was called with it: flags below the number of the call.
/// The dispatch routine may return before or after the request is complete, on other threads; who
/// comes second finds the word of the first, and a call whose number is no longer there has handed
/// its location on and is not judged.
inline constexpr uint32_t kReturnedPending = 0x01;
inline constexpr uint32_t kLeftMarked = 0x02;
inline constexpr uint32_t kLeftUnmarked = 0x04;
inline constexpr uint32_t kMarkedBefore = 0x08;  ///< By a driver above that skipped its location.
inline constexpr uint32_t kCallFlags = 0xFF;
inline constexpr uint32_t kNextCall = 0x100;

struct LocationState {
  std::atomic<uint32_t> call;
  bool hasStartedNextPowerIrp;  ///< Belongs to the owner of the IRP, as the location does.
};

struct IrpState {
  IRP irp;
  std::atomic<IrpPhase> phase;
  IrpMaker maker;
  std::atomic<uint32_t> callsInProgress;  ///< Calls that will look at their LocationState.
  uint32_t lastCall;
  std::unique_ptr<IO_STACK_LOCATION[]> locations;
  std::unique_ptr<LocationState[]> locationStates;
  std::list<std::unique_ptr<IrpState>>::iterator position;  ///< Among the IRPs in use.
};

/// Makes an IRP; never null.
PIRP MakeIrp(CCHAR stackSize, IrpMaker maker);
/// Puts it into the quarantine.
void FreeIrp(IrpState& state);

[[noreturn]] void StopForIrp(BugCheck code, const char* routine, PIRP irp, const std::string& what);
[[noreturn]] void StopForDeadIrp(const char* routine, PIRP irp);

/// The state of an IRP that still exists; anything else is a bug check.
inline IrpState& RequireIrp(const char* routine, PIRP irp) {
  if (irp == nullptr) [[unlikely]]
    StopForDeadIrp(routine, irp);
  auto* const state = static_cast<IrpState*>(irp->HostState);
  if (state->phase.load(std::memory_order_acquire) != IrpPhase::kInUse) [[unlikely]] {
    StopForDeadIrp(routine, irp);
  }
  return *state;
}

inline bool HasCurrentLocation(const IRP& irp) {
  return irp.CurrentLocation <= irp.StackCount;
}
inline LocationState& CurrentState(IrpState& state) {
  return state.locationStates[state.irp.CurrentLocation - 1];
}

/// Moves to the next location and calls the driver; the part that IofCallDriver and PoCallDriver
/// share.
NTSTATUS CallDriver(const char* routine, PDEVICE_OBJECT device, PIRP irp);

/// Judges a dispatch routine that has returned, against the mark of its location.
void CheckDispatchReturn(IrpState& state, LocationState& location, uint32_t call, NTSTATUS status);

/// Whether the driver of the current location has let the next power IRP start, as it must before
/// the IRP leaves it.
void CheckNextPowerIrpStarted(IrpState& state);

}  // namespace zr::host
