// The levels of the debug modules, from the registry, and their registration with the hook table.
#pragma once

#include "platform/kernel.h"
#include "support/debug_log.h"

/// The level of a module: the value named by its tag, else the value "Default", else 2. Without a
/// device the key is \Registry\Machine\Software\Brennick\TAG\Debug, with one it is Debug\TAG below
/// the device's driver key. PASSIVE_LEVEL.
ULONG ReadModuleDebugLevel(const char* driverTag, const char* moduleTag, PDEVICE_OBJECT device);

/// Reads the levels of all six modules and enters them into the module table, in their order. Their
/// enable words are 0 then, as after a load. PASSIVE_LEVEL.
void RegisterDebugModules(PDEVICE_OBJECT device);
