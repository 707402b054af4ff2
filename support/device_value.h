// A 32-bit value of a device's own registry keys.
#pragma once

#include "platform/kernel.h"

/// Whether the key (PLUGPLAY_REGKEY_DEVICE or PLUGPLAY_REGKEY_DRIVER) has a REG_DWORD of that name;
/// only then *value is written. PASSIVE_LEVEL.
bool ReadDeviceDword(PDEVICE_OBJECT physicalDevice, ULONG keyType, PCWSTR name, ULONG* value);
