// Arithmetic on vectors of integers with saturation, element by element, for i in [0, n).
//
// a and b are sources, d is a destination, s a source that is overwritten by the result, c a
// constant, n the number of elements; a complex element counts as one. A difference has its
// subtrahend first, a quotient its divisor.
//
// With a scale factor, what is stored is the exact result times 2^-scaleFactor, rounded to the
// nearest integer with ties to even, and saturated; without one, the exact result, saturated. Any
// scale factor is legal: from some on all results are 0, and below some all but 0 are saturated.
//
// d may be a or b where it has their type; partial overlap is not supported. A refused call writes
// nothing. Where nothing else is said, a primitive returns -8 if a pointer is null, then -6 if
// n < 1, else 0.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = a + b; in place s = s + a.
int32_t ippsAdd_16s(const int16_t* a, const int16_t* b, int16_t* d, int32_t n);
int32_t ippsAdd_16s_I(const int16_t* a, int16_t* s, int32_t n);
int32_t ippsAdd_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor);

/// d = a + c.
int32_t ippsAddC_32s_Sfs(const int32_t* a, int32_t c, int32_t* d, int32_t n, int32_t scaleFactor);

/// d = b - a.
int32_t ippsSub_16s(const int16_t* a, const int16_t* b, int16_t* d, int32_t n);

/// d = a - c.
int32_t ippsSubC_16s_Sfs(const int16_t* a, int16_t c, int16_t* d, int32_t n, int32_t scaleFactor);

/// d = a * b; in place s = s * a. With complex numbers: a times either part of b; d may be b.
int32_t ippsMul_16s_Sfs(const int16_t* a, const int16_t* b, int16_t* d, int32_t n,
                        int32_t scaleFactor);
int32_t ippsMul_16s_ISfs(const int16_t* a, int16_t* s, int32_t n, int32_t scaleFactor);
int32_t ippsMul_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor);
int32_t ippsMul_32s32sc_Sfs(const int32_t* a, const Complex32s* b, Complex32s* d, int32_t n,
                            int32_t scaleFactor);

/// d = a * c.
int32_t ippsMulC_32s_Sfs(const int32_t* a, int32_t c, int32_t* d, int32_t n, int32_t scaleFactor);

/// d = b / a. The scaled quotient is rounded to double precision before it is rounded to an
/// integer, so that one with more than 53 bits can become a tie. Where a is 0, at any scale factor:
/// 0 if b is 0, else the end of the range on the side of b. Returns 6 if a divisor was 0.
int32_t ippsDiv_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor);

/// s = |s|; -32768 becomes 32767.
int32_t ippsAbs_16s_I(int16_t* s, int32_t n);

/// s = s * 2^shift, cut to its 16 low bits without saturation; 0 from a shift of 16 on. Returns
/// -32, behind -8 and -6, if shift < 0.
int32_t ippsLShiftC_16s_I(int32_t shift, int16_t* s, int32_t n);

/// d = a * 2^-shift, rounded down; in place s likewise. From a shift of 15 on 0, or -1 where the
/// element is negative. Returns -32, behind -8 and -6, if shift < 0.
int32_t ippsRShiftC_16s(const int16_t* a, int32_t shift, int16_t* d, int32_t n);
int32_t ippsRShiftC_16s_I(int32_t shift, int16_t* s, int32_t n);

#ifdef __cplusplus
}
#endif
