// The service's interfaces that the driver holds: asked for on a device stack by GUID, given up one
// by one or all at unload. All routines at PASSIVE_LEVEL.
#pragma once

#include "support/instrumentation/service_interface.h"

/// Results beside those of the service's own operations.
enum StackInterfaceResult : ULONG {
  kInterfaceOk = 0,
  kInterfaceQueryFailed = 1,
  kInterfaceNotHeld = 2,
  kInterfaceNullPointer = 3,
  kInterfaceNoMemory = 5,
  kInterfaceNoIrp = 6,
};

/// Counted: as many calls of the second end the list, and drop what is still held.
void StackInterfaceListInit();
void StackInterfaceListFree();

/// Asks the stack from its top down, this driver's own device included. On success the interface is
/// referenced and held; else *pInterface is null.
ULONG StackInterfaceAcquire(PDEVICE_OBJECT LowerDevice, StackInterface** pInterface,
                            const GUID* pGuid);
/// Gives what the service's Dereference gave.
ULONG StackInterfaceRelease(StackInterface* Interface);
/// Size in bytes. Gives what the service's GetTable gave.
ULONG StackInterfaceGetTable(StackInterface* Interface, PVOID Table, ULONG Size);
/// Whether it is held; with Remove it is afterwards no more.
ULONG StackInterfaceFind(StackInterface* Interface, ULONG Remove);
