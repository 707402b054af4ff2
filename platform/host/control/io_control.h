// Driving the I/O manager from outside: loading drivers, building device stacks, sending requests.
// For tests and tools, and for the simulated bus.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/io.h"

namespace zr::host {

/// A driver that is loaded: its object lives until unload. PASSIVE_LEVEL.
class LoadedDriver {
 public:
  /// Runs the driver's entry. Throws std::runtime_error if that fails.
  explicit LoadedDriver(PDRIVER_INITIALIZE entry);
  /// Unloads, unless that has been done.
  ~LoadedDriver();
  LoadedDriver(const LoadedDriver&) = delete;
  LoadedDriver& operator=(const LoadedDriver&) = delete;

  /// Runs the driver's unload routine, if it has one; a device object that is left is a bug check.
  void Unload();

  PDRIVER_OBJECT Object() const;
  /// Offers a device to the driver's AddDevice. If it succeeds with a device that still has
  /// DO_DEVICE_INITIALIZING set, that is a bug check.
  NTSTATUS AddDevice(PDEVICE_OBJECT physicalDevice);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Makes a device a physical device object: it gets hardware IDs and its two registry keys, at
/// \Registry\Machine\System\CurrentControlSet\Enum\NAME\Device Parameters (hardware) and
/// \Registry\Machine\System\CurrentControlSet\Control\Class\NAME (software).
struct DeviceProperties {
  std::u16string name;
  std::vector<std::u16string> hardwareIds;
  std::u16string description;
};
void SetDeviceProperties(PDEVICE_OBJECT physicalDevice, DeviceProperties properties);
std::u16string HardwareKeyPath(PDEVICE_OBJECT physicalDevice);
std::u16string SoftwareKeyPath(PDEVICE_OBJECT physicalDevice);

/// Pretends that the property grew by this many bytes at each of the next `times` queries.
void GrowHardwareIds(PDEVICE_OBJECT physicalDevice, ULONG bytes, ULONG times);

/// Fails the next calls of IoCreateDevice, of IoAttachDeviceToDeviceStack, or of IoAllocateIrp and
/// IoBuildSynchronousFsdRequest.
void FailDeviceCreations(ULONG times);
void FailDeviceAttachments(ULONG times);
void FailIrpAllocations(ULONG times);

/// Sends a PnP request with this minor function to the top of the stack and waits for its end, with
/// IoStatus.Status preset to STATUS_NOT_SUPPORTED.
NTSTATUS SendPnpRequest(PDEVICE_OBJECT device, UCHAR minorFunction);
/// The same for power and for any other major function.
NTSTATUS SendPowerRequest(PDEVICE_OBJECT device, UCHAR minorFunction);
NTSTATUS SendRequest(PDEVICE_OBJECT device, UCHAR majorFunction, UCHAR minorFunction = 0);

/// Device objects and IRPs that exist now.
std::size_t DeviceCount();
std::size_t IrpCount();

}  // namespace zr::host
