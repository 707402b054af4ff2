// Design of FIR filters by the window method.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// pTaps = the taps of a linear-phase lowpass: the ideal response sin(2 pi rFreq x) / (pi x) at the
/// distances x from the centre, times a window. tapsLen doubles; pTaps[i] equals pTaps[tapsLen-1-i]
/// to the bit. rFreq: the cutoff as a fraction of the sampling frequency. At a half the response is
/// the limit, which passes everything.
///
/// winType, with c1 and c2 the cosines of 2 pi n / (tapsLen-1) and 4 pi n / (tapsLen-1):
///   0  Bartlett: 0 at both ends, rising in steps of 2 / (tapsLen-1)
///   1  Blackman: (a+1)/2 - c1/2 - a c2/2, a = -(0.5 / cos(pi / (tapsLen-1)))^2, which puts the
///      second tap from each end to 0 as well
///   2  Hamming: 0.54 - 0.46 c1
///   3  Hann: 0.5 - 0.5 c1
///   any other: none
/// The cosines are turned on from tap to tap, from a single one; their error grows with the length:
/// below 1e-12 up to 1,000 taps, 1e-9 at 30,000.
///
/// With doNormal not 0 the taps are divided by the magnitude of their sum, so that they add up to
/// 1, or to -1 where the sum is negative.
///
/// Returns -8 if pTaps is null, then -6 if tapsLen < 5 or rFreq is not within (0, 0.5], then -8 if
/// there is no memory for a table of tapsLen/2 + 1 doubles; nothing is written then.
int32_t ippsFIRGenLowpass_64f(double rFreq, double* pTaps, int32_t tapsLen, int32_t winType,
                              int32_t doNormal);

#ifdef __cplusplus
}
#endif
