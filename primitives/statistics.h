// Reductions: sums over one or two vectors.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// *result = sum of a[i] * b[i] for i rising from 0 to n-1, kept in double precision and rounded
/// once to single precision. a may be b.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsDotProd_32f(const float* a, const float* b, int32_t n, float* result);

/// *result = the sample standard deviation of s, sqrt((n q - s1^2) / (n (n-1))) with s1 the sum and
/// q the sum of squares in double precision, rounded once to single precision; 0.0 where rounding
/// makes the numerator negative, or where it is a NaN. The hint is not read.
/// Returns -8 if a pointer is null, -6 if n < 2.
int32_t ippsStdDev_32f(const float* s, int32_t n, float* result, int32_t hint);

#ifdef __cplusplus
}
#endif
