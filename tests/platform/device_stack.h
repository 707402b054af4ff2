// Drivers and device stacks for the tests of the I/O manager.
#pragma once

#include <functional>

#include "platform/host/control/io_control.h"
#include "tests/platform/bug_checks.h"

namespace zr::test {

using Dispatch = std::function<NTSTATUS(PDEVICE_OBJECT device, PIRP irp)>;

/// The dispatch routine of a layer's device.
inline Dispatch& DispatchOf(PDEVICE_OBJECT device) {
  return **static_cast<Dispatch**>(device->DeviceExtension);
}

inline NTSTATUS NTAPI EnterDriver(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction) {
    function = [](PDEVICE_OBJECT device, PIRP irp) { return DispatchOf(device)(device, irp); };
  }
  return STATUS_SUCCESS;
}

/// Of a driver without routines of its own.
inline NTSTATUS NTAPI EnterPlainDriver(PDRIVER_OBJECT /*driver*/, PUNICODE_STRING /*path*/) {
  return STATUS_SUCCESS;
}

inline PDEVICE_OBJECT MakeDevice(const host::LoadedDriver& driver, ULONG extensionSize = 0) {
  PDEVICE_OBJECT device = nullptr;
  EXPECT_EQ(STATUS_SUCCESS, IoCreateDevice(driver.Object(), extensionSize, nullptr,
                                           FILE_DEVICE_UNKNOWN, 0, FALSE, &device));
  device->Flags &= ~DO_DEVICE_INITIALIZING;
  return device;
}

/// A driver with one device, on top of another or at the bottom.
class Layer {
 public:
  explicit Layer(PDEVICE_OBJECT below = nullptr)
      : driver_(EnterDriver), device_(MakeDevice(driver_, sizeof(Dispatch*))) {
    *static_cast<Dispatch**>(device_->DeviceExtension) = &dispatch;
    if (below != nullptr) lower_ = IoAttachDeviceToDeviceStack(device_, below);
  }
  explicit Layer(Dispatch itsDispatch) : Layer() { dispatch = std::move(itsDispatch); }
  ~Layer() {
    if (lower_ != nullptr) IoDetachDevice(lower_);
    IoDeleteDevice(device_);
  }
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  PDEVICE_OBJECT Device() const { return device_; }
  PDEVICE_OBJECT Lower() const { return lower_; }

  Dispatch dispatch;

 private:
  host::LoadedDriver driver_;
  PDEVICE_OBJECT device_ = nullptr;
  PDEVICE_OBJECT lower_ = nullptr;
};

/// The device on top of a stack, for tests that need no reference to it.
inline PDEVICE_OBJECT TopOf(PDEVICE_OBJECT device) {
  PDEVICE_OBJECT const top = IoGetAttachedDeviceReference(device);
  ObDereferenceObject(top);
  return top;
}

/// Makes a device one of the USB, which the driver joins.
inline void MakeUsbDevice(PDEVICE_OBJECT device) {
  host::SetDeviceProperties(
      device, {.name = u"USB\\Test", .hardwareIds = {u"USB\\VID_1209"}, .description = u""});
}

inline NTSTATUS Complete(PIRP irp, NTSTATUS status) {
  irp->IoStatus.Status = status;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return status;
}

inline NTSTATUS NTAPI Succeed(PDEVICE_OBJECT /*device*/, PIRP irp) {
  return Complete(irp, STATUS_SUCCESS);
}

inline NTSTATUS NTAPI KeepIrp(PDEVICE_OBJECT /*device*/, PIRP /*irp*/, PVOID /*context*/) {
  return STATUS_MORE_PROCESSING_REQUIRED;
}

/// An IRP of the test's own, ready to be sent to the device; it comes back to the test.
inline PIRP MakeOwnIrp(PDEVICE_OBJECT device, UCHAR major = IRP_MJ_INTERNAL_DEVICE_CONTROL) {
  PIRP irp = IoAllocateIrp(device->StackSize, FALSE);
  irp->IoStatus.Status = STATUS_NOT_SUPPORTED;
  IoGetNextIrpStackLocation(irp)->MajorFunction = major;
  IoSetCompletionRoutine(irp, KeepIrp, nullptr, TRUE, TRUE, TRUE);
  return irp;
}

struct PnpRequest {
  explicit PnpRequest(PDEVICE_OBJECT device) {
    KeInitializeEvent(&event, NotificationEvent, FALSE);
    irp = IoBuildSynchronousFsdRequest(IRP_MJ_PNP, device, nullptr, 0, nullptr, &event, &status);
  }
  KEVENT event;
  IO_STATUS_BLOCK status = {STATUS_UNSUCCESSFUL, 0};
  PIRP irp;
};

}  // namespace zr::test
