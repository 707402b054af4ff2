// A two-band filter bank as a stream, the step that discrete wavelet transforms are made of: a
// 16-bit signal is split into a low and a high band at half its rate, and two such bands are joined
// into a signal. The taps are the caller's; no wavelet is built in.
//
// Each band has taps t[0] to t[len-1] and an offset offs. A stream may come in calls of any
// lengths: sample and output numbers count from its start, and all that was before it is 0. Sums
// are formed in double precision, from the oldest sample on, and rounded once to a float. What has
// passed cannot be taken back: another stream takes another state. A state serves one call at a
// time.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Make the state of a stream. pTapsLow: lenLow floats, pTapsHigh: lenHigh floats, copied.
/// Return -8 if state or pTapsLow is null, then -6 if lenLow < 1, -8 if pTapsHigh is null, -6 if
/// lenHigh < 1, -35 if offsLow or offsHigh is below -1, and write nothing then; -9 if there is no
/// memory: *state is null then.
int32_t ippsWTFwdInitAlloc_16s32f(WaveletForward16s** state, const float* pTapsLow, int32_t lenLow,
                                  int32_t offsLow, const float* pTapsHigh, int32_t lenHigh,
                                  int32_t offsHigh);
int32_t ippsWTInvInitAlloc_32f16s(WaveletInverse16s** state, const float* pTapsLow, int32_t lenLow,
                                  int32_t offsLow, const float* pTapsHigh, int32_t lenHigh,
                                  int32_t offsHigh);

/// Splits 2 * dstLen samples x into dstLen values of each band:
///   y[k] = the sum of t[j] * x[2k - offs - j] over j in [0, len)
/// With offs -1 an output looks ahead by one sample.
///
/// pSrc: 2 * dstLen samples; pDstLow, pDstHigh: dstLen floats each. None may overlap another.
/// Returns -8 if state is null, then -17 if it is no such state or is damaged, -8 if another
/// pointer is null, -6 if dstLen < 1; nothing is written then. It allocates nothing.
int32_t ippsWTFwd_16s32f(const int16_t* pSrc, float* pDstLow, float* pDstHigh, int32_t dstLen,
                         WaveletForward16s* state);

/// Joins srcLen values of each band into 2 * srcLen samples. A band s is spread to u, with
/// u[2k] = s[k] and u[2k+1] = 0, and filtered:
///   z[m] = the sum of t[j] * u[m - delay - j] over j in [0, len)
/// Here delay is offs, and 1 where offs is -1: it is no look-ahead as in the other direction. The
/// low band's z is rounded to a float, the high band's is added and the sum rounded to a float,
/// and that to the nearest integer with ties to even, saturated to 16 bits.
///
/// pSrcLow, pSrcHigh: srcLen floats each; pDst: 2 * srcLen samples. pDst may overlap neither band.
/// Returns -8 if state is null, then -17 if it is no such state or is damaged, -8 if pSrcLow or
/// pSrcHigh is null, -6 if srcLen < 1, -8 if pDst is null; nothing is written then. It allocates
/// nothing.
int32_t ippsWTInv_32f16s(const float* pSrcLow, const float* pSrcHigh, int32_t srcLen, int16_t* pDst,
                         WaveletInverse16s* state);

/// Free a state. Return -8 if it is null, -17 if it is no such state or is damaged.
int32_t ippsWTFwdFree_16s32f(WaveletForward16s* state);
int32_t ippsWTInvFree_32f16s(WaveletInverse16s* state);

#ifdef __cplusplus
}
#endif
