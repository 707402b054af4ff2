// What the I/O manager keeps about a device object beside the record that drivers see. Inside
// platform/host only.
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/control/debug_control.h"
#include "platform/host/control/io_control.h"

namespace zr::host {

enum class DevicePhase : uint8_t {
  kPresent,
  kDeletePending,  ///< Deleted, but referenced or with a device on top of it.
  kGone,           ///< The memory is kept for a while so that a late touch is found.
};

struct DeviceState {
  DEVICE_OBJECT object;
  std::atomic<DevicePhase> phase;

  // Under DeviceLock().
  ULONG references;      ///< By ObjectReference; creation and attachments do not count.
  PDEVICE_OBJECT below;  ///< What the device is attached to.
  std::optional<DeviceProperties> properties;
  ULONG growthBytes;
  ULONG growthsLeft;
  ULONG grownBytes;
  std::vector<UCHAR> extension;  ///< With guard bytes behind it.
};

/// Guards the links between devices, their life and their properties. No driver code runs under it.
std::mutex& DeviceLock();

/// Whether the driver has devices, those whose deletion waits for a reference included.
bool HasDevices(PDRIVER_OBJECT driver);

/// "0x..." for messages.
std::string Hexadecimal(ULONG_PTR value);
inline std::string Hexadecimal(const void* address) {
  return Hexadecimal(reinterpret_cast<ULONG_PTR>(address));
}

[[noreturn]] void StopForDevice(const char* routine, PDEVICE_OBJECT device, const char* what);

/// The state of a device whose memory is not gone; anything else is a bug check.
inline DeviceState& RequireDevice(const char* routine, PDEVICE_OBJECT device) {
  if (device == nullptr) [[unlikely]]
    StopForDevice(routine, device, "there is no device");
  auto* const state = static_cast<DeviceState*>(device->HostState);
  if (state->phase.load(std::memory_order_acquire) == DevicePhase::kGone) [[unlikely]] {
    StopForDevice(routine, device, "the device has been deleted");
  }
  return *state;
}

}  // namespace zr::host
