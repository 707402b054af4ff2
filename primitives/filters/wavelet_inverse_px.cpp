// Two-band synthesis, px build. Each value of a band makes a pair of outputs: one from the taps at
// even indices, which meet the value itself first, and one from those at odd indices.
#include <algorithm>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/stream_blocks.h"
#include "primitives/filters/wavelet_state.h"
#include "primitives/rounding.h"

namespace zr::primitives {
namespace {

/// put(m, sum) for the 2 * count outputs m that count values make.
template <typename Put>
void Interpolate(SynthesisChannel* channel, const float* values, int32_t count, Put put) {
  DoubledRing history = channel->history;
  const float* const evenTaps = channel->evenTaps;
  const float* const oddTaps = channel->oddTaps;
  const int32_t evenCount = history.length;
  const int32_t oddCount = channel->oddCount;
  const int32_t phase = channel->phase;
  // With phase 1 the first output of a pair comes before its value.
  const auto fromOddTaps = [&](int32_t k) {
    const float* const run = history.Run() + (evenCount - oddCount);
    put(2 * k + (1 - phase), SumWindows<1>(oddTaps, oddCount, run)[0]);
  };
  const int32_t reached = std::min(evenCount, count);
  for (int32_t k = 0; k < reached; ++k) {
    if (phase == 1) fromOddTaps(k);
    history.Push(Load(values, k));
    put(2 * k + phase, SumWindows<1>(evenTaps, evenCount, history.Run())[0]);
    if (phase == 0) fromOddTaps(k);
  }
  if (reached < count) {
    const float* const rest = values + reached;
    const int32_t restCount = count - reached;
    const auto putEven = [&](int32_t n, double sum) { put(2 * (reached + n) + phase, sum); };
    const auto putOdd = [&](int32_t n, double sum) { put(2 * (reached + n) + 1 - phase, sum); };
    ForEachWindow(evenTaps, evenCount, rest - (evenCount - 1), restCount, putEven);
    ForEachWindow(oddTaps, oddCount, rest - (oddCount - 1 + phase), restCount, putOdd);
    history.PushAll(values, count);  // All of the ring is new.
  }
  channel->history = history;
}

template <typename Put>
void RunChannel(SynthesisChannel* channel, const float* values, int32_t count, Put put) {
  DoubledRing* const delay = channel->delay;
  if (delay == nullptr) {
    Interpolate(channel, values, count, put);
    return;
  }
  const int32_t delayed = std::min(delay->length, count);
  Interpolate(channel, delay->Run(), delayed, put);
  Interpolate(channel, values, count - delayed,
              [=](int32_t m, double sum) { put(2 * delayed + m, sum); });
  delay->PushAll(values, count);
}

}  // namespace

namespace px {

int32_t ippsWTInv_32f16s(const float* pSrcLow, const float* pSrcHigh, int32_t srcLen, int16_t* pDst,
                         WaveletInverse16s* state) {
  if (const int32_t status = CheckState(state)) return status;
  if (const int32_t status = CheckArguments(srcLen, 1, pSrcLow, pSrcHigh)) return status;
  if (pDst == nullptr) return kStatusNullPointer;
  float* const work = state->work;
  const auto store = [work](int32_t m, double sum) { work[m] = RoundToFloat(sum); };
  const auto add = [work](int32_t m, double sum) { work[m] = RoundToFloat(work[m] + sum); };
  ForEachBlock(srcLen, kWaveletBlock / 2, [=](int32_t first, int32_t count) {
    RunChannel(state->low, pSrcLow + first, count, store);
    RunChannel(state->high, pSrcHigh + first, count, add);
    ippsConvert_32f16s_Sfs(work, pDst + 2 * std::ptrdiff_t{first}, 2 * count, kRoundToNearest, 0);
  });
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
