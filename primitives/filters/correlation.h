// Cross-correlation of 16-bit signals over a run of lags.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// pDst[n] = the sum of pSrc1[i] * pSrc2[i + lag] over all i at which both signals are there, with
/// lag = lowLag + n, for n in [0, dstLen). The sum is rounded to a float, multiplied by
/// 2^-scaleFactor, rounded to the nearest integer with ties to even, and saturated. A lag without
/// overlap gives 0. Any lowLag is allowed; lags are formed in 64 bits.
///
/// pSrc1: len1 samples; pSrc2: len2 samples; pDst: dstLen samples, which overlap neither source.
/// Either the sums are formed one by one, exactly, or all at once through a Fourier transform in
/// single precision, where dstLen * min(len1, len2) / max(len1, len2), counting only lags with
/// overlap and rounded to an integer, is above 383. The transform's rounding, about 1e-7 of the
/// root of the product of both signals' energies, may change the last bits of a result.
///
/// Returns -8 if a pointer is null, then -6 if a length is below 1; nothing is written then. It
/// allocates memory for the call. Returns -9 if there is none, -15 if the transform would be longer
/// than 2^30 points; of pDst only the lags without overlap are written then. Without any overlap it
/// allocates nothing.
int32_t ippsCrossCorr_16s_Sfs(const int16_t* pSrc1, int32_t len1, const int16_t* pSrc2,
                              int32_t len2, int16_t* pDst, int32_t dstLen, int32_t lowLag,
                              int32_t scaleFactor);

#ifdef __cplusplus
}
#endif
