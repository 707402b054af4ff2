// Allocation, copies, moves, fills and reversals of vectors.
//
// a is a source, d a destination, s a vector that is changed in place, n the number of elements; a
// complex element counts as one. A refused call writes nothing. Where nothing else is said, a
// primitive returns -8 if a pointer is null, then -6 if n < 1, else 0. Elements keep every bit.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Allocate length elements on a 32-byte boundary; contents are undefined. Null if length < 1, if
/// the byte count does not fit the address space, or if there is no memory. Free with ippsFree.
uint8_t* ippsMalloc_8u(int32_t length);
int8_t* ippsMalloc_8s(int32_t length);
int16_t* ippsMalloc_16s(int32_t length);
float* ippsMalloc_32f(int32_t length);
double* ippsMalloc_64f(int32_t length);
Complex32f* ippsMalloc_32fc(int32_t length);
Complex64f* ippsMalloc_64fc(int32_t length);

/// Frees a block of one of the allocators above. Null is ignored.
void ippsFree(void* pointer);

/// d[i] = a[i], for i in [0, n). d may be a; partial overlap is not supported.
int32_t ippsCopy_16s(const int16_t* a, int16_t* d, int32_t n);
int32_t ippsCopy_32f(const float* a, float* d, int32_t n);
int32_t ippsCopy_32fc(const Complex32f* a, Complex32f* d, int32_t n);

/// d[i] = a[i], for i in [0, n), as if through a buffer of its own: the ranges may overlap. The
/// byte distance from d up to a counts in whole elements, rounded down: a d that starts less than
/// an element below a counts as equal to it, and nothing moves.
int32_t ippsMove_16s(const int16_t* a, int16_t* d, int32_t n);
int32_t ippsMove_32f(const float* a, float* d, int32_t n);
int32_t ippsMove_64f(const double* a, double* d, int32_t n);
int32_t ippsMove_64fc(const Complex64f* a, Complex64f* d, int32_t n);

/// d[i] = 0, for i in [0, n), with all bits clear.
int32_t ippsZero_16s(int16_t* d, int32_t n);
int32_t ippsZero_32f(float* d, int32_t n);
int32_t ippsZero_64f(double* d, int32_t n);
int32_t ippsZero_32fc(Complex32f* d, int32_t n);
int32_t ippsZero_64fc(Complex64f* d, int32_t n);

/// d[i] = value, for i in [0, n); complex: d[i] = (re, im). A NaN is stored as it is passed.
int32_t ippsSet_16s(int16_t value, int16_t* d, int32_t n);
int32_t ippsSet_32f(float value, float* d, int32_t n);
int32_t ippsSet_64f(double value, double* d, int32_t n);
int32_t ippsSet_32fc(float re, float im, Complex32f* d, int32_t n);
int32_t ippsSet_64fc(double re, double im, Complex64f* d, int32_t n);

/// s[k] and s[n-1-k] trade places, for k in [0, n/2). The doubles pass through the floating-point
/// unit: a signalling NaN becomes the quiet one of the same sign and payload.
int32_t ippsFlip_32f_I(float* s, int32_t n);
int32_t ippsFlip_64f_I(double* s, int32_t n);

/// The two bytes of s[i] trade places, for i in [0, n).
int32_t ippsSwapBytes_16u_I(uint16_t* s, int32_t n);

#ifdef __cplusplus
}
#endif
