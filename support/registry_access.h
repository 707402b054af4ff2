// Registry keys and 32-bit values with defaults. All routines need PASSIVE_LEVEL; a value that is
// missing or cannot be read gives the caller's default, and only opening a key logs.
#pragma once

#include "platform/kernel.h"

/// Opens a key for the rights wanted. Path is absolute where root is null, else relative to root.
/// Gives the status of ZwOpenKey.
NTSTATUS RegistryOpenKey(HANDLE root, ACCESS_MASK desiredAccess, PCWSTR path, PHANDLE key);

/// Reads the values of a table, ended by an entry with a null name, to where their EntryContext
/// points. What a destination holds is the default of its entry, so that a value that is missing
/// leaves it as it is and is no error; a counted string must be terminated for that.
NTSTATUS RegistryQueryTable(HANDLE key, PRTL_QUERY_REGISTRY_TABLE table);

ULONG RegistryGetDword(HANDLE key, PCWSTR name, ULONG defaultValue);

/// found may be null; it gets 0 if the key or the value could not be read, else 1, for a missing
/// value too.
ULONG RegistryGetDwordEx(HANDLE key, PCWSTR name, ULONG defaultValue, ULONG* found);

/// 1 on success, else 0.
ULONG RegistrySetDword(HANDLE key, PCWSTR name, ULONG value);
