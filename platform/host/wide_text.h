// The C library's operations on 16-bit strings, which on this host would take another wchar_t. The
// kernel brings them under these names, whether or not they are reserved here.
#pragma once

#include <cstdarg>

#include "platform/host/types.h"

// NOLINTBEGIN(bugprone-reserved-identifier)

WCHAR* wcscpy(WCHAR* destination, const WCHAR* source);
WCHAR* wcscat(WCHAR* destination, const WCHAR* source);
SIZE_T wcslen(const WCHAR* text);
WCHAR* wcsstr(WCHAR* text, const WCHAR* wanted);
const WCHAR* wcsstr(const WCHAR* text, const WCHAR* wanted);

/// Upper-cases the letters a to z in place and gives the string back.
WCHAR* _wcsupr(WCHAR* text);

/// Knows %s, which is a WCHAR string here, and %%.
int swprintf(WCHAR* destination, const WCHAR* format, ...);

/// The kernel's printf formats: %s for 8-bit strings, %S for WCHAR strings, the integer formats
/// (%lx is as wide as a pointer, as on the 32-bit system), and %%. An unknown conversion is a bug
/// check, and so is %S above PASSIVE_LEVEL. Writes at most `size` bytes with the terminator and
/// gives the length written, or -1 if the text was cut.
int _vsnprintf(char* destination, SIZE_T size, const char* format, va_list arguments);
int _snprintf(char* destination, SIZE_T size, const char* format, ...);
// NOLINTEND(bugprone-reserved-identifier)
