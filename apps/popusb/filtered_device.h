// A physical device with the whole driver above it, as the platform stacks them, and below the
// driver an instrumentation service where one is wanted.
#pragma once

#include <optional>

#include "apps/instrumentation/service.h"
#include "platform/host/control/io_control.h"

namespace zr::popusb {

class FilteredDevice {
 public:
  /// Offers the device to the driver and starts it. With a service the driver connects to it, its
  /// flags included.
  FilteredDevice(host::LoadedDriver& driver, PDEVICE_OBJECT physicalDevice, bool hasService);
  /// Removes it; every request must be back.
  ~FilteredDevice();
  FilteredDevice(const FilteredDevice&) = delete;
  FilteredDevice& operator=(const FilteredDevice&) = delete;

  /// Where a class driver sends its requests. The driver is there unless the registry keeps it
  /// away.
  PDEVICE_OBJECT Top() const { return top_; }
  bool HasDriver() const { return hasDriver_; }
  /// Null without one.
  instrumentation::Service* Service() { return service_ ? &*service_ : nullptr; }

 private:
  PDEVICE_OBJECT const physicalDevice_;
  std::optional<instrumentation::Service> service_;
  PDEVICE_OBJECT top_ = nullptr;
  bool hasDriver_ = false;
};

}  // namespace zr::popusb
