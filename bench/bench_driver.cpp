// What the whole driver costs a request that only passes by: into FilterDispatch, to the lower
// device and back, beside the same request sent straight to the lower device.
#include <benchmark/benchmark.h>

#include "driver/driver_entry.h"
#include "platform/host/control/io_control.h"
#include "support/debug_log.h"

namespace {

NTSTATUS NTAPI CompleteAtOnce(PDEVICE_OBJECT /*device*/, PIRP irp) {
  irp->IoStatus.Status = STATUS_NOT_SUPPORTED;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return STATUS_NOT_SUPPORTED;
}
NTSTATUS NTAPI EnterBus(PDRIVER_OBJECT driver, PUNICODE_STRING /*registryPath*/) {
  for (PDRIVER_DISPATCH& function : driver->MajorFunction)
    function = &CompleteAtOnce;
  return STATUS_SUCCESS;
}

// A device of the bus that the loaded driver has joined.
class FilteredDevice {
 public:
  FilteredDevice() {
    IoCreateDevice(bus_.Object(), 0, nullptr, FILE_DEVICE_UNKNOWN, 0, FALSE, &lower_);
    lower_->Flags &= ~DO_DEVICE_INITIALIZING;
    zr::host::SetDeviceProperties(
        lower_, {.name = u"USB\\Bench", .hardwareIds = {u"USB\\VID_1209"}, .description = u""});
    driver_.AddDevice(lower_);
  }
  ~FilteredDevice() {
    if (Top() != nullptr) zr::host::SendPnpRequest(lower_, IRP_MN_REMOVE_DEVICE);
    IoDeleteDevice(lower_);
  }
  FilteredDevice(const FilteredDevice&) = delete;
  FilteredDevice& operator=(const FilteredDevice&) = delete;

  PDEVICE_OBJECT Lower() const { return lower_; }
  /// Null if the driver has not joined.
  PDEVICE_OBJECT Top() const { return lower_->AttachedDevice; }

 private:
  const zr::host::LoadedDriver bus_{&EnterBus};
  zr::host::LoadedDriver driver_{&DriverEntry};
  PDEVICE_OBJECT lower_ = nullptr;
};

NTSTATUS NTAPI TakeBack(PDEVICE_OBJECT /*device*/, PIRP /*irp*/, PVOID /*context*/) {
  return STATUS_MORE_PROCESSING_REQUIRED;
}

// One request that its maker sends again and again.
void SendRequests(benchmark::State& state, PDEVICE_OBJECT device, UCHAR major, UCHAR minor) {
  PIRP const irp = IoAllocateIrp(device->StackSize, FALSE);
  for (auto _ : state) {
    PIO_STACK_LOCATION location = IoGetNextIrpStackLocation(irp);
    location->MajorFunction = major;
    location->MinorFunction = minor;
    IoSetCompletionRoutine(irp, &TakeBack, nullptr, TRUE, TRUE, TRUE);
    IoCallDriver(device, irp);
  }
  IoFreeIrp(irp);
}

void ThroughTheDriver(benchmark::State& state, UCHAR major, UCHAR minor) {
  const FilteredDevice device;
  if (device.Top() == nullptr) {
    state.SkipWithError("the driver has not joined the device");
    return;
  }
  SendRequests(state, device.Top(), major, minor);
}
void CallOfLowerDevice(benchmark::State& state, UCHAR major, UCHAR minor) {
  const FilteredDevice device;
  SendRequests(state, device.Lower(), major, minor);
}
BENCHMARK_CAPTURE(ThroughTheDriver, read, IRP_MJ_READ, 0)->Name("pass_read/ours");
BENCHMARK_CAPTURE(CallOfLowerDevice, read, IRP_MJ_READ, 0)->Name("pass_read/call_of_lower_device");
BENCHMARK_CAPTURE(ThroughTheDriver, query, IRP_MJ_PNP, IRP_MN_QUERY_STOP_DEVICE)
    ->Name("pass_pnp_query/ours");
BENCHMARK_CAPTURE(CallOfLowerDevice, query, IRP_MJ_PNP, IRP_MN_QUERY_STOP_DEVICE)
    ->Name("pass_pnp_query/call_of_lower_device");

// Either road makes three, two of them with numbers in them.
void LogStatements(benchmark::State& state) {
  const FilteredDevice device;
  for (auto _ : state) {
    g_DeviceLog.Log(3, "CDevice::Dispatch> Device Object: 0x%lx \tMajorFunction:0x%x\n",
                    LogWord(&state), unsigned{IRP_MJ_READ});
    g_USBIrpsLog.Log(3, "CUSBIRPs::Dispatch> Device Object: 0x%lx \tMajorFunction:0x%x\n",
                     LogWord(&state), unsigned{IRP_MJ_READ});
    g_DeviceLog.Log(3, "CDevice::DispatchPassThrough> Passing through...\n");
  }
}
BENCHMARK(LogStatements)->Name("pass_read/its_log_statements");

}  // namespace
