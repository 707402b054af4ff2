// Roots, exponentials, logarithms, and the polar parts of complex numbers, element by element, for
// i in [0, n).
//
// a is a source, d a destination, s a source that is overwritten by the result, n the number of
// elements; a complex element counts as one. d may be a where their elements are of one size;
// partial overlap is not supported. A refused call writes nothing: a primitive returns -8 if a
// pointer is null, then -6 if n < 1, else 0 or the warning that stands with it. Floats are computed
// in double precision and rounded once. "The negative NaN" is 0xffc00000 or 0xfff8000000000000; of
// others, sign and payload are not told.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = sqrt(a); in place s = sqrt(s). A number below 0 gives the negative NaN and the warning 3; so
/// does a NaN, but for ippsSqrt_32f, where it gives +0.0 and no warning. -0.0 gives +0.0 in
/// ippsSqrt_32f, itself in the others.
int32_t ippsSqrt_32f(const float* a, float* d, int32_t n);
int32_t ippsSqrt_64f(const double* a, double* d, int32_t n);
int32_t ippsSqrt_32f_I(float* s, int32_t n);
int32_t ippsSqrt_64f_I(double* s, int32_t n);

/// d = e to the power a; in place s = e to the power s. There is no warning.
///
/// Ordinary elements are taken in groups of four, from the last to the first. They share a division
/// (an approximation by Pade's fraction of degree 3 in single, by a rational one in double
/// precision), whose rounding may tell an element's neighbours in its last bit. In such a vector an
/// element whose result would be subnormal gives 0, in single precision a subnormal element gives
/// 1, and NaNs keep their sign, quiet ones their being NaNs; a signalling NaN counts as an infinity
/// of its sign. The one to three ordinary elements that are left, the lowest, and all elements of a
/// vector of less than four, are computed alone, nearly always correctly rounded, down to subnormal
/// results.
int32_t ippsExp_32f(const float* a, float* d, int32_t n);
int32_t ippsExp_64f(const double* a, double* d, int32_t n);
int32_t ippsExp_32f_I(float* s, int32_t n);
int32_t ippsExp_64f_I(double* s, int32_t n);

/// d = ln(a), nearly always correctly rounded. An element with the sign bit set, -0.0 and NaNs too,
/// gives the negative NaN and the warning 8, +0.0 minus infinity and the warning 7. The first of
/// these elements decides which warning is returned.
int32_t ippsLn_32f(const float* a, float* d, int32_t n);

/// d = sqrt(re re + im im), without overflow or underflow on the way.
int32_t ippsMagn_32fc(const Complex32f* a, float* d, int32_t n);

/// d = the angle of a in radians, from -pi to pi, with the sign of the imaginary part, nearly
/// always correctly rounded: atan2(im, re), signs of zeros and infinities included.
int32_t ippsPhase_32fc(const Complex32f* a, float* d, int32_t n);

/// d = re re + im im.
int32_t ippsPowerSpectr_32fc(const Complex32f* a, float* d, int32_t n);
int32_t ippsPowerSpectr_64fc(const Complex64f* a, double* d, int32_t n);

#ifdef __cplusplus
}
#endif
