// Conversions between sample types, and reversal.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Reverses d in place: d[k] and d[n-1-k] trade places as 32-bit words, so that no value changes,
/// NaNs included.
/// Returns -8 if the pointer is null, -6 if n < 1.
int32_t ippsFlip_32f_I(float* d, int32_t n);

/// d[i] = s[i] * 2^-scaleFactor, rounded to single precision, for i in [0, n). The scale factor is
/// limited to -112 at the low end and 126 at the high end. The ranges must not overlap.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsConvert_16s32f_Sfs(const int16_t* s, float* d, int32_t n, int32_t scaleFactor);

/// d[i] = s[i] * 2^-scaleFactor, rounded to an integer and saturated to -32768 and 32767, for i in
/// [0, n). roundMode 1 rounds to nearest with ties to even, any other truncates toward zero. A NaN
/// gives -32768. The ranges must not overlap.
/// Returns -8 if a pointer is null, -6 if n < 1.
int32_t ippsConvert_32f16s_Sfs(const float* s, int16_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor);

#ifdef __cplusplus
}
#endif
