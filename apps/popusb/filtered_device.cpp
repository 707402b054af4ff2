#include "apps/popusb/filtered_device.h"

#include "apps/popclean/failure.h"
#include "platform/host/control/registry_control.h"

namespace zr::popusb {

FilteredDevice::FilteredDevice(host::LoadedDriver& driver, PDEVICE_OBJECT physicalDevice,
                               bool hasService)
    : physicalDevice_(physicalDevice) {
  if (hasService) {
    service_.emplace(physicalDevice);
    host::SetRegistryDword(host::HardwareKeyPath(physicalDevice), u"ZRPerfMode", 1);
  }
  if (!NT_SUCCESS(driver.AddDevice(physicalDevice))) {
    throw popclean::Failure("there is not enough memory for the filter's device");
  }
  host::SendPnpRequest(physicalDevice, IRP_MN_START_DEVICE);
  top_ = IoGetAttachedDeviceReference(physicalDevice);
  hasDriver_ = top_->DriverObject == driver.Object();
}

FilteredDevice::~FilteredDevice() {
  ObDereferenceObject(top_);
  host::SendPnpRequest(physicalDevice_, IRP_MN_REMOVE_DEVICE);
}

}  // namespace zr::popusb
