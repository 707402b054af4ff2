// Real transforms whose spectra come in the two dense packed forms: N floats for N real points.
// They serve the filters and the correlation, which call them directly, and no slot leads to them.
#pragma once

#include <cstdint>

#include "primitives/types.h"

namespace zr::primitives::px {

// X is the forward transform of N real points, N = 2^order; X[0] and X[N/2] are real.
//
//   Perm: Re X[0], Re X[N/2], then Re X[k], Im X[k] for k in [1, N/2)
//   Pack: Re X[0], then Re X[k], Im X[k] for k in [1, N/2), then Re X[N/2]
//
// With N = 1 both are X[0], with N = 2 both are X[0], X[1]. Perm is what the transform itself
// leaves behind, Pack costs a move of the whole spectrum. The numbers are the same, bit for bit,
// and those of ippsFFTFwd_RToCCS_32f.
//
// pSrc and pDst: N floats each, at any address; they may be the same, partial overlap is not
// supported. The source of a call that is not in place stays as it is. The scaling is that of
// pSpec. pBuffer: as many bytes as ippsFFTGetBufSize_R_32f tells, at any address, or null, when a
// buffer is allocated for the call; nothing is allocated where that size is 0.
//
// Return -8 if pSpec is null, then -17 if it is no record of a real transform, then -8 if pSrc or
// pDst is null, then -9 if a buffer cannot be allocated, else 0. A refused call writes nothing.

/// Forward.
int32_t FFTFwdRToPerm(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer);
int32_t FFTFwdRToPack(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer);

/// Inverse: the N real points, N times as large unless pSpec scales.
int32_t FFTInvPermToR(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer);
int32_t FFTInvPackToR(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer);

}  // namespace zr::primitives::px
