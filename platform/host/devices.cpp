// Device objects: creation, the links of a stack, references, deletion. A deleted device lives on
// while somebody holds a reference or stands on top of it; then its memory rests in a quarantine
// for a while, so that a driver that still uses it is told so.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <unordered_set>

#include "platform/host/control/io_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/internal_devices.h"

namespace zr::host {
namespace {

constexpr std::size_t kQuarantinedDevices = 256;
constexpr std::size_t kGuardBytes = 32;
constexpr UCHAR kGuardByte = 0xB5;

struct Devices {
  std::mutex lock;
  std::unordered_set<DeviceState*> present;  // Or pending deletion.
  std::deque<std::unique_ptr<DeviceState>> quarantine;
  ULONG creationsToFail = 0;
  ULONG attachmentsToFail = 0;
};

// Never destroyed: threads of a test may outlive the static objects.
Devices& AllDevices() {
  static auto& devices = *new Devices;
  return devices;
}

bool TakeOne(ULONG& count) {
  if (count == 0) return false;
  --count;
  return true;
}

DeviceState& StateOf(PDEVICE_OBJECT device) {
  return *static_cast<DeviceState*>(device->HostState);
}

PDEVICE_OBJECT TopOfStack(PDEVICE_OBJECT device) {
  while (device->AttachedDevice != nullptr)
    device = device->AttachedDevice;
  return device;
}

void Unlink(PDEVICE_OBJECT device) {
  PDEVICE_OBJECT* link = &device->DriverObject->DeviceObject;
  while (*link != nullptr && *link != device)
    link = &(*link)->NextDevice;
  if (*link == nullptr) StopForDevice("IoDeleteDevice", device, "its driver does not list it");
  *link = device->NextDevice;
}

void CheckGuard(const DeviceState& state) {
  const auto guard = state.extension.end() - static_cast<std::ptrdiff_t>(kGuardBytes);
  const bool isWhole =
      std::all_of(guard, state.extension.end(), [](UCHAR byte) { return byte == kGuardByte; });
  if (isWhole) return;
  StopSystem(BugCheck::kBadPoolHeader,
             "the memory behind the extension of device " + Hexadecimal(&state.object) +
                 " has been written to, the extension has " +
                 std::to_string(state.extension.size() - kGuardBytes) + " bytes");
}

// Under the lock. The memory goes when neither a reference nor a device on top is left.
void FreeIfUnused(DeviceState& state) {
  if (state.phase.load(std::memory_order_relaxed) != DevicePhase::kDeletePending) return;
  if (state.references != 0 || state.object.AttachedDevice != nullptr) return;
  Devices& devices = AllDevices();
  devices.present.erase(&state);
  state.phase.store(DevicePhase::kGone, std::memory_order_release);
  devices.quarantine.emplace_back(&state);
  if (devices.quarantine.size() > kQuarantinedDevices) devices.quarantine.pop_front();
}

}  // namespace

std::mutex& DeviceLock() {
  return AllDevices().lock;
}

bool HasDevices(PDRIVER_OBJECT driver) {
  const std::lock_guard guard(DeviceLock());
  return std::any_of(
      AllDevices().present.begin(), AllDevices().present.end(),
      [driver](const DeviceState* state) { return state->object.DriverObject == driver; });
}

std::string Hexadecimal(ULONG_PTR value) {
  std::array<char, 24> text{};
  std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(value));
  return text.data();
}

void StopForDevice(const char* routine, PDEVICE_OBJECT device, const char* what) {
  StopSystem(BugCheck::kDriverVerifierDetectedViolation,
             std::string(routine) + ", device " + Hexadecimal(device) + ": " + what);
}

void FailDeviceCreations(ULONG times) {
  const std::lock_guard guard(DeviceLock());
  AllDevices().creationsToFail = times;
}

void FailDeviceAttachments(ULONG times) {
  const std::lock_guard guard(DeviceLock());
  AllDevices().attachmentsToFail = times;
}

std::size_t DeviceCount() {
  const std::lock_guard guard(DeviceLock());
  return AllDevices().present.size();
}

}  // namespace zr::host

using namespace zr::host;

// The name and exclusive access concern only those who open a device by its name, and nobody can
// here.
extern "C" NTSTATUS IoCreateDevice(PDRIVER_OBJECT driver, ULONG extensionSize,
                                   PUNICODE_STRING /*name*/, DEVICE_TYPE type,
                                   ULONG characteristics, BOOLEAN /*exclusive*/,
                                   PDEVICE_OBJECT* device) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "IoCreateDevice");
  const std::lock_guard guard(DeviceLock());
  if (TakeOne(AllDevices().creationsToFail)) return STATUS_INSUFFICIENT_RESOURCES;

  auto state = std::make_unique<DeviceState>();
  state->extension.resize(extensionSize + kGuardBytes);
  std::memset(state->extension.data() + extensionSize, kGuardByte, kGuardBytes);
  state->object.DriverObject = driver;
  state->object.NextDevice = driver->DeviceObject;
  state->object.Flags = DO_DEVICE_INITIALIZING;
  state->object.Characteristics = characteristics;
  state->object.DeviceExtension = extensionSize != 0 ? state->extension.data() : nullptr;
  state->object.DeviceType = type;
  state->object.StackSize = 1;
  state->object.HostState = state.get();

  AllDevices().present.insert(state.get());
  driver->DeviceObject = &state->object;
  *device = &state.release()->object;
  return STATUS_SUCCESS;
}

extern "C" VOID IoDeleteDevice(PDEVICE_OBJECT device) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "IoDeleteDevice");
  const std::lock_guard guard(DeviceLock());
  DeviceState& state = RequireDevice("IoDeleteDevice", device);
  if (state.phase.load(std::memory_order_relaxed) != DevicePhase::kPresent) {
    StopForDevice("IoDeleteDevice", device, "the device has been deleted before");
  }
  if (state.below != nullptr) {
    StopForDevice("IoDeleteDevice", device, "the device is still attached to the one below it");
  }
  CheckGuard(state);
  Unlink(device);
  state.phase.store(DevicePhase::kDeletePending, std::memory_order_release);
  FreeIfUnused(state);
}

extern "C" PDEVICE_OBJECT IoAttachDeviceToDeviceStack(PDEVICE_OBJECT source,
                                                      PDEVICE_OBJECT target) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "IoAttachDeviceToDeviceStack");
  const std::lock_guard guard(DeviceLock());
  DeviceState& upper = RequireDevice("IoAttachDeviceToDeviceStack", source);
  RequireDevice("IoAttachDeviceToDeviceStack", target);
  if (upper.phase.load(std::memory_order_relaxed) != DevicePhase::kPresent) {
    StopForDevice("IoAttachDeviceToDeviceStack", source, "the device to attach has been deleted");
  }
  if (upper.below != nullptr) {
    StopForDevice("IoAttachDeviceToDeviceStack", source, "the device is attached already");
  }
  PDEVICE_OBJECT lower = TopOfStack(target);
  if (lower == TopOfStack(source)) {
    StopForDevice("IoAttachDeviceToDeviceStack", source, "the device would stand on itself");
  }
  // Somebody may hold a reference to a device that is on its way out: that is an answer, not a
  // fault of the caller.
  const bool isLeaving =
      StateOf(lower).phase.load(std::memory_order_relaxed) != DevicePhase::kPresent;
  const bool isStarting = (lower->Flags & DO_DEVICE_INITIALIZING) != 0;
  if (isLeaving || isStarting || TakeOne(AllDevices().attachmentsToFail)) return nullptr;

  lower->AttachedDevice = source;
  upper.below = lower;
  source->StackSize = static_cast<CCHAR>(lower->StackSize + 1);
  return lower;
}

extern "C" VOID IoDetachDevice(PDEVICE_OBJECT target) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "IoDetachDevice");
  const std::lock_guard guard(DeviceLock());
  DeviceState& lower = RequireDevice("IoDetachDevice", target);
  if (target->AttachedDevice == nullptr) {
    StopForDevice("IoDetachDevice", target, "nothing is attached to the device");
  }
  StateOf(target->AttachedDevice).below = nullptr;
  target->AttachedDevice = nullptr;
  FreeIfUnused(lower);
}

extern "C" PDEVICE_OBJECT IoGetAttachedDeviceReference(PDEVICE_OBJECT device) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "IoGetAttachedDeviceReference");
  const std::lock_guard guard(DeviceLock());
  RequireDevice("IoGetAttachedDeviceReference", device);
  PDEVICE_OBJECT top = TopOfStack(device);
  ++StateOf(top).references;
  return top;
}

extern "C" LONG_PTR FASTCALL ObfDereferenceObject(PVOID object) {
  RequireIrqlAtMost(DISPATCH_LEVEL, "ObfDereferenceObject");
  const std::lock_guard guard(DeviceLock());
  auto* const device = static_cast<PDEVICE_OBJECT>(object);
  DeviceState& state = RequireDevice("ObfDereferenceObject", device);
  if (state.references == 0) {
    StopForDevice("ObfDereferenceObject", device, "nobody holds a reference to the device");
  }
  const LONG_PTR left = --state.references;
  FreeIfUnused(state);
  return left;
}
