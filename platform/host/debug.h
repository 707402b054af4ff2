// Debug output, break points and bug checks, as the driver sees them. What becomes of them on the
// host is set through control/debug_control.h.
#pragma once

#include <cstdarg>

#include "platform/host/types.h"

/// Formats a line and hands it to the sink. Any IRQL.
extern "C" ULONG DbgPrint(PCSTR format, ...) __attribute__((format(printf, 1, 2)));

/// Counts and reports a break point; the program goes on.
extern "C" VOID DbgBreakPoint();

/// Stops the system: prints the code and its parameters and ends the process, unless a test expects
/// the bug check on this thread.
extern "C" [[noreturn]] VOID KeBugCheckEx(ULONG code, ULONG_PTR parameter1, ULONG_PTR parameter2,
                                          ULONG_PTR parameter3, ULONG_PTR parameter4);
