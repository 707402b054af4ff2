#include "apps/popusb/filter_device.h"

#include "apps/popclean/failure.h"
#include "support/perf_hooks.h"
#include "support/tracked_allocator.h"
#include "support/tracked_new.h"

namespace zr::popusb {

FilterServices::FilterServices() {
  PerfHooksInit();
  PoolTrackInit();
}

FilterServices::~FilterServices() {
  PoolTrackShutdown();
  PerfHooksShutdown();
}

NTSTATUS NTAPI FilterDevice::Enter(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &Dispatch;
  return STATUS_SUCCESS;
}

NTSTATUS NTAPI FilterDevice::Dispatch(PDEVICE_OBJECT device, PIRP irp) {
  FilterDevice& self = **static_cast<FilterDevice**>(device->DeviceExtension);
  if (RemoveLockAcquire(irp, &self.lock_) != STATUS_SUCCESS) {
    irp->IoStatus.Status = STATUS_DELETE_PENDING;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return STATUS_DELETE_PENDING;
  }
  ULONG handled = 0;
  const NTSTATUS taken = self.interception_->Dispatch(irp, &handled);
  if (handled != 0) return taken;
  IoSkipCurrentIrpStackLocation(irp);
  const NTSTATUS status = IoCallDriver(self.lower_, irp);
  RemoveLockRelease(irp, &self.lock_);
  return status;
}

FilterDevice::FilterDevice(PDEVICE_OBJECT physicalDevice) : driver_(&Enter) {
  RemoveLockInit(&lock_);
  interception_ = new (NonPagedPool) CUSBIRPs;
  const bool isComplete = interception_ != nullptr && interception_->IsComplete();
  if (!isComplete || !NT_SUCCESS(IoCreateDevice(driver_.Object(), sizeof(FilterDevice*), nullptr,
                                                FILE_DEVICE_UNKNOWN, 0, FALSE, &device_))) {
    delete interception_;
    throw popclean::Failure("there is not enough memory for the filter's device");
  }
  *static_cast<FilterDevice**>(device_->DeviceExtension) = this;
  lower_ = IoAttachDeviceToDeviceStack(device_, physicalDevice);
  interception_->Init(device_, lower_, physicalDevice, nullptr, &lock_);
  device_->Flags &= ~DO_DEVICE_INITIALIZING;
}

FilterDevice::~FilterDevice() {
  RemoveLockAcquire(nullptr, &lock_);
  RemoveLockReleaseAndWait(nullptr, &lock_);
  delete interception_;
  IoDetachDevice(lower_);
  IoDeleteDevice(device_);
}

}  // namespace zr::popusb
