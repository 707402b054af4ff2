// The record that every log statement leaves on the stack while it runs. The debug sink finds it
// there and takes the module and the place of a line from it, so that neither travels in the
// argument lists.
#pragma once

#include "platform/kernel.h"

inline constexpr ULONG TRACE_MAGIC_1 = 0x01233210;
inline constexpr ULONG TRACE_MAGIC_2 = 0xBEEFFEED;

/// Eight words on the 32-bit system.
struct TraceRecord {
  ULONG Magic1;
  ULONG Magic2;
  LONG ModuleHandle;
  const char* Location;
  ULONG Aux1;
  ULONG Aux2;
  ULONG ChecksumLow;  ///< Of the four words above, added in 64 bits.
  ULONG ChecksumHigh;
};
static_assert(sizeof(void*) != 4 || sizeof(TraceRecord) == 32);

/// Fills a record for a statement of the module. The record really stands in memory then, whatever
/// the compiler knows of the calls that follow.
void TraceRecordFill(TraceRecord* record, LONG moduleHandle);

/// Invalidates a record: it cannot be found again.
void TraceRecordClear(TraceRecord* record);

/// The nearest valid record above the caller on this thread's stack, that of the innermost
/// statement, or null. Any IRQL.
TraceRecord* TraceRecordFind();
