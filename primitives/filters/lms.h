// An adaptive FIR filter by least mean squares: it learns the taps that make a reference out of a
// signal, as an echo canceller learns the room.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Makes the state of a filter. pTaps: tapsLen floats to begin with, the tap of the newest sample
/// first, or null for zeros; they are copied. pDlyLine: the tapsLen samples before the first that
/// will be filtered, as a ring whose oldest sample stands at dlyLineIndex, or null for silence. The
/// oldest takes part in no sum.
/// Returns -8 if state is null, then -6 if tapsLen < 1, then -11 if dlyLineIndex is outside
/// [0, tapsLen), with pDlyLine null too, and writes nothing then; -9 if there is no memory: *state
/// is null then.
int32_t ippsFIRLMSInitAlloc32f_16s(Lms32f16s** state, const float* pTaps, int32_t tapsLen,
                                   const int16_t* pDlyLine, int32_t dlyLineIndex);

/// Filters len samples and adapts the taps after each. For i in [0, len), with x[j] being the
/// sample j places before pSrc[i]:
///   y       = the sum of taps[j] * x[j] over j in [0, tapsLen)
///   pDst[i] = y, limited to 16 bits and truncated toward zero
///   taps[j] = taps[j] + 2 * mu * (pRef[i] - y) * x[j], for all j, rounded to a float
/// The sum starts at the oldest sample; y and the factor of x[j] stay in double precision. The taps
/// follow the error before limits and truncation, also where the output is saturated.
///
/// mu is the step size of the gradient of the squared error, without regard to the power of the
/// signal. Taps converge where mu is above 0 and well below 1 / (tapsLen * mean square of pSrc),
/// which is 3e-10 for 32 taps and a mean square of 10^8; with mu = 0 they stay as they are.
///
/// A stream may come in calls of any lengths. pSrc, pRef, pDst: len samples each. pDst may be pSrc,
/// not pRef; partial overlap is not supported. A state serves one call at a time.
/// Returns -8 if a pointer is null, then -6 if len < 1, then -17 if state is that of another
/// family; nothing is written then. It allocates nothing.
int32_t ippsFIRLMS32f_16s(const int16_t* pSrc, const int16_t* pRef, int16_t* pDst, int32_t len,
                          float mu, Lms32f16s* state);

/// pOutTaps[j] = the tap of the sample j places before the newest, for j in [0, tapsLen).
/// Returns -8 if a pointer is null, then -17 if state is that of another family.
int32_t ippsFIRLMSGetTaps32f_16s(Lms32f16s* state, float* pOutTaps);

/// Frees a state and the taps that it has learnt. Null is ignored, what the state is of is not
/// looked at. Returns 0.
int32_t ippsFIRLMSFree32f_16s(Lms32f16s* state);

#ifdef __cplusplus
}
#endif
