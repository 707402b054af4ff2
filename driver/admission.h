// Which devices the filter joins: not one whose registry says no, only those with a USB hardware
// ID, and none of revision 8 and up.
#pragma once

#include "platform/kernel.h"

/// The platform's offer of a device, PASSIVE_LEVEL. A device that is left alone is a success; a
/// failure leaves nothing behind.
NTSTATUS NTAPI FilterAddDevice(PDRIVER_OBJECT DriverObject, PDEVICE_OBJECT PDO);

/// 1 if the device's value "ZRPopFltNoLoad" is there and not 0, else 0.
ULONG FilterIsFilterNoLoad(PDEVICE_OBJECT PDO);

/// 1 if the hardware ID lets the filter join, else 0.
ULONG IsDeviceInList(PDRIVER_OBJECT DriverObject, PDEVICE_OBJECT PDO);

/// The device's hardware IDs in memory that the caller frees with PoolFreeTracked, or null.
/// *pLength, if not null, gets the length in bytes.
PWSTR GetHardwareID(PDEVICE_OBJECT PDO, ULONG* pLength);
