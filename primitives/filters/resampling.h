// Changes of the sampling rate of 16-bit signals: zeros put in and samples left out, and a
// resampler for a fixed ratio of rates with a bank of windowed sinc filters.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Puts zeros between samples: pDst[*pPhase + k * factor] = pSrc[k] for k in [0, srcLen), and every
/// other element of pDst is 0. *pDstLen = factor * srcLen; *pPhase stays as it is.
///
/// pDst: factor * srcLen samples, which must not overlap pSrc, but with factor 1 may be pSrc.
/// Returns -8 if a pointer is null, then -6 if srcLen < 1, -31 if factor < 1, -30 if *pPhase is
/// outside [0, factor), -6 if factor * srcLen is above 2^31 - 1; nothing is written then.
int32_t ippsSampleUp_16s(const int16_t* pSrc, int32_t srcLen, int16_t* pDst, int32_t* pDstLen,
                         int32_t factor, int32_t* pPhase);

/// Keeps every factor-th sample: pDst[k] = pSrc[*pPhase + k * factor], while that is within
/// [0, srcLen). *pDstLen is the number of samples kept, 0 too; *pPhase becomes the place of the
/// next one in what follows pSrc, so that a stream may come in calls of any lengths.
///
/// pDst may be pSrc; no other overlap is supported. Returns -8 if a pointer is null, then -6 if
/// srcLen < 1, -31 if factor < 1, -30 if *pPhase is outside [0, factor); nothing is written then.
int32_t ippsSampleDown_16s(const int16_t* pSrc, int32_t srcLen, int16_t* pDst, int32_t* pDstLen,
                           int32_t factor, int32_t* pPhase);

/// Makes the filters of a resampler from inRate to outRate, in any unit: they are reduced by what
/// they have in common. len is the length of a filter in input samples, rounded up to a multiple of
/// 4; below, half means half of that. rollf: the cutoff as a part of half the lower rate. alpha:
/// the parameter of the Kaiser window; above about 700 it leaves the range of doubles, and the taps
/// are no numbers. hint 2 asks for taps as floats, any other for 16-bit taps with 14 bits of
/// fraction.
///
/// With P the larger of the reduced rates, a tap at a distance of i / outRate input samples is
///   sin(i rollf pi / P) / (i pi / P) * I0(alpha sqrt(1 - (i / end)^2)) / I0(alpha)
/// and rollf for i = 0; end is the integer part of half * outRate + 0.000005 * P. All are scaled so
/// that those at multiples of P have the sum 1, and rounded, as integers with ties away from zero.
/// (J. F. Kaiser, "Nonrecursive digital filter design using the I0-sinh window function", 1974.)
///
/// Returns -8 if state is null, then -6 if inRate, outRate or len is below 1, -5 if rollf is not
/// within (0, 1] or alpha not 1 or more, and writes nothing then; -4 if there is no memory, if the
/// tables would have more than 2^31 - 1 entries, or if the input would move by more than 65535
/// samples between two outputs: *state is null then.
int32_t ippsResamplePolyphaseFixedInitAlloc_16s(Resampler16s** state, int32_t inRate,
                                                int32_t outRate, int32_t len, float rollf,
                                                float alpha, int32_t hint);

/// Resamples from *pTime, a place in pSrc in input samples, up to `len` samples behind its integer
/// part. Places are multiples of 1 / outRate; *pTime counts as the nearest. An output is the sum
/// over the taps around its place, times min(outRate / inRate, 1) * norm, saturated to 16 bits and
/// rounded to the nearest integer, ties away from zero. 16-bit taps are summed exactly, floats in
/// double precision from the oldest sample on.
///
/// The resampler keeps nothing of the signal. It reads from pSrc[I - half] to
/// pSrc[I + len + half - 1], with I the integer part of *pTime, and does not test that the caller
/// has these samples. *pTime becomes the place of the next output; where the run makes no output it
/// stays as it is. The integer part of a time below 0, a place before pSrc, is the integer below
/// it.
///
/// Without a seam, and with the same outputs however the signal arrives, a stream goes on from the
/// integer part of the time that the last run has left:
///
///   double time = half;  // buffer begins with `half` samples of silence, filled counts them
///   while (more samples arrive at buffer + filled, and filled grows) {
///     int32_t len = filled - half - (int32_t)time;
///     if (len < 1) continue;
///     ippsResamplePolyphaseFixed_16s(state, buffer, len, out, 1.0f, &time, &outLen);
///     int32_t done = (int32_t)time - half;
///     if (done > filled) done = filled;
///     memmove(buffer, buffer + done, (filled - done) * sizeof(*buffer));
///     filled -= done;
///     time -= done;
///   }
///
/// pDst: up to 1 + len * outRate / inRate samples, rounded up, which must not overlap what is read
/// of pSrc. *pOutlen is their number. One state may serve any number of streams and threads at
/// once. Returns -8 if a pointer is null, then -6 if len < 1 or there are more than 2^31 - 1
/// outputs; nothing is written then. Whether state is one of a resampler is not tested. It
/// allocates nothing.
int32_t ippsResamplePolyphaseFixed_16s(const Resampler16s* state, const int16_t* pSrc, int32_t len,
                                       int16_t* pDst, float norm, double* pTime, int32_t* pOutlen);

/// Frees the state of a resampler; what it is of is not tested. Returns -8 if it is null.
int32_t ippsResamplePolyphaseFixedFree_16s(Resampler16s* state);

#ifdef __cplusplus
}
#endif
