// The driver's one output for diagnostics. A statement belongs to a module, becomes one line of
// text, and goes to the debugger as far as the module's level and enable word let it, and to the
// debug sink of the hook table.
//
//   g_DeviceLog.Log(3, "CDevice::Init> status is 0x%lx!\n", LogWord(status));
//
// A statement allocates nothing, cannot fail the operation that it stands in, takes no lock of the
// driver, and may run at up to DISPATCH_LEVEL with spin locks held; only one with wide text needs
// PASSIVE_LEVEL.
#pragma once

#include <atomic>
#include <cstdarg>

#include "platform/kernel.h"

/// Bits of the flags word; the low four bits are the level of the line.
inline constexpr ULONG kLogLevelMask = 0x0000000F;
inline constexpr ULONG kLogDrop = 0x00800000;          ///< Nothing happens at all.
inline constexpr ULONG kLogDebuggerOnly = 0x01000000;  ///< Not for the sink.
inline constexpr ULONG kLogWarning = 0x04000000;
inline constexpr ULONG kLogError = 0x08000000;
inline constexpr ULONG kLogRaw = 0x20000000;         ///< The message alone, no prefix.
inline constexpr ULONG kLogPrefixMark = 0x40000000;  ///< The line begins with "'".
inline constexpr ULONG kLogBreak = 0x80000000;       ///< A break point behind the debugger's line.

/// A line with its terminator; longer ones are cut.
inline constexpr SIZE_T kLogLineSize = 512;

/// What the messages call by a name is not told: the driver has no table of such names.
inline constexpr const char* kNoLogName = "NO STRING! USE DEBUG VERSION!";

/// Arguments of the messages' %lx, which is as wide as a pointer in every build.
inline unsigned long LogWord(NTSTATUS status) {
  return static_cast<ULONG>(status);
}
inline unsigned long LogWord(ULONG value) {
  return value;
}
inline unsigned long LogWord(const volatile void* pointer) {
  return static_cast<unsigned long>(reinterpret_cast<ULONG_PTR>(pointer));
}

/// What is known of a module. One for each, global, no lock; a statement may see an old value.
struct DbgModuleState {
  std::atomic<LONG> Handle;   ///< Index in the service's module table, -1 if that was full.
  std::atomic<ULONG> Level;   ///< Low four bits: the highest level that reaches the debugger.
  std::atomic<ULONG> Enable;  ///< 0 at load: nothing reaches the debugger.
};

/// Builds the line and hands it to the debugger and the sink.
void DbgPrintLine(const char* driverTag, const char* moduleTag, ULONG enable, ULONG level,
                  ULONG flags, const char* format, va_list arguments);

/// A module with log statements.
class DebugModule {
 public:
  constexpr explicit DebugModule(const char* tag) : tag_(tag), state_{} {}

  const char* Tag() const { return tag_; }
  DbgModuleState& State() { return state_; }

  /// One statement: leaves its trace record on the stack, logs, clears the record.
  void Log(ULONG flags, const char* format, ...) __attribute__((format(printf, 3, 4)));

  /// The same for messages with wide text (%S), which the compiler cannot check.
  void LogWide(ULONG flags, const char* format, ...);

 private:
  void LogStatement(ULONG flags, const char* format, va_list arguments);
  void ModuleLogger(ULONG flags, const char* format, va_list arguments);

  const char* const tag_;
  DbgModuleState state_;
};

inline constexpr const char* kDriverTag = "ZRPOPFLT";

/// The modules, in the order of their registration.
extern DebugModule g_DrvMainLog;
extern DebugModule g_DeviceLog;
extern DebugModule g_ZDebugLog;
extern DebugModule g_RegistryLog;
extern DebugModule g_OSDepLog;
extern DebugModule g_USBIrpsLog;
