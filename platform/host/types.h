// Basic types, status codes and records of the NT kernel, under their published names.
#pragma once

#include <cstddef>
#include <cstdint>

using VOID = void;
using PVOID = void*;
using CHAR = char;
using PCHAR = char*;
using PCSTR = const char*;
using UCHAR = uint8_t;
using PUCHAR = uint8_t*;
using CCHAR = int8_t;
using BOOLEAN = uint8_t;
using SHORT = int16_t;
using USHORT = uint16_t;
using LONG = int32_t;
using PLONG = LONG*;
using ULONG = uint32_t;
using PULONG = ULONG*;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using LONG_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using SIZE_T = size_t;
using WCHAR = char16_t;
using PWSTR = WCHAR*;
using PCWSTR = const WCHAR*;
using HANDLE = void*;
using PHANDLE = HANDLE*;
using NTSTATUS = LONG;
using ACCESS_MASK = ULONG;
using DEVICE_TYPE = ULONG;
using KIRQL = UCHAR;
using PKIRQL = KIRQL*;
using KPROCESSOR_MODE = CCHAR;
using POOL_TYPE = int;
using KPRIORITY = LONG;

#define NTAPI
#define FASTCALL
#define TRUE 1
#define FALSE 0

/// In front of a definition: code that is discarded after the load, or that runs at PASSIVE_LEVEL
/// and may be paged out. Here all code stays.
#define DISCARDABLE_CODE
#define PAGEABLE_CODE

/// A literal of WCHARs.
#define WIDE_TEXT(literal) u##literal

union LARGE_INTEGER {
  struct {
    ULONG LowPart;
    LONG HighPart;
  };
  LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};

struct LIST_ENTRY {
  LIST_ENTRY* Flink;
  LIST_ENTRY* Blink;
};
using PLIST_ENTRY = LIST_ENTRY*;

struct UNICODE_STRING {
  USHORT Length;
  USHORT MaximumLength;
  PWSTR Buffer;
};
using PUNICODE_STRING = UNICODE_STRING*;

inline constexpr NTSTATUS NtStatus(uint32_t code) {
  return static_cast<NTSTATUS>(code);
}

#define NT_SUCCESS(status) (static_cast<NTSTATUS>(status) >= 0)

inline constexpr NTSTATUS STATUS_SUCCESS = 0;
inline constexpr NTSTATUS STATUS_TIMEOUT = 0x102;
inline constexpr NTSTATUS STATUS_PENDING = 0x103;
inline constexpr NTSTATUS STATUS_BUFFER_OVERFLOW = NtStatus(0x80000005);
inline constexpr NTSTATUS STATUS_UNSUCCESSFUL = NtStatus(0xC0000001);
inline constexpr NTSTATUS STATUS_INVALID_HANDLE = NtStatus(0xC0000008);
inline constexpr NTSTATUS STATUS_INVALID_PARAMETER = NtStatus(0xC000000D);
inline constexpr NTSTATUS STATUS_NO_SUCH_DEVICE = NtStatus(0xC000000E);
inline constexpr NTSTATUS STATUS_INVALID_DEVICE_REQUEST = NtStatus(0xC0000010);
inline constexpr NTSTATUS STATUS_MORE_PROCESSING_REQUIRED = NtStatus(0xC0000016);
inline constexpr NTSTATUS STATUS_NO_MEMORY = NtStatus(0xC0000017);
inline constexpr NTSTATUS STATUS_ACCESS_DENIED = NtStatus(0xC0000022);
inline constexpr NTSTATUS STATUS_BUFFER_TOO_SMALL = NtStatus(0xC0000023);
inline constexpr NTSTATUS STATUS_OBJECT_TYPE_MISMATCH = NtStatus(0xC0000024);
inline constexpr NTSTATUS STATUS_OBJECT_NAME_INVALID = NtStatus(0xC0000033);
inline constexpr NTSTATUS STATUS_OBJECT_NAME_NOT_FOUND = NtStatus(0xC0000034);
inline constexpr NTSTATUS STATUS_DELETE_PENDING = NtStatus(0xC0000056);
inline constexpr NTSTATUS STATUS_INSUFFICIENT_RESOURCES = NtStatus(0xC000009A);
inline constexpr NTSTATUS STATUS_DEVICE_NOT_CONNECTED = NtStatus(0xC000009D);
inline constexpr NTSTATUS STATUS_NOT_SUPPORTED = NtStatus(0xC00000BB);
inline constexpr NTSTATUS STATUS_CANCELLED = NtStatus(0xC0000120);
