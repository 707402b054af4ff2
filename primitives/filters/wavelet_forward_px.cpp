// Two-band analysis, px build. Outputs whose samples all stand in the block are summed straight
// from it, the first ones from a ring that the block before has left.
#include <algorithm>
#include <array>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/stream_blocks.h"
#include "primitives/filters/wavelet_state.h"
#include "primitives/rounding.h"

namespace zr::primitives {
namespace {

constexpr int32_t kAtOnce = 4;

/// The sums of kAtOnce outputs in turn, as SumWindows, but over two taps at a time: the samples
/// that one tap meets stand two apart, and those between them belong to the tap beside it.
std::array<double, kAtOnce> SumOutputs(const float* taps, int32_t length, const float* samples) {
  std::array<double, kAtOnce> sums = {};
  int32_t j = 0;
  for (; j < length - 1; j += 2) {
    const double tap = taps[j];
    const double nextTap = taps[j + 1];
    const float* const pairs = samples + j;
    for (std::size_t k = 0; k < kAtOnce; ++k) {
      sums[k] += tap * static_cast<double>(pairs[2 * k]);
      sums[k] += nextTap * static_cast<double>(pairs[2 * k + 1]);
    }
  }
  if (j < length) {
    for (std::size_t k = 0; k < kAtOnce; ++k) {
      sums[k] += static_cast<double>(taps[j]) * static_cast<double>(samples[2 * k + j]);
    }
  }
  return sums;
}

/// count outputs, the first of which sums the samples from the first one on.
void SumAllOutputs(const float* taps, int32_t length, const float* samples, int32_t count,
                   float* d) {
  int32_t n = 0;
  for (; n <= count - kAtOnce; n += kAtOnce) {
    const auto sums = SumOutputs(taps, length, samples + 2 * n);
    for (int32_t k = 0; k < kAtOnce; ++k) {
      Store(d, n + k, RoundToFloat(sums[static_cast<std::size_t>(k)]));
    }
  }
  for (; n < count; ++n) {
    Store(d, n, RoundToFloat(SumWindows<1>(taps, length, samples + 2 * n)[0]));
  }
}

/// The outputs that end in count samples. Returns where the next output goes.
float* Decimate(AnalysisChannel* channel, const float* samples, int32_t count, float* d) {
  DoubledRing history = channel->history;
  const float* const taps = channel->reversedTaps;
  const int32_t length = history.length;
  const int32_t reached = std::min(length - 1, count);
  for (int32_t i = 0; i < reached; ++i) {
    history.Push(samples[i]);
    if ((i & 1) != channel->oddStart) continue;
    Store(d, 0, RoundToFloat(SumWindows<1>(taps, length, history.Run())[0]));
    ++d;
  }
  if (reached < count) {
    const int32_t first = reached + ((reached ^ channel->oddStart) & 1);
    const int32_t outputs = (count - first + 1) / 2;
    SumAllOutputs(taps, length, samples + (first - length + 1), outputs, d);
    d += outputs;
    history.PushAll(samples, count);  // All of the ring is new.
  }
  channel->history = history;
  channel->oddStart ^= count & 1;
  return d;
}

/// count is even.
void RunChannel(AnalysisChannel* channel, const float* samples, int32_t count, float* d) {
  DoubledRing* const delay = channel->delay;
  if (delay == nullptr) {
    Decimate(channel, samples, count, d);
    return;
  }
  const int32_t delayed = std::min(delay->length, count);
  float* const rest = Decimate(channel, delay->Run(), delayed, d);
  Decimate(channel, samples, count - delayed, rest);
  delay->PushAll(samples, count);
}

}  // namespace

namespace px {

int32_t ippsWTFwd_16s32f(const int16_t* pSrc, float* pDstLow, float* pDstHigh, int32_t dstLen,
                         WaveletForward16s* state) {
  if (const int32_t status = CheckState(state)) return status;
  if (const int32_t status = CheckArguments(dstLen, 1, pSrc, pDstLow, pDstHigh)) return status;
  ForEachBlock(dstLen, kWaveletBlock / 2, [=](int32_t first, int32_t outputs) {
    ippsConvert_16s32f(pSrc + 2 * std::ptrdiff_t{first}, state->work, 2 * outputs);
    RunChannel(state->low, state->work, 2 * outputs, pDstLow + first);
    RunChannel(state->high, state->work, 2 * outputs, pDstHigh + first);
  });
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
