// From a statement to a line, and from the line to the debugger and the sink.
#include "support/debug_log.h"

#include "support/perf_hooks.h"
#include "support/trace_record.h"

constinit DebugModule g_DrvMainLog("DrvMain");
constinit DebugModule g_DeviceLog("Device");
constinit DebugModule g_ZDebugLog("ZDebug");
constinit DebugModule g_RegistryLog("Registry");
constinit DebugModule g_OSDepLog("OSDep");
constinit DebugModule g_USBIrpsLog("USBIrps");

namespace {

const char* SeverityText(ULONG flags) {
  if ((flags & kLogError) != 0) return "=>ERR ";
  return (flags & kLogWarning) != 0 ? "=>WARN " : "";
}

// Appends to the line as far as there is room and gives the new end.
char* Append(char* end, const char* limit, const char* text) {
  while (*text != '\0' && end < limit)
    *end++ = *text++;
  return end;
}

// "%s%s%s.%s: ", put together by hand: it stands before every line, listened to or not.
char* AppendPrefix(char* end, const char* limit, ULONG flags, const char* driverTag,
                   const char* moduleTag) {
  if ((flags & kLogPrefixMark) != 0) end = Append(end, limit, "'");
  end = Append(end, limit, SeverityText(flags));
  end = Append(end, limit, driverTag);
  end = Append(end, limit, ".");
  end = Append(end, limit, moduleTag);
  return Append(end, limit, ": ");
}

}  // namespace

void DbgPrintLine(const char* driverTag, const char* moduleTag, ULONG enable, ULONG level,
                  ULONG flags, const char* format, va_list arguments) {
  const ULONG lineLevel = flags & kLogLevelMask;
  const bool toDebugger = lineLevel <= (level & kLogLevelMask) && enable != 0;
  const bool toSink = (flags & kLogDebuggerOnly) == 0;
  if ((flags & kLogDrop) != 0) return;
  if (!toDebugger && !toSink) return;

  char line[kLogLineSize];
  char* message = line;
  const char* const limit = line + kLogLineSize - 1;
  if ((flags & kLogRaw) == 0) message = AppendPrefix(line, limit, flags, driverTag, moduleTag);
  _vsnprintf(message, static_cast<SIZE_T>(limit - message) + 1, format, arguments);
  line[kLogLineSize - 1] = '\0';

  if (toDebugger) {
    DbgPrint("%s", line);
    if ((flags & kLogBreak) != 0) DbgBreakPoint();
  }
  if (toSink) PerfHooks.PerfDebugSink(lineLevel, line);
}

void DebugModule::ModuleLogger(ULONG flags, const char* format, va_list arguments) {
  DbgPrintLine(kDriverTag, tag_, state_.Enable.load(std::memory_order_relaxed),
               state_.Level.load(std::memory_order_relaxed), flags, format, arguments);
}

void DebugModule::LogStatement(ULONG flags, const char* format, va_list arguments) {
  TraceRecord record;
  TraceRecordFill(&record, state_.Handle.load(std::memory_order_relaxed));
  ModuleLogger(flags, format, arguments);
  TraceRecordClear(&record);
}

void DebugModule::Log(ULONG flags, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  LogStatement(flags, format, arguments);
  va_end(arguments);
}

void DebugModule::LogWide(ULONG flags, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  LogStatement(flags, format, arguments);
  va_end(arguments);
}
