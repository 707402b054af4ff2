// A streaming FIR filter: taps in single precision, 16-bit samples in and out.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Makes the state of a filter. pTaps: tapsLen floats, copied. pDlyLine: the tapsLen samples before
/// the first that will be filtered, newest first, or null for silence. With 64 taps or more the
/// state holds a Fourier transform of twice the smallest power of two above tapsLen points.
/// Returns -8 if state or pTaps is null, then -26 if tapsLen < 1, and writes nothing then; -9 if
/// there is no memory, -15 if the transform would be longer than 2^30 points: *state is null then.
int32_t ippsFIRInitAlloc32f_16s(Fir32f16s** state, const float* pTaps, int32_t tapsLen,
                                const int16_t* pDlyLine);

/// Sets the delay line to the tapsLen samples of pDlyLine, newest first, or to silence if it is
/// null. Returns -8 if state is null, -17 if it is the state of another family.
int32_t ippsFIRSetDlyLine32f_16s(Fir32f16s* state, const int16_t* pDlyLine);

/// pDst[n] = the sum of taps[j] * x[n-j] over j in [0, tapsLen), for n in [0, numIters), where x is
/// pSrc and, before it, the delay line. The sum is rounded to a float, multiplied by
/// 2^-scaleFactor, rounded to the nearest integer with ties to even, and saturated.
///
/// A stream may come in calls of any lengths. Calls of 512 samples or more go through the Fourier
/// transform where the state holds one, by overlap-save; all others are convolved directly, with
/// sums in double precision that start at the oldest sample. The ways differ by the rounding of the
/// transform, about 1e-7 of the largest sums, which may change the last bit of a sample.
///
/// pSrc, pDst: numIters samples each. They must not overlap: samples are read again when outputs
/// have been written, so that pDst may not be pSrc. A state serves one call at a time.
/// Returns -8 if a pointer is null, then -6 if numIters < 1, then -17 if state is that of another
/// family; nothing is written then. It allocates nothing.
int32_t ippsFIR32f_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t numIters, Fir32f16s* state,
                           int32_t scaleFactor);

/// Frees a state. Returns -8 if it is null, -17 if it is the state of another family.
int32_t ippsFIRFree32f_16s(Fir32f16s* state);

#ifdef __cplusplus
}
#endif
