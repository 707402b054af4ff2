// A filter device on top of a device stack: it offers every request to the interception, and passes
// on what that refuses.
#pragma once

#include "platform/host/control/io_control.h"
#include "support/remove_lock.h"
#include "usbaudio/usb_irps.h"

namespace zr::popusb {

/// The services that the interception stands on. One in a process; it outlives every FilterDevice.
class FilterServices {
 public:
  FilterServices();
  ~FilterServices();
  FilterServices(const FilterServices&) = delete;
  FilterServices& operator=(const FilterServices&) = delete;
};

class FilterDevice {
 public:
  /// Attaches to the stack of physicalDevice. Throws a Failure if memory is short.
  explicit FilterDevice(PDEVICE_OBJECT physicalDevice);
  /// Every request must be back.
  ~FilterDevice();
  FilterDevice(const FilterDevice&) = delete;
  FilterDevice& operator=(const FilterDevice&) = delete;

  PDEVICE_OBJECT Top() const { return device_; }
  const AltSetFormat& FormatOf(ULONG alternateSetting) const {
    return interception_->FormatOf(alternateSetting);
  }

 private:
  static NTSTATUS NTAPI Enter(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);
  static NTSTATUS NTAPI Dispatch(PDEVICE_OBJECT device, PIRP irp);

  host::LoadedDriver driver_;
  PDEVICE_OBJECT device_ = nullptr;
  PDEVICE_OBJECT lower_ = nullptr;
  RemoveLock lock_;
  CUSBIRPs* interception_ = nullptr;
};

}  // namespace zr::popusb
