// Drivers that are loaded, and requests that come from outside of every driver.
#include <utility>

#include "platform/host/control/io_control.h"
#include "platform/host/internal_checks.h"
#include "platform/host/internal_devices.h"
#include "platform/host/internal_irps.h"

namespace zr::host {
namespace {

// What a driver gets for the major functions that it leaves alone.
NTSTATUS NTAPI RefuseRequest(PDEVICE_OBJECT /*device*/, PIRP irp) {
  if (IoGetCurrentIrpStackLocation(irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(irp);
  irp->IoStatus.Status = STATUS_INVALID_DEVICE_REQUEST;
  irp->IoStatus.Information = 0;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return STATUS_INVALID_DEVICE_REQUEST;
}

struct SentRequest {
  KEVENT isComplete;
  NTSTATUS status;
};

NTSTATUS NTAPI TakeBack(PDEVICE_OBJECT /*device*/, PIRP irp, PVOID context) {
  auto* const request = static_cast<SentRequest*>(context);
  request->status = irp->IoStatus.Status;
  IoFreeIrp(irp);
  KeSetEvent(&request->isComplete, IO_NO_INCREMENT, FALSE);
  return STATUS_MORE_PROCESSING_REQUIRED;
}

void RequireNoDevices(PDRIVER_OBJECT driver, const char* when) {
  if (!HasDevices(driver)) return;
  StopSystem(BugCheck::kDriverVerifierDetectedViolation,
             "driver " + Hexadecimal(driver) + " has device objects left " + when);
}

}  // namespace

struct LoadedDriver::State {
  DRIVER_OBJECT object;
  DRIVER_EXTENSION extension;
  bool isLoaded;
};

// The registry path is gone once the entry has returned: a driver that wants it makes a copy.
LoadedDriver::LoadedDriver(PDRIVER_INITIALIZE entry) : state_(std::make_unique<State>()) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "loading a driver");
  DRIVER_OBJECT& driver = state_->object;
  state_->extension.DriverObject = &driver;
  driver.DriverExtension = &state_->extension;
  for (PDRIVER_DISPATCH& function : driver.MajorFunction)
    function = RefuseRequest;

  std::u16string path = u"\\Registry\\Machine\\System\\CurrentControlSet\\Services\\Driver";
  const auto length = static_cast<USHORT>(path.size() * sizeof(WCHAR));
  UNICODE_STRING registryPath = {length, static_cast<USHORT>(length + sizeof(WCHAR)), path.data()};
  const NTSTATUS status = entry(&driver, &registryPath);
  if (!NT_SUCCESS(status)) {
    RequireNoDevices(&driver, "after its entry failed");
    throw std::runtime_error("the driver's entry returned " +
                             Hexadecimal(static_cast<ULONG>(status)));
  }
  state_->isLoaded = true;
  for (PDEVICE_OBJECT device = driver.DeviceObject; device != nullptr;
       device = device->NextDevice) {
    device->Flags &= ~DO_DEVICE_INITIALIZING;
  }
}

LoadedDriver::~LoadedDriver() {
  Unload();
}

void LoadedDriver::Unload() {
  if (!std::exchange(state_->isLoaded, false)) return;
  RequireIrqlAtMost(PASSIVE_LEVEL, "unloading a driver");
  if (state_->object.DriverUnload != nullptr) state_->object.DriverUnload(&state_->object);
  RequireNoDevices(&state_->object, "after its unload");
}

PDRIVER_OBJECT LoadedDriver::Object() const {
  return &state_->object;
}

NTSTATUS LoadedDriver::AddDevice(PDEVICE_OBJECT physicalDevice) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "AddDevice");
  if (state_->extension.AddDevice == nullptr) return STATUS_INVALID_DEVICE_REQUEST;
  const NTSTATUS status = state_->extension.AddDevice(&state_->object, physicalDevice);
  if (!NT_SUCCESS(status)) return status;
  for (PDEVICE_OBJECT device = state_->object.DeviceObject; device != nullptr;
       device = device->NextDevice) {
    if ((device->Flags & DO_DEVICE_INITIALIZING) == 0) continue;
    StopForDevice("AddDevice", device, "DO_DEVICE_INITIALIZING has not been cleared");
  }
  return status;
}

// The IRP is made apart from IoAllocateIrp: allocations that are made to fail are the drivers'.
NTSTATUS SendRequest(PDEVICE_OBJECT device, UCHAR majorFunction, UCHAR minorFunction) {
  RequireIrqlAtMost(PASSIVE_LEVEL, "sending a request");
  SentRequest request = {};
  KeInitializeEvent(&request.isComplete, NotificationEvent, FALSE);
  PDEVICE_OBJECT top = IoGetAttachedDeviceReference(device);
  PIRP irp = MakeIrp(top->StackSize, IrpMaker::kDriver);
  irp->IoStatus.Status = STATUS_NOT_SUPPORTED;
  PIO_STACK_LOCATION location = IoGetNextIrpStackLocation(irp);
  location->MajorFunction = majorFunction;
  location->MinorFunction = minorFunction;
  IoSetCompletionRoutine(irp, TakeBack, &request, TRUE, TRUE, TRUE);
  if (majorFunction == IRP_MJ_POWER) {
    PoCallDriver(top, irp);
  } else {
    IoCallDriver(top, irp);
  }
  KeWaitForSingleObject(&request.isComplete, Executive, KernelMode, FALSE, nullptr);
  ObDereferenceObject(top);
  return request.status;
}

NTSTATUS SendPnpRequest(PDEVICE_OBJECT device, UCHAR minorFunction) {
  return SendRequest(device, IRP_MJ_PNP, minorFunction);
}

NTSTATUS SendPowerRequest(PDEVICE_OBJECT device, UCHAR minorFunction) {
  return SendRequest(device, IRP_MJ_POWER, minorFunction);
}

}  // namespace zr::host
