// Filling, clearing and finding trace records. The scan reads raw stack words; it stays inside this
// thread's stack and believes nothing but a record whose magic words and checksum agree.
#include "support/trace_record.h"

#include <algorithm>

namespace {

constexpr const char* kNoLocation = "<Unknown (Release!)>";

// The road from a statement through the log to the sink fits into so many words.
constexpr ULONG_PTR kScannedBytes = 376 * sizeof(void*);

// Nobody reads the record by a name that the compiler could follow.
void Publish(TraceRecord* record) {
  asm volatile("" : : "r"(record) : "memory");
}

ULONGLONG SignExtended(LONG_PTR value) {
  return static_cast<ULONGLONG>(LONGLONG{value});
}

// The stack holds what other frames have left; only this function may look at it.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] bool IsValid(
    const volatile TraceRecord& record) {
  if (record.Magic1 != TRACE_MAGIC_1 || record.Magic2 != TRACE_MAGIC_2) return false;
  const ULONGLONG checksum = ULONGLONG{record.Aux2} + record.Aux1 +
                             SignExtended(reinterpret_cast<LONG_PTR>(record.Location)) +
                             SignExtended(record.ModuleHandle);
  return record.ChecksumLow == static_cast<ULONG>(checksum) &&
         record.ChecksumHigh == static_cast<ULONG>(checksum >> 32);
}

}  // namespace

void TraceRecordFill(TraceRecord* record, LONG moduleHandle) {
  const ULONGLONG checksum =
      SignExtended(reinterpret_cast<LONG_PTR>(kNoLocation)) + SignExtended(moduleHandle);
  *record = {.Magic1 = TRACE_MAGIC_1,
             .Magic2 = TRACE_MAGIC_2,
             .ModuleHandle = moduleHandle,
             .Location = kNoLocation,
             .Aux1 = 0,
             .Aux2 = 0,
             .ChecksumLow = static_cast<ULONG>(checksum),
             .ChecksumHigh = static_cast<ULONG>(checksum >> 32)};
  Publish(record);
}

void TraceRecordClear(TraceRecord* record) {
  record->Magic1 = 0;
  record->Magic2 = 0;
  Publish(record);
}

[[gnu::noinline]] TraceRecord* TraceRecordFind() {
  const auto below = reinterpret_cast<ULONG_PTR>(__builtin_frame_address(0)) - sizeof(void*);
  ULONG_PTR stackLow = 0;
  ULONG_PTR stackHigh = 0;
  IoGetStackLimits(&stackLow, &stackHigh);
  // A thread may run on a stack that is not its own.
  if (below < stackLow || below >= stackHigh) return nullptr;
  const ULONG_PTR end = std::min(below + kScannedBytes, stackHigh - sizeof(TraceRecord) + 1);
  constexpr ULONG_PTR kFirstAlignment = 8;
  for (ULONG_PTR position = below & ~(kFirstAlignment - 1); position < end;
       position += alignof(TraceRecord)) {
    auto* const record = reinterpret_cast<TraceRecord*>(position);
    if (IsValid(*record)) return record;
  }
  return nullptr;
}
