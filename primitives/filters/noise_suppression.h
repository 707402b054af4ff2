// Blocks of a speech noise suppressor that works on spectra, in 32-bit fixed point: a tracker of
// the noise's power, and two rules for the gain of each bin. The caller brings frames, a transform
// and the ratios. Qn is a number with n fractional bits.
//
// For each frame: the power spectrum goes to the tracker; power over noise is the posterior ratio,
// and the prior ratio is smoothed from it; the Wiener gains of the prior ratios, or the Ephraim-
// Malah gains of both, multiply the spectrum before it is transformed back.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// *size = the bytes of a tracker for frames of nFFT samples: 16 * (nFFT / 2) + 84.
/// Returns -8 if size is null, then -6 if nFFT is outside [8, 8192], and writes nothing then.
int32_t ippsGetSizeMCRA_32s(int32_t nFFT, int32_t* size);

/// Prepares a tracker in the caller's memory, as many bytes as ippsGetSizeMCRA_32s tells, at any
/// address. nFFT: samples in a frame, not necessarily a power of two; the next frame begins
/// nFFT / 2 samples later. samplingRate in Hz. There is nothing to free, and a tracker that is
/// prepared again begins anew with its next frame.
///
/// Averages decay by constant factors for each 8 ms: the noise by 0.7, the noisy power by 0.8, the
/// probability of speech by 0.2. The factor of a hop is a power series of third order, meant for
/// hops near 8 ms: that of the noise is 2 % off at 16 ms and less than half of what it should be at
/// 32 ms; beyond, it turns negative and wraps around. Such trackers are accepted, and useless.
/// Returns -8 if state is null, then -7 if samplingRate is outside [8000, 48000], -6 if nFFT is
/// outside [8, 8192], and writes nothing then. It allocates nothing.
int32_t ippsInitMCRA_32s(int32_t samplingRate, int32_t nFFT, NoiseTracker32s* state);

/// Updates the noise's power from the power of one frame: averaging that minima control (I. Cohen,
/// B. Berdugo, "Noise estimation by minima controlled recursive averaging for robust speech
/// enhancement", IEEE Signal Processing Letters 9(1), 2002). For every bin:
///   smoothed noisy power, and its minimum over the last one to two windows; a window is a second
///   where nFFT is a power of two, and up to two seconds else
///   speech is there where it exceeds 5 times its minimum
///   p = a smoothed probability of speech, from these decisions
///   noise = g * noise + (1 - g) * noisy power, g from 0.7 per 8 ms without speech to 1 with it
/// The first frame is taken for noise as it is, whatever pSrcDstNoisePSD held.
///
/// pSrcNoisyPSD, pSrcDstNoisePSD: nFFT / 2 + 1 powers each, in any unit, none negative. They must
/// not overlap. A state serves one call at a time; whether it has been prepared is not looked at.
/// Returns -8 if a pointer is null, and writes nothing then. It allocates nothing.
int32_t ippsUpdateNoisePSDMCRA_32s_I(const int32_t* pSrcNoisyPSD, NoiseTracker32s* state,
                                     int32_t* pSrcDstNoisePSD);

/// pDstGain[i] = r / (1 + r) in Q31, truncated, r being the prior ratio pSrcPriorSNR[i], Q15, on a
/// grid: truncated to a multiple of 1/16 below 4, of 4 below 64, of 64 below 512; 512 below 1024;
/// from there on the gain is 0x7fffffff.
///
/// pSrcPriorSNR, pDstGain: len elements each, which may be the same; partial overlap is not
/// supported.
/// Returns -8 if a pointer is null, then -119 if len is outside [1, 65535], and writes nothing
/// then; -5 if a ratio is negative: its gain is 0, the others are as they should be.
int32_t ippsFilterUpdateWiener_32s(const int32_t* pSrcPriorSNR, int32_t* pDstGain, int32_t len);

/// pDstGain[i] = the gain that estimates the amplitude with the least mean square error (Y.
/// Ephraim, D. Malah, "Speech enhancement using a minimum mean-square error short-time spectral
/// amplitude estimator", IEEE Transactions on Acoustics, Speech and Signal Processing 32(6), 1984),
/// Q31, limited to 0x7fffffff. With W = pSrcWienerGain[i] (Q31) and v = W * min(pSrcPostSNR[i],
/// 100) (pSrcPostSNR in Q15) it is
///   W * sqrt(pi / (4 v)) * exp(-v / 2) * ((1 + v) * I0(v / 2) + v * I1(v / 2))
/// from a quadratic for each octave of v, and from a table of 1 / sqrt(v) below 2^-15.
///
/// pSrcWienerGain, pSrcPostSNR, pDstGain: len elements each. pDstGain may be one of the others;
/// partial overlap is not supported.
/// Returns -8 if a pointer is null, then -119 if len is outside [1, 65535], -7 if a gain is
/// negative or a ratio is outside [1, 0x40000000], and writes nothing then.
int32_t ippsFilterUpdateEMNS_32s(const int32_t* pSrcWienerGain, const int32_t* pSrcPostSNR,
                                 int32_t* pDstGain, int32_t len);

#ifdef __cplusplus
}
#endif
