// Element-wise arithmetic on vectors.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// d[i] = s[i] + d[i], for i in [0, n). s may be d, partial overlap is not supported.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsAdd_32f_I(const float* s, float* d, int32_t n);

/// d[i] = s[i] * c, for i in [0, n). s may be d, partial overlap is not supported.
/// A c of 1.0 or a NaN copies s; a c of 0.0 stores +0.0, whatever s holds, infinities and NaNs too.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsMulC_32f(const float* s, float c, float* d, int32_t n);

/// d[i] = d[i] * c, for i in [0, n), with the same special constants: a c of 1.0 or a NaN leaves d
/// as it is.
/// Returns -8 if the pointer is null, -6 if n < 1.
int32_t ippsMulC_32f_I(float c, float* d, int32_t n);

/// d[i] = s[i] * r with r = 1 / c rounded to single precision, for i in [0, n): two roundings, not
/// one. r acts as the constant of ippsMulC_32f. s may be d, partial overlap is not supported.
/// Returns -8 if a pointer is null, -6 if n < 1, -10 if c is 0.0 or a NaN.
int32_t ippsDivC_32f(const float* s, float c, float* d, int32_t n);

/// d[i] = |s[i]|: the sign bit is cleared, for i in [0, n). s may be d, partial overlap is not
/// supported.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsAbs_32f(const float* s, float* d, int32_t n);

/// d[i] = s[i] * s[i], for i in [0, n). s may be d, partial overlap is not supported.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsSqr_32f(const float* s, float* d, int32_t n);

#ifdef __cplusplus
}
#endif
