// The one connection between the driver and the instrumentation service, through the first device
// whose stack answers. The routines stand in the hook table's own slots, and put the entries of
// what is connected into the others. All at PASSIVE_LEVEL.
#pragma once

#include "platform/kernel.h"

/// Nothing is held, and there is no owner. With the hook table, before all else.
void ConnectionInit();

/// Asks the device's stack for the service, unless a device has it already. Any of the three
/// interfaces may connect; if none is there, the next device tries.
void AttachToService(PDEVICE_OBJECT FDO, PDEVICE_OBJECT LowerDevice, PDEVICE_OBJECT PDO);

/// Ends the connection, whichever device it was made through: afterwards no thread is in an
/// operation of the service, and none will be.
void DetachFromService();

/// The device's value "ZRPerfMode", else 0.
ULONG ReadPerfMode(PDEVICE_OBJECT PDO);
