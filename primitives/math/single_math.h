// Elementary functions of vectors of floats, element by element, for i in [0, n).
//
// a and b are sources, d is a destination, n the number of elements. d may be a or b; partial
// overlap is not supported. Every element is computed, in double precision, and rounded once. A
// primitive returns -6 if n < 1, then -8 if a pointer is null, and has written nothing then; else
// the code of the last exceptional element, 0 if there was none:
//
//   18  a singularity; the processor's zero-divide flag is raised
//   19  an argument outside the domain; the invalid flag is raised
//
// A NaN gives a NaN and no code. A NaN that a domain error makes is 0xffc00000, other NaNs' signs
// and payloads are not told. The functions count on rounding to nearest, and on the x87 on 53 bits
// or more; where that is not enough, they set it and put back what they found.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = sin(a), d = cos(a), d = tan(a), a in radians. Up to a magnitude of 1000000, 500000 and
/// 128000 the angle is reduced in two parts and a short polynomial taken; beyond, the result is
/// that of double precision, with a reduction that is right for every finite number, rounded.
/// Returns 19 for an infinite element.
int32_t ippsSin_32f(const float* a, float* d, int32_t n);
int32_t ippsCos_32f(const float* a, float* d, int32_t n);
int32_t ippsTan_32f(const float* a, float* d, int32_t n);

/// d = log10(a), nearly always correctly rounded. 0 of either sign gives minus infinity and 18, an
/// element below 0 the NaN and 19, plus infinity itself.
int32_t ippsLog10_32f(const float* a, float* d, int32_t n);

/// d = a to the power b. Pow is fast: its logarithm has an absolute error of about 2^-38, which the
/// exponent multiplies. PowAccurate is nearly always correctly rounded. Beyond a float's range a
/// power is infinite or 0, without a code. What comes first in this list holds; "signed" is
/// negative for a negative a, -0 included, and an odd integer b:
///
///   b = 0, or a = 1                        1, for a NaN too
///   b = 1                                  a
///   b or a a NaN                           that NaN
///   a infinite, or a = 0 and b > 0         infinite or 0, signed
///   a = 0, b < 0                           infinite, signed, and 19
///   b infinite                             1 for |a| = 1, else infinite or 0
///   a < 0, b = -1                          1 / a
///   a < 0, b not an integer                the NaN, and 19
///   a < 0                                  the power of |a|, signed
int32_t ippsPow_32f(const float* a, const float* b, float* d, int32_t n);
int32_t ippsPowAccurate_32f(const float* a, const float* b, float* d, int32_t n);

#ifdef __cplusplus
}
#endif
