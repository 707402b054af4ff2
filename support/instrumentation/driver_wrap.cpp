#include "support/instrumentation/driver_wrap.h"

#include <cstring>
#include <initializer_list>

#include "support/perf_hooks.h"

namespace {

// Control codes of audio streaming, under their published values.
constexpr ULONG IOCTL_KS_READ_STREAM = 0x002F4017;
constexpr ULONG IOCTL_KS_WRITE_STREAM = 0x002F8013;
constexpr ULONG IOCTL_KS_PROPERTY = 0x002F0003;

constexpr ULONG kStatRequests = 0;
constexpr ULONG kStatRead = 1;
constexpr ULONG kStatWrite = 2;
constexpr ULONG kStatProperty = 3;

PDRIVER_OBJECT wrappedDriver = nullptr;
PDRIVER_DISPATCH savedDispatch[IRP_MJ_MAXIMUM_FUNCTION + 1];

// 0 if the request is none that is timed.
ULONG TimedStat(const IO_STACK_LOCATION& location) {
  if (location.MajorFunction != IRP_MJ_DEVICE_CONTROL) return 0;
  switch (location.Parameters.DeviceIoControl.IoControlCode) {
    case IOCTL_KS_READ_STREAM:
      return kStatRead;
    case IOCTL_KS_WRITE_STREAM:
      return kStatWrite;
    case IOCTL_KS_PROPERTY:
      return kStatProperty;
    default:
      return 0;
  }
}

// The location is the routine's own once that has been called, so all is read before.
NTSTATUS NTAPI PerfDriverDispatch(PDEVICE_OBJECT DeviceObject, PIRP Irp) {
  const IO_STACK_LOCATION& location = *IoGetCurrentIrpStackLocation(Irp);
  const UCHAR major = location.MajorFunction;
  const ULONG timed = TimedStat(location);
  if (major != IRP_MJ_SYSTEM_CONTROL) PerfHooks.PerfCounterAdd(kStatRequests, 1, 0);
  if (timed != 0) {
    PerfHooks.PerfTimerStart(timed);
    PerfHooks.PerfCounterAdd(timed, 1, 0);
  }
  const NTSTATUS status = savedDispatch[major](DeviceObject, Irp);
  if (timed != 0) PerfHooks.PerfTimerStop(timed);
  return status;
}

}  // namespace

PAGEABLE_CODE void DriverWrapInit() {
  wrappedDriver = nullptr;
}

PAGEABLE_CODE void WrapDriver(PDRIVER_OBJECT DriverObject) {
  if (wrappedDriver != nullptr) return;
  std::memcpy(savedDispatch, DriverObject->MajorFunction, sizeof(savedDispatch));
  for (PDRIVER_DISPATCH& function : DriverObject->MajorFunction)
    function = &PerfDriverDispatch;
  for (const ULONG id : {kStatRead, kStatWrite, kStatProperty})
    PerfHooks.PerfTimerReset(id);
  for (const ULONG id : {kStatRequests, kStatRead, kStatWrite, kStatProperty})
    PerfHooks.PerfCounterSet(id, 0, 0);
  wrappedDriver = DriverObject;
}

PAGEABLE_CODE void UnwrapDriver() {
  if (wrappedDriver == nullptr) return;
  std::memcpy(wrappedDriver->MajorFunction, savedDispatch, sizeof(savedDispatch));
  wrappedDriver = nullptr;
}
