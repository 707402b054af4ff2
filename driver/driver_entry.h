// The driver's entries for the platform: load, every request of every device, unload.
#pragma once

#include "platform/kernel.h"

/// Brings the services up in their order, and cannot fail. PASSIVE_LEVEL.
extern "C" NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT DriverObject, PUNICODE_STRING RegistryPath);

/// At the level of whoever sends the request. Destroys the object of a device that was removed.
NTSTATUS NTAPI FilterDispatch(PDEVICE_OBJECT DeviceObject, PIRP Irp);

/// Once the last device has gone. PASSIVE_LEVEL.
VOID NTAPI FilterUnload(PDRIVER_OBJECT DriverObject);
