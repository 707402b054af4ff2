// Fourier transforms of N = 2^order points, order from 0 to 30.
//
// Forward: y[k] = sum of x[n] exp(-2 pi i n k / N) over n; inverse: the same with the sign turned.
// A record holds the order, the scaling and all tables; transforms only read it, so that any number
// of threads may use one at once, each with its own work buffer.
//
// Unless told otherwise a refused call writes nothing. Vectors may stand at any address. The
// results of calls in place and apart, with a buffer and without, are the same, bit for bit.
// Butterflies run in double precision, and each number is rounded once when it is stored.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// What a record multiplies by: the forward transform, the inverse, both, neither.
enum {
  FFT_DIV_FWD_BY_N = 1,  ///< The forward transform by 1 / N.
  FFT_DIV_INV_BY_N = 2,  ///< The inverse transform by 1 / N.
  FFT_DIV_BY_SQRTN = 4,  ///< Both by one over the square root of N.
  FFT_NODIV_BY_ANY = 8,  ///< Neither: forward and inverse give N times the input.
};

/// Make the record of a complex transform of 2^order points, or of a real one of 2^order real
/// points. flag is one of the four above; hint is stored and has no effect.
/// Return -8 if ppSpec is null, -15 if order is not within [0, 30], -16 if flag is none of the
/// four, -9 if there is no memory or a table has 2^31 bytes or more (complex: from order 28 on, in
/// double precision 27; real: from order 29 on), else 0. The record's own memory is asked for ahead
/// of the test of flag. A call that fails leaves nothing allocated and *ppSpec as it was.
int32_t ippsFFTInitAlloc_C_32fc(ComplexFft32f** ppSpec, int32_t order, int32_t flag, int32_t hint);
int32_t ippsFFTInitAlloc_R_32f(RealFft32f** ppSpec, int32_t order, int32_t flag, int32_t hint);
int32_t ippsFFTInitAlloc_C_64fc(ComplexFft64f** ppSpec, int32_t order, int32_t flag, int32_t hint);

/// Free a record. Return -8 if it is null, -17 if it is one of another kind, which is kept, else 0.
int32_t ippsFFTFree_C_32fc(ComplexFft32f* pSpec);
int32_t ippsFFTFree_R_32f(RealFft32f* pSpec);
int32_t ippsFFTFree_C_64fc(ComplexFft64f* pSpec);

/// *pSize = the bytes of work buffer that a transform needs: 0 up to 1,024 complex points (2,048
/// real ones). Return -8 if a pointer is null, -17 if the record is one of another kind, else 0.
int32_t ippsFFTGetBufSize_C_32fc(const ComplexFft32f* pSpec, int32_t* pSize);
int32_t ippsFFTGetBufSize_R_32f(const RealFft32f* pSpec, int32_t* pSize);

/// Complex transforms, N elements to N elements. pDst may be pSrc; partial overlap is not
/// supported. pBuffer: a work buffer of the record's size (double precision: as below), or null,
/// when one is allocated for the call. Where that size is 0, pBuffer is not looked at and nothing
/// is allocated. Return -8 if pSpec is null, -17 if it is one of another kind, -8 if pSrc or pDst
/// is null, -9 if a buffer cannot be allocated, else 0.
int32_t ippsFFTFwd_CToC_32fc(const Complex32f* pSrc, Complex32f* pDst, const ComplexFft32f* pSpec,
                             uint8_t* pBuffer);
int32_t ippsFFTInv_CToC_32fc(const Complex32f* pSrc, Complex32f* pDst, const ComplexFft32f* pSpec,
                             uint8_t* pBuffer);

/// In double precision there is no query of the buffer's size and no inverse. Orders up to 9 need
/// no buffer, orders 10 and 11 need 16 bytes, larger ones 32,784 at most.
int32_t ippsFFTFwd_CToC_64fc(const Complex64f* pSrc, Complex64f* pDst, const ComplexFft64f* pSpec,
                             uint8_t* pBuffer);

/// Real transforms: N real points and the N + 2 floats Re X[0], 0, Re X[1], Im X[1], ... Re X[N/2],
/// 0 of half their spectrum X (with N = 1 the two floats X[0], 0). The inverse does not read the
/// two zeros, and without scaling gives N times the points. pDst may be pSrc, which then holds the
/// larger of the two; partial overlap is not supported. What lies behind the N points of an inverse
/// in place is kept, and so is the source of one that is not in place. pBuffer and statuses as in
/// the complex transforms.
int32_t ippsFFTFwd_RToCCS_32f(const float* pSrc, float* pDst, const RealFft32f* pSpec,
                              uint8_t* pBuffer);
int32_t ippsFFTInv_CCSToR_32f(const float* pSrc, float* pDst, const RealFft32f* pSpec,
                              uint8_t* pBuffer);

#ifdef __cplusplus
}
#endif
