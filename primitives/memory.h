// Allocation, copies and fills.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Allocate length elements on a 32-byte boundary; contents are undefined. Null if length < 1, if
/// the byte count does not fit the address space, or if there is no memory. Free with ippsFree.
uint8_t* ippsMalloc_8u(int32_t length);
int16_t* ippsMalloc_16s(int32_t length);
float* ippsMalloc_32f(int32_t length);

/// Frees a block of one of the allocators above. Null is ignored.
void ippsFree(void* pointer);

/// d[i] = s[i], for i in [0, n). The ranges must not overlap.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsCopy_16s(const int16_t* s, int16_t* d, int32_t n);
int32_t ippsCopy_32f(const float* s, float* d, int32_t n);

/// d[i] = s[i], for i in [0, n), as if through a buffer of its own: the ranges may overlap. The
/// byte distance from d to s counts halved and rounded down: a d that starts one byte below s
/// counts as equal to it, and nothing moves. Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsMove_16s(const int16_t* s, int16_t* d, int32_t n);

/// d[i] = +0.0, for i in [0, n).
/// Returns -8 if the pointer is null, -6 if n < 1.
int32_t ippsZero_32f(float* d, int32_t n);

#ifdef __cplusplus
}
#endif
