// Registry keys and 32-bit values with defaults, over the kernel's own calls.
#include "support/registry_access.h"

#include "support/debug_log.h"

namespace {

// The default of an entry is what its destination holds already.
PAGEABLE_CODE void PrepareEntry(RTL_QUERY_REGISTRY_TABLE& entry) {
  entry.Flags = RTL_QUERY_REGISTRY_DIRECT;
  if (entry.DefaultType == REG_SZ) {
    entry.DefaultData = static_cast<PUNICODE_STRING>(entry.EntryContext)->Buffer;
    entry.DefaultLength = 0;
  } else if (entry.DefaultType == REG_DWORD) {
    entry.DefaultData = entry.EntryContext;
    entry.DefaultLength = sizeof(ULONG);
  }
}

}  // namespace

PAGEABLE_CODE NTSTATUS RegistryOpenKey(HANDLE root, ACCESS_MASK desiredAccess, PCWSTR path,
                                       PHANDLE key) {
  UNICODE_STRING name;
  RtlInitUnicodeString(&name, path);
  OBJECT_ATTRIBUTES attributes;
  InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, root, nullptr);
  const NTSTATUS status = ZwOpenKey(key, desiredAccess, &attributes);
  const auto shown = static_cast<unsigned>(status);
  if (status == STATUS_INVALID_HANDLE) {
    g_RegistryLog.Log(3, "ZwOpenKey failed status=0x%08x (STATUS_INVALID_HANDLE)\n", shown);
  } else if (status == STATUS_ACCESS_DENIED) {
    g_RegistryLog.Log(3, "ZwOpenKey failed status=0x%08x (STATUS_ACCESS_DENIED)\n", shown);
  } else {
    g_RegistryLog.Log(3, "ZwOpenKey status=0x%08x\n", shown);
  }
  return status;
}

PAGEABLE_CODE NTSTATUS RegistryQueryTable(HANDLE key, PRTL_QUERY_REGISTRY_TABLE table) {
  for (PRTL_QUERY_REGISTRY_TABLE entry = table; entry->Name != nullptr; ++entry) {
    PrepareEntry(*entry);
  }
  return RtlQueryRegistryValues(RTL_REGISTRY_HANDLE, static_cast<PCWSTR>(key), table, nullptr,
                                nullptr);
}

PAGEABLE_CODE ULONG RegistryGetDword(HANDLE key, PCWSTR name, ULONG defaultValue) {
  return RegistryGetDwordEx(key, name, defaultValue, nullptr);
}

PAGEABLE_CODE ULONG RegistryGetDwordEx(HANDLE key, PCWSTR name, ULONG defaultValue, ULONG* found) {
  ULONG value = defaultValue;
  RTL_QUERY_REGISTRY_TABLE table[2] = {};
  table[0].Name = const_cast<PWSTR>(name);
  table[0].EntryContext = &value;
  table[0].DefaultType = REG_DWORD;
  const bool isRead = NT_SUCCESS(RegistryQueryTable(key, table));
  if (found != nullptr) *found = isRead ? 1 : 0;
  return isRead ? value : defaultValue;
}

PAGEABLE_CODE ULONG RegistrySetDword(HANDLE key, PCWSTR name, ULONG value) {
  UNICODE_STRING valueName;
  RtlInitUnicodeString(&valueName, name);
  return NT_SUCCESS(ZwSetValueKey(key, &valueName, 0, REG_DWORD, &value, sizeof(value))) ? 1 : 0;
}
