// Conversions between element types, and complex vectors joined, taken apart and conjugated,
// element by element, for i in [0, n).
//
// a is a source, d a destination, s a source that is overwritten by the result, n the number of
// elements; a complex element counts as one. d may be a where their elements are equally wide; no
// other overlap is supported. A refused call writes nothing. Where nothing else is said, a
// primitive returns -8 if a pointer is null, then -6 if n < 1, else 0.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = a, of 32 bits rounded to the nearest float with ties to even.
int32_t ippsConvert_16s32f(const int16_t* a, float* d, int32_t n);
int32_t ippsConvert_32s32f(const int32_t* a, float* d, int32_t n);

/// d = a, rounded to single precision. From 3.4028234663852886e38, the largest float, on upward it
/// is that float; from its negative on downward, and of a NaN, it is the negative.
int32_t ippsConvert_64f32f(const double* a, float* d, int32_t n);

/// d = a * 2^-scaleFactor, exactly. The scale factor is limited to -112 at the low end and 126 at
/// the high end, for doubles to -1008 and 1022.
int32_t ippsConvert_16s32f_Sfs(const int16_t* a, float* d, int32_t n, int32_t scaleFactor);
int32_t ippsConvert_16s64f_Sfs(const int16_t* a, double* d, int32_t n, int32_t scaleFactor);

/// d = a * 2^-scaleFactor, rounded to an integer and saturated to the range of d. roundMode 1
/// rounds to nearest with ties to even, any other truncates toward zero. A NaN gives the lowest
/// integer.
int32_t ippsConvert_32f16s_Sfs(const float* a, int16_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor);
int32_t ippsConvert_32f32s_Sfs(const float* a, int32_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor);

/// d = (re, im), bit by bit. One of re and im may be null, and that part of d is 0. Returns -8 if d
/// is null, then -6 if n < 1, then -8 if both re and im are null.
int32_t ippsRealToCplx_32f(const float* re, const float* im, Complex32f* d, int32_t n);
int32_t ippsRealToCplx_64f(const double* re, const double* im, Complex64f* d, int32_t n);

/// d = the real part of a, bit by bit.
int32_t ippsReal_32fc(const Complex32f* a, float* d, int32_t n);
int32_t ippsReal_64fc(const Complex64f* a, double* d, int32_t n);

/// d = the imaginary part of a, bit by bit.
int32_t ippsImag_32fc(const Complex32f* a, float* d, int32_t n);
int32_t ippsImag_64fc(const Complex64f* a, double* d, int32_t n);

/// d = (re, -im) of a, the sign bit of im inverted: of a zero and of a NaN too. In place: of s.
int32_t ippsConj_32fc(const Complex32f* a, Complex32f* d, int32_t n);
int32_t ippsConj_64fc(const Complex64f* a, Complex64f* d, int32_t n);
int32_t ippsConj_64fc_I(Complex64f* s, int32_t n);

/// d[n-1-i] = (re, -im) of a[i]. d must not overlap a at all.
int32_t ippsConjFlip_64fc(const Complex64f* a, Complex64f* d, int32_t n);

#ifdef __cplusplus
}
#endif
