// Sorting, and the median of a sliding window.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Sorts the n elements of s, smallest first, with every bit kept. Zeros of either sign are equal
/// and stand in no fixed order. NaNs have no order: with them among the elements, the result is
/// some arrangement of the elements.
///
/// A quicksort with a stack of a fixed size: it calls nothing of itself and allocates nothing. Its
/// pivot is the median of three, so that an order that was made for it takes n^2 steps.
/// Returns -8 if s is null, then -6 if n < 1, else 0.
int32_t ippsSortAscend_32f_I(float* s, int32_t n);
int32_t ippsSortAscend_64f_I(double* s, int32_t n);

/// d[i] = the median of the maskSize elements of a around place i, for i in [1, n - 2]; places
/// outside the vector count as its first or its last element. The first and the last element are
/// copied. An even maskSize counts as maskSize - 1.
///
/// a, d: n elements each; d may be a, partial overlap is not supported.
/// Returns -8 if a pointer is null, -6 if n < 1 or maskSize < 1, then -9 if there is no memory,
/// which masks above 6 need: d is then a copy of a. Else 5 if maskSize was even, else 0.
int32_t ippsFilterMedian_16s(const int16_t* a, int16_t* d, int32_t n, int32_t maskSize);

#ifdef __cplusplus
}
#endif
