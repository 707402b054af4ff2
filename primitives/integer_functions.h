// Levels, roots and powers of vectors of integers, element by element, for i in [0, n).
//
// a is a source, d a destination, s a source that is overwritten by the result, n the number of
// elements; a complex element counts as one. Results are scaled by 2^-scaleFactor and saturated;
// any scale factor is legal.
//
// d may be a where it has its type; partial overlap is not supported. A refused call writes
// nothing: a primitive returns -8 if a pointer is null, then -6 if n < 1. Elements outside the
// domain of a function do not stop it; the call ends with a positive warning, else with 0.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = 10 log10(a) * 2^-scaleFactor, a level in decibels.
///
/// At scale factors from 0 on the level is read from a staircase and shifted right: 0, 3, 5, 6, 7,
/// 8, 9, 9 for 1 to 8, 10 up to 14, then the even level v above the integer part of
/// 10^((v - 0.5) / 10), and 93 above 1778279410.
/// Below 0 it is computed in double precision, from left to right as log(a) * 0.4342944819032518 *
/// 10.0 * 2^-scaleFactor + 0.5, and cut; above 2147483647.0 it is 2147483647.
///
/// An element at or below 0 gives -2147483648. The first of these decides the warning: 7 if it is
/// 0, 8 if it is negative.
int32_t ippsTenLogTen_32s_Sfs(const int32_t* a, int32_t* d, int32_t n, int32_t scaleFactor);

/// d = sqrt(a) * 2^-scaleFactor, in place s likewise, rounded to the nearest integer with ties to
/// even: the exact root decides. Returns 3 if an element was negative; it gives 0.
int32_t ippsSqrt_16s_ISfs(int16_t* s, int32_t n, int32_t scaleFactor);
int32_t ippsSqrt_64s_Sfs(const int64_t* a, int64_t* d, int32_t n, int32_t scaleFactor);

/// d = (re^2 + im^2) * 2^-scaleFactor, each operation in double precision, cut to an integer.
int32_t ippsPowerSpectr_32sc_Sfs(const Complex32s* a, int32_t* d, int32_t n, int32_t scaleFactor);

#ifdef __cplusplus
}
#endif
