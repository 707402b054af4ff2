// The state of a FIR filter and the two ways to run it. Both leave the delay line in one form, so
// that calls of either kind can follow one another.
#pragma once

#include <cstdint>

#include "primitives/types.h"

/// All arrays stand behind the record in one block.
struct Fir32f16s {
  uint32_t magic;
  int32_t tapsLen;
  float* reversedTaps;
  /// The last tapsLen samples, oldest first, and room for directSplit new ones. The oldest is one
  /// more than the convolution needs.
  float* delayLine;
  int32_t directSplit;  ///< The most samples of a piece that are converted beforehand.
  float* directWork;    ///< kDirectPieceLength floats.

  RealFft32f* fft;  ///< Null if the state has no Fourier path, and then all that follows is unused.
  int32_t fftLength;
  float* tapsSpectrum;  ///< fftLength floats in Perm order.
  float* fftWork;       ///< fftLength floats.
  uint8_t* fftBuffer;   ///< Null where the transform needs none.

  uint32_t isAllocated;  ///< 1: the block is freed with the state.
};

namespace zr::primitives {

inline constexpr int32_t kDirectPieceLength = 2048;

/// Brings the delay line up to date by count samples, at least 1.
void PushIntoDelayLine(Fir32f16s* state, const int16_t* samples, int32_t count);

/// The arguments of both have been checked.
void FilterDirectly(const int16_t* source, int16_t* d, int32_t count, Fir32f16s* state,
                    int32_t scaleFactor);
/// The status of a transform that failed, with part of the output written, or 0.
int32_t FilterByTransform(const int16_t* source, int16_t* d, int32_t count, Fir32f16s* state,
                          int32_t scaleFactor);

}  // namespace zr::primitives
