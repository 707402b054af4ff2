// Powers and exponentials of vectors of doubles, accurate to barely more than half a unit of the
// last bit, for i in [0, n).
//
// a and b are sources, d is a destination, n the number of elements. d may be a or b; partial
// overlap is not supported. A primitive returns -6 if n < 1, then -8 if a pointer is null, and has
// written nothing then; else the code of the last exceptional element, 0 if there was none:
//
//   12  overflow; the processor's overflow flag is raised
//   17  underflow; the underflow flag is raised
//   19  an argument outside the domain; the invalid flag is raised
//
// Of a NaN, sign and payload are not told. The functions count on rounding to nearest, and on the
// x87 on a precision of 53 bits.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = e to the power a. Above 709.782712893384 plus infinity and 12, below -745.1332191019412 0
/// and 17; between them a result below the normal doubles is subnormal, without a code. The
/// infinities give plus infinity and 0, without a code, a NaN gives a NaN.
int32_t ippsExpAccurate_64f(const double* a, double* d, int32_t n);

/// d = a to the power b. A finite power beyond the range of doubles is infinite or 0, without a
/// code; the 0 is +0.0 if the power was 2^-1084 or more. What comes first in this list holds;
/// "signed" is negative for a negative a, -0 included, and an odd integer b:
///
///   b = 0, or a = 1                       1, for a NaN too
///   a = -1, b infinite or a NaN           1
///   a or b a NaN                          a NaN
///   b infinite                            infinite or 0; infinite and 19 for a = 0
///   a infinite                            infinite for b > 0, 0 for b < 0, signed
///   a = 0                                 0 for b > 0, infinite and 19 for b < 0, signed
///   a < 0, b not an integer               the NaN 0xfff8000000000000, and 19
///   all others                            the power of |a|, signed
int32_t ippsPow_64f(const double* a, const double* b, double* d, int32_t n);

#ifdef __cplusplus
}
#endif
