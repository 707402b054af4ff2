// The states of the two-band filter bank: for each band its taps and the samples that they still
// reach, and one block of samples that both bands read or write.
#pragma once

#include <cstdint>

#include "primitives/filters/doubled_ring.h"
#include "primitives/types.h"

namespace zr::primitives {

/// Samples at the full rate in one block. Half as many stand in a block of a band.
inline constexpr int32_t kWaveletBlock = 1024;

/// A band at half the rate out of samples at the full rate.
struct AnalysisChannel {
  DoubledRing* delay;         ///< The samples that the offset holds back, or null for none.
  DoubledRing history;        ///< As long as there are taps.
  const float* reversedTaps;  ///< The last is the newest sample's.
  int32_t oddStart;           ///< 1: outputs end at the odd samples; 0: at the even ones.
};

/// Its contribution to samples at the full rate out of a band at half the rate. Between its values
/// stand zeros, so that each output meets every other tap only.
struct SynthesisChannel {
  DoubledRing* delay;     ///< The values that the offset holds back, or null for none.
  DoubledRing history;    ///< As long as there are taps at even indices.
  const float* evenTaps;  ///< Those at even indices, reversed.
  const float* oddTaps;   ///< Those at odd indices, reversed, or null where there are none.
  int32_t oddCount;
  int32_t phase;  ///< 1: the offset is odd, and a value first meets the second output.
};

template <typename Channel>
struct WaveletState {
  int32_t magic;
  Channel* low;
  Channel* high;
  float* work;
  int32_t workLength;  ///< In floats.
};

}  // namespace zr::primitives

struct WaveletForward16s : zr::primitives::WaveletState<zr::primitives::AnalysisChannel> {};
struct WaveletInverse16s : zr::primitives::WaveletState<zr::primitives::SynthesisChannel> {};

namespace zr::primitives {

/// kStatusNullPointer, or kStatusContext if it is another's state or damaged, else kStatusOk.
int32_t CheckState(const WaveletForward16s* state);
int32_t CheckState(const WaveletInverse16s* state);

}  // namespace zr::primitives
