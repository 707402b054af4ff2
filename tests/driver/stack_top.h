// The device on top of a stack, for tests that need no reference to it.
#pragma once

#include "platform/kernel.h"

namespace zr::test {

inline PDEVICE_OBJECT TopOf(PDEVICE_OBJECT device) {
  PDEVICE_OBJECT const top = IoGetAttachedDeviceReference(device);
  ObDereferenceObject(top);
  return top;
}

}  // namespace zr::test
