#include "driver/driver_entry.h"

#include "driver/admission.h"
#include "driver/device.h"
#include "driver/device_extension.h"
#include "support/debug_log.h"
#include "support/debug_modules.h"
#include "support/instrumentation/stack_interface.h"
#include "support/perf_hooks.h"
#include "support/tracked_new.h"

// Each step stands on the one before: a registration calls through the hook table, the list of held
// interfaces allocates.
extern "C" DISCARDABLE_CODE NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT DriverObject,
                                                       PUNICODE_STRING /*RegistryPath*/) {
  PerfHooksInit();
  RegisterDebugModules(nullptr);
  PoolTrackInit();
  StackInterfaceListInit();
  g_DrvMainLog.Log(1, "DriverEntry> ***** Driver Loaded *****\n");
  DriverObject->DriverExtension->AddDevice = &FilterAddDevice;
  DriverObject->DriverUnload = &FilterUnload;
  for (PDRIVER_DISPATCH& function : DriverObject->MajorFunction)
    function = &FilterDispatch;
  return STATUS_SUCCESS;
}

NTSTATUS NTAPI FilterDispatch(PDEVICE_OBJECT DeviceObject, PIRP Irp) {
  CDevice* const device = ExtensionOf(DeviceObject).pDevice;
  if (device == nullptr) {
    g_DrvMainLog.Log(kLogError | 1, "FilterDispatch> No CDevice!!!! Failing IRP!!!\n");
    if (IoGetCurrentIrpStackLocation(Irp)->MajorFunction == IRP_MJ_POWER) PoStartNextPowerIrp(Irp);
    Irp->IoStatus.Status = STATUS_UNSUCCESSFUL;
    IoCompleteRequest(Irp, IO_NO_INCREMENT);
    return STATUS_UNSUCCESSFUL;
  }
  ULONG deleted = 0;
  const NTSTATUS status = device->Dispatch(Irp, &deleted);
  if (deleted == 0) return status;
  // The device object is gone; its address is a number by now.
  g_DrvMainLog.Log(3, "FilterDispatch> CDevice (0x%lx =>FDO: 0x%lx) about to be deleted!!!\n",
                   LogWord(device), LogWord(DeviceObject));
  DeleteTracked(device);
  return status;
}

// Held interfaces need the allocator, and nothing may log behind the last step.
PAGEABLE_CODE VOID NTAPI FilterUnload(PDRIVER_OBJECT /*DriverObject*/) {
  g_DrvMainLog.Log(1, "FilterUnload> ***** Driver Unloading *****\n");
  StackInterfaceListFree();
  PoolTrackShutdown();
  PerfHooksShutdown();
}
