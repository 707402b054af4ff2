// Counts and times a driver's requests for the service, by wrapping its dispatch table. The hook
// table offers it; nothing in this driver asks for it. PASSIVE_LEVEL.
#pragma once

#include "platform/kernel.h"

/// Nothing is wrapped. With the hook table, before all else.
void DriverWrapInit();

void WrapDriver(PDRIVER_OBJECT DriverObject);
void UnwrapDriver();
