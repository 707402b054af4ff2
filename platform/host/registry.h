// The registry: a tree of keys with typed values. All routines need PASSIVE_LEVEL.
#pragma once

#include "platform/host/types.h"

struct DEVICE_OBJECT;

inline constexpr ULONG REG_NONE = 0;
inline constexpr ULONG REG_SZ = 1;
inline constexpr ULONG REG_BINARY = 3;
inline constexpr ULONG REG_DWORD = 4;

inline constexpr ACCESS_MASK KEY_QUERY_VALUE = 0x0001;
inline constexpr ACCESS_MASK KEY_SET_VALUE = 0x0002;
inline constexpr ACCESS_MASK STANDARD_RIGHTS_REQUIRED = 0x000F0000;
inline constexpr ACCESS_MASK KEY_READ = 0x00020019;
inline constexpr ACCESS_MASK KEY_ALL_ACCESS = 0x000F003F;

inline constexpr ULONG OBJ_CASE_INSENSITIVE = 0x40;

inline constexpr ULONG PLUGPLAY_REGKEY_DEVICE = 1;
inline constexpr ULONG PLUGPLAY_REGKEY_DRIVER = 2;

struct OBJECT_ATTRIBUTES {
  ULONG Length;
  HANDLE RootDirectory;
  PUNICODE_STRING ObjectName;
  ULONG Attributes;
  PVOID SecurityDescriptor;
  PVOID SecurityQualityOfService;
};
using POBJECT_ATTRIBUTES = OBJECT_ATTRIBUTES*;

inline VOID InitializeObjectAttributes(POBJECT_ATTRIBUTES attributes, PUNICODE_STRING name,
                                       ULONG flags, HANDLE root, PVOID security) {
  *attributes = {sizeof(OBJECT_ATTRIBUTES), root, name, flags, security, nullptr};
}

enum KEY_VALUE_INFORMATION_CLASS {
  KeyValueBasicInformation,
  KeyValueFullInformation,
  KeyValuePartialInformation
};

struct KEY_VALUE_PARTIAL_INFORMATION {
  ULONG TitleIndex;
  ULONG Type;
  ULONG DataLength;
  UCHAR Data[1];
};
using PKEY_VALUE_PARTIAL_INFORMATION = KEY_VALUE_PARTIAL_INFORMATION*;

using PRTL_QUERY_REGISTRY_ROUTINE = NTSTATUS(NTAPI*)(PWSTR valueName, ULONG valueType,
                                                     PVOID valueData, ULONG valueLength,
                                                     PVOID context, PVOID entryContext);

struct RTL_QUERY_REGISTRY_TABLE {
  PRTL_QUERY_REGISTRY_ROUTINE QueryRoutine;
  ULONG Flags;
  PWSTR Name;
  PVOID EntryContext;
  ULONG DefaultType;
  PVOID DefaultData;
  ULONG DefaultLength;
};
using PRTL_QUERY_REGISTRY_TABLE = RTL_QUERY_REGISTRY_TABLE*;

inline constexpr ULONG RTL_QUERY_REGISTRY_REQUIRED = 0x04;
inline constexpr ULONG RTL_QUERY_REGISTRY_DIRECT = 0x20;

inline constexpr ULONG RTL_REGISTRY_ABSOLUTE = 0;
inline constexpr ULONG RTL_REGISTRY_HANDLE = 0x40000000;

extern "C" VOID RtlInitUnicodeString(PUNICODE_STRING destination, PCWSTR source);

extern "C" NTSTATUS ZwOpenKey(PHANDLE key, ACCESS_MASK access, POBJECT_ATTRIBUTES attributes);
extern "C" NTSTATUS ZwQueryValueKey(HANDLE key, PUNICODE_STRING valueName,
                                    KEY_VALUE_INFORMATION_CLASS informationClass, PVOID information,
                                    ULONG length, PULONG resultLength);
extern "C" NTSTATUS ZwSetValueKey(HANDLE key, PUNICODE_STRING valueName, ULONG titleIndex,
                                  ULONG type, PVOID data, ULONG dataSize);
extern "C" NTSTATUS ZwClose(HANDLE handle);
extern "C" NTSTATUS RtlQueryRegistryValues(ULONG relativeTo, PCWSTR path,
                                           PRTL_QUERY_REGISTRY_TABLE table, PVOID context,
                                           PVOID environment);

/// Opens the hardware key (PLUGPLAY_REGKEY_DEVICE) or the software key (PLUGPLAY_REGKEY_DRIVER) of
/// a physical device object.
extern "C" NTSTATUS IoOpenDeviceRegistryKey(DEVICE_OBJECT* physicalDevice, ULONG keyType,
                                            ACCESS_MASK access, PHANDLE key);
