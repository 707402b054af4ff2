// A streaming IIR filter in transposed direct form: coefficients in single precision, 16-bit
// samples in and out.
//
// The filter of order N is y[n] = (b[0] x[n] + ... + b[N] x[n-N] - a[1] y[n-1] - ... - a[N] y[n-N])
// / a[0]. It runs by N delay elements, floats that its state holds:
//   y    = b[0] * x + d[0]
//   d[k] = b[k+1] * x - a[k+1] * y + d[k+1], for k in [0, N), with d[N] = 0
//
// Of the kinds of states, 32f_16s and 32s_16s hold the same floats and do the same; 32f, for data
// in floats, can be made and freed, not run. A state of one kind is refused by the primitives of
// another.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Make the state of a filter. pTaps: 2 * order + 2 floats, b[0] to b[order] and a[0] to a[order];
/// each is multiplied by 1 / a[0] and stored as a float. pDlyLine: the order delay elements to
/// begin with, or null for zeros.
/// Return -8 if state or pTaps is null, then -25 if order < 0, and write nothing then; -9 if there
/// is no memory: *state is null then; -10 if a[0] is 0: *state is then a state that has to be
/// freed, and whose outputs are those of its delay elements.
int32_t ippsIIRInitAlloc32f_16s(Iir32f16s** state, const float* pTaps, int32_t order,
                                const float* pDlyLine);
int32_t ippsIIRInitAlloc32s_16s32f(Iir32s16s** state, const float* pTaps, int32_t order,
                                   const float* pDlyLine);
int32_t ippsIIRInitAlloc_32f(Iir32f** state, const float* pTaps, int32_t order,
                             const float* pDlyLine);

/// Sets the delay elements to the order floats of pDlyLine, or to zeros if it is null: silence.
/// Returns -8 if state is null, -17 if it is of another kind.
int32_t ippsIIRSetDlyLine32f_16s(Iir32f16s* state, const float* pDlyLine);

/// Filter len samples. An output is y * 2^-scaleFactor, saturated and rounded to the nearest
/// integer, ties away from zero; the filter itself runs on the y that is neither scaled nor
/// rounded. Scale factors count modulo 128, and those that are 127 modulo 128 and not negative
/// make every output 0.
///
/// Up to order 1 the delay elements are rounded to floats after each sample. From order 2 on the
/// samples of a call are taken in pairs, and an odd last one for itself; y stays in double
/// precision, and the delay elements are rounded once for a pair x0, x1:
///   y0   = b[0] * x0 + d[0]
///   y1   = b[0] * x1 + (b[1] * x0 - a[1] * y0 + d[1])
///   d[k] = b[k+1] * x1 - a[k+1] * y1 + b[k+2] * x0 - a[k+2] * y0 + d[k+2]
/// So a stream that is cut into calls of even lengths is the whole stream to the bit; where it is
/// cut at an odd place, delay elements differ in the last bits of a float.
///
/// pDst may be pSrc; partial overlap is not supported. A state serves one call at a time.
/// Return -8 if a pointer is null, then -6 if len < 1, then -17 if state is of another kind;
/// nothing is written then. They allocate nothing.
int32_t ippsIIR32f_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, Iir32f16s* state,
                           int32_t scaleFactor);
int32_t ippsIIR32f_16s_ISfs(int16_t* pSrcDst, int32_t len, Iir32f16s* state, int32_t scaleFactor);
int32_t ippsIIR32s_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, Iir32s16s* state,
                           int32_t scaleFactor);

/// Free a state. Return -8 if it is null, -17 if it is of another kind.
int32_t ippsIIRFree32f_16s(Iir32f16s* state);
int32_t ippsIIRFree32s_16s(Iir32s16s* state);
int32_t ippsIIRFree_32f(Iir32f* state);

#ifdef __cplusplus
}
#endif
