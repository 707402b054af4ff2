// The formats that the driver shares with the instrumentation service, a driver of its own on the
// device stack: the record that a query for one of its interfaces fills in, and the operation
// tables that the interfaces hand out.
#pragma once

#include "platform/kernel.h"
#include "support/perf_hooks.h"

struct StackInterface {
  USHORT Size;     ///< As the service fills it; not read.
  USHORT Version;  ///< Likewise.
  PVOID Context;   ///< First argument of the three operations.
  PVOID Unread1;
  void (*Reference)(PVOID context);
  ULONG (*Dereference)(PVOID context);
  PVOID Unread2[2];
  /// Copies the interface's operation pointers to table; 0 on success.
  ULONG (*GetTable)(PVOID context, PVOID table, ULONG size);
};
static_assert(sizeof(void*) != 4 || sizeof(StackInterface) == 32);

/// {6F376556-8DC5-4DB1-9940-CE11C1227C8A}: statistics by number.
inline constexpr GUID kStatsInterface = {
    0x6F376556, 0x8DC5, 0x4DB1, {0x99, 0x40, 0xCE, 0x11, 0xC1, 0x22, 0x7C, 0x8A}};
/// {EAEAB6E2-5574-4A0F-B589-85932309BA14}: debug lines.
inline constexpr GUID kDebugInterface = {
    0xEAEAB6E2, 0x5574, 0x4A0F, {0xB5, 0x89, 0x85, 0x93, 0x23, 0x09, 0xBA, 0x14}};
/// {D53BFB1A-7F21-498F-8B6F-25C23FEC772E}: modes and named flags.
inline constexpr GUID kModeInterface = {
    0xD53BFB1A, 0x7F21, 0x498F, {0x8B, 0x6F, 0x25, 0xC2, 0x3F, 0xEC, 0x77, 0x2E}};

/// Operations, in their order. The first argument of each is the physical device of the connection.
struct PerfStatsInterface {
  using OfId = void (*)(PDEVICE_OBJECT pdo, ULONG id);
  using OfValue = void (*)(PDEVICE_OBJECT pdo, ULONG id, ULONG low, ULONG high);
  using OfName = void (*)(PDEVICE_OBJECT pdo, ULONG id, const char* name);
  OfId TimerStart;
  OfId TimerStop;
  OfId TimerReset;
  OfValue CounterAdd;
  OfValue CounterSet;
  OfName SetName;
  OfId SpanStart;
  OfId SpanStop;
  OfId SpanReset;
  OfName SpanName;
  OfValue SpanAdd;
  OfValue SpanSet;
};
static_assert(sizeof(PerfStatsInterface) == 12 * sizeof(void*));

struct PerfDebugInterface {
  void (*TakeModules)(PDEVICE_OBJECT pdo, ModuleTableEntry* modules, LONG count);
  /// behindLine: the words behind the line among the sink's arguments.
  void (*TakeLine)(PDEVICE_OBJECT pdo, ULONG_PTR serviceHandle, const char* location, ULONG aux1,
                   ULONG aux2, ULONG zero1, ULONG zero2, ULONG zero3, ULONG zero4, ULONG level,
                   const char* line, const void* behindLine);
};
static_assert(sizeof(PerfDebugInterface) == 2 * sizeof(void*));

struct PerfModeInterface {
  using OfWords = void (*)(PDEVICE_OBJECT pdo, ULONG_PTR first, ULONG_PTR second);
  OfWords Call1;
  OfWords Call2;
  void (*RegisterGlobalFlag)(PDEVICE_OBJECT pdo, ULONG index, const char* name,
                             GlobalFlagHandler handler, PVOID context);
  OfWords Call4;
  ULONG (*Query)(PDEVICE_OBJECT pdo, ULONG_PTR word);
};
static_assert(sizeof(PerfModeInterface) == 5 * sizeof(void*));
