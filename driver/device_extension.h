// What a filter device object leads to, and all that it does.
#pragma once

#include "platform/kernel.h"

class CDevice;

struct FilterDeviceExtension {
  CDevice* pDevice;  ///< Set before the device is on a stack, and never cleared.
};
static_assert(sizeof(void*) != 4 || sizeof(FilterDeviceExtension) == 4);

inline FilterDeviceExtension& ExtensionOf(PDEVICE_OBJECT device) {
  return *static_cast<FilterDeviceExtension*>(device->DeviceExtension);
}
