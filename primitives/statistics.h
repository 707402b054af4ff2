// Vectors reduced to one or two numbers.
//
// a and b are sources of n elements, result and its like point to one number each; a may be b. A
// refused call leaves all of them as they were. Where nothing else is said, a primitive returns -8
// if a pointer is null, then -6 if n < 1, else 0. Hints are not read.
//
// The order of the additions is part of a result. Sums of floats are formed in double precision and
// rounded to single once, at the end; sums of doubles are rounded at each step.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// The sum of the elements. Of the whole groups of four, the elements at even places form one sum
/// and those at odd places another, in rising order. Single precision: the two sums join, then the
/// 0 to 3 elements behind the groups are added one by one. Double precision: those elements go to
/// the sum of the even places, then the two sums join.
int32_t ippsSum_32f(const float* a, int32_t n, float* result, int32_t hint);
int32_t ippsSum_64f(const double* a, int32_t n, double* result);

/// The exact sum times 2^-scaleFactor, rounded to the nearest integer with ties to even, and
/// saturated. Any scale factor is legal.
int32_t ippsSum_16s_Sfs(const int16_t* a, int32_t n, int16_t* result, int32_t scaleFactor);

/// The sum as ippsSum forms it, divided by n before it is rounded to single precision.
int32_t ippsMean_32f(const float* a, int32_t n, float* result, int32_t hint);
int32_t ippsMean_64f(const double* a, int32_t n, double* result);

/// The sample standard deviation, sqrt((n q - s^2) / (n (n - 1))), with s the sum as ippsSum forms
/// it and q the sum of the squares in the same order, but for one thing: in a group of four, the
/// two squares at even places are added to each other before they go to their sum, and so are those
/// at odd places. 0.0 where rounding makes n q - s^2 negative, or where it is a NaN. Returns -8 if
/// a pointer is null, -6 if n < 2.
int32_t ippsStdDev_32f(const float* a, int32_t n, float* result, int32_t hint);
int32_t ippsStdDev_64f(const double* a, int32_t n, double* result);

/// The sum of a[i] * b[i], in rising order; for integers exact and rounded once.
int32_t ippsDotProd_32f(const float* a, const float* b, int32_t n, float* result);
int32_t ippsDotProd_64f(const double* a, const double* b, int32_t n, double* result);
int32_t ippsDotProd_16s32f(const int16_t* a, const int16_t* b, int32_t n, float* result);

/// The largest element. Of equal ones, zeros of either sign among them, it is the first. A float
/// replaces the largest before it if it compares greater, so that a NaN counts only at place 0, and
/// there to the end.
int32_t ippsMax_16s(const int16_t* a, int32_t n, int16_t* result);
int32_t ippsMax_32f(const float* a, int32_t n, float* result);

/// The smallest element. Of equal ones it is the first. A float replaces the smallest before it
/// unless it compares greater or equal, so that a NaN does, and is replaced by what follows.
int32_t ippsMin_16s(const int16_t* a, int32_t n, int16_t* result);
int32_t ippsMin_32f(const float* a, int32_t n, float* result);

/// As ippsMax and ippsMin, with the place of the element, counted from 0. index may be null.
int32_t ippsMaxIndx_16s(const int16_t* a, int32_t n, int16_t* result, int32_t* index);
int32_t ippsMaxIndx_32f(const float* a, int32_t n, float* result, int32_t* index);
int32_t ippsMinIndx_32f(const float* a, int32_t n, float* result, int32_t* index);

/// ippsMin_32f and ippsMax_32f in one pass.
int32_t ippsMinMax_32f(const float* a, int32_t n, float* minimum, float* maximum);

/// The largest magnitude; 32768 is saturated to 32767.
int32_t ippsMaxAbs_16s(const int16_t* a, int32_t n, int16_t* result);

/// s[i] = the larger of a[i] and s[i], for i in [0, n). s may be a.
int32_t ippsMaxEvery_32s_I(const int32_t* a, int32_t* s, int32_t n);

#ifdef __cplusplus
}
#endif
