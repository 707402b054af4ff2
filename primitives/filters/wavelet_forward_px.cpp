// Two-band analysis, px build. Outputs whose samples all stand in the block are summed straight
// from it, the first ones from a ring that the block before has left.
#include <algorithm>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/stream_blocks.h"
#include "primitives/filters/wavelet_state.h"

namespace zr::primitives {
namespace {

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
    const auto store = [d](int32_t n, double sum) { Store(d, n, RoundToFloat(sum)); };
    ForEachWindow<false, 2>(taps, length, samples + (first - length + 1), outputs, store);
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
