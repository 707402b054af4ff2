// The published kernel headers, and what they lack for C++20.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cwchar>

// Not extern "C": the headers of the C++ library that they draw in are not made for it.
#include <intrin.h>

extern "C" {
// The headers define two operations that the compiler's intrinsics have already.
#define InterlockedBitTestAndSet InterlockedBitTestAndSetOfKernel
#define InterlockedBitTestAndReset InterlockedBitTestAndResetOfKernel
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset
#include <usb.h>
#include <usbdlib.h>
#include <usbioctl.h>
}

/// The kernel's, which takes no size; the headers have that of user mode under its name.
extern "C" int KernelSwprintf(WCHAR* destination, const WCHAR* format, ...) asm("_swprintf");
#define swprintf KernelSwprintf

/// In front of a definition: code that is discarded after the load, or that runs at PASSIVE_LEVEL
/// and may be paged out. All other code is resident.
#define DISCARDABLE_CODE __attribute__((section("INIT")))
#define PAGEABLE_CODE __attribute__((section("PAGE")))

/// A literal of WCHARs.
#define WIDE_TEXT(literal) L##literal
