#include "support/device_value.h"

#include <cstddef>
#include <cstring>

PAGEABLE_CODE bool ReadDeviceDword(PDEVICE_OBJECT physicalDevice, ULONG keyType, PCWSTR name,
                                   ULONG* value) {
  HANDLE key = nullptr;
  if (!NT_SUCCESS(IoOpenDeviceRegistryKey(physicalDevice, keyType, KEY_QUERY_VALUE, &key))) {
    return false;
  }
  // Room for the header, one 32-bit value, and three bytes of nothing that is wanted.
  constexpr ULONG kSize = 0x13;
  alignas(KEY_VALUE_PARTIAL_INFORMATION) UCHAR room[kSize] = {};
  UNICODE_STRING valueName;
  RtlInitUnicodeString(&valueName, name);
  ULONG length = 0;
  const NTSTATUS status =
      ZwQueryValueKey(key, &valueName, KeyValuePartialInformation, room, kSize, &length);
  ZwClose(key);
  const auto& information = *reinterpret_cast<const KEY_VALUE_PARTIAL_INFORMATION*>(room);
  if (!NT_SUCCESS(status) || information.Type != REG_DWORD ||
      information.DataLength != sizeof(ULONG)) {
    return false;
  }
  std::memcpy(value, information.Data, sizeof(ULONG));
  return true;
}
