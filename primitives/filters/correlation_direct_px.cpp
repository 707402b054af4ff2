// Cross-correlation sum by sum, px build.
#include <algorithm>

#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/correlation_methods.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/state_block.h"
#include "primitives/status.h"

namespace zr::primitives {
namespace {

// What a group of shrinking windows reads behind the end of the signal.
constexpr int32_t kZerosBehind = 3;

struct FloatSignal {
  float* samples;
  int32_t length;
};

void FillFloatSignal(const int16_t* samples, const FloatSignal& signal) {
  px::ippsConvert_16s32f(samples, signal.samples, signal.length);
  px::ippsZero_32f(signal.samples + signal.length, kZerosBehind);
}

/// The sums at the offsets of `moved` from `from` on, count of them: moved[offset + j] meets
/// fixed[j]. While all of `fixed` meets it the windows are one length; then they shrink by one from
/// offset to offset. The sums go to d, one every `step` floats.
void CorrelateForward(const FloatSignal& fixed, const FloatSignal& moved, int32_t from,
                      int32_t count, float* d, std::ptrdiff_t step) {
  const int64_t offsetsOfAll = int64_t{moved.length} - fixed.length + 1 - from;
  const auto whole = static_cast<int32_t>(std::clamp<int64_t>(offsetsOfAll, 0, count));
  const float* const samples = moved.samples + from;
  SlidingDotProducts<false>(fixed.samples, fixed.length, samples, whole, d, step);
  const int32_t overlap = std::min(fixed.length, moved.length - from - whole);
  SlidingDotProducts<true>(fixed.samples, overlap, samples + whole, count - whole, d + whole * step,
                           step);
}

}  // namespace

int32_t CorrelateDirectly(const CorrelatedSignals& signals, const LagRun& lags, int16_t* d,
                          int32_t scaleFactor) {
  BlockLayout layout;
  const auto place1 = layout.Add<float>(int64_t{signals.length1} + kZerosBehind);
  const auto place2 = layout.Add<float>(int64_t{signals.length2} + kZerosBehind);
  const auto sumsPlace = layout.Add<float>(lags.count);
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return kStatusNoMemory;
  const FloatSignal signal1 = {place1.In(block), signals.length1};
  const FloatSignal signal2 = {place2.In(block), signals.length2};
  float* const sums = sumsPlace.In(block);
  FillFloatSignal(signals.samples1, signal1);
  FillFloatSignal(signals.samples2, signal2);

  // At a negative lag the first signal is the one that is moved, and from lag -1 on it moves on as
  // the lags go down.
  const auto negative = static_cast<int32_t>(std::clamp<int64_t>(-lags.lowLag, 0, lags.count));
  if (negative > 0) {
    const auto nearest = static_cast<int32_t>(1 - (lags.lowLag + negative));
    CorrelateForward(signal2, signal1, nearest, negative, sums + (negative - 1), -1);
  }
  if (negative < lags.count) {
    const auto nearest = static_cast<int32_t>(lags.lowLag + negative);
    CorrelateForward(signal1, signal2, nearest, lags.count - negative, sums + negative, 1);
  }

  px::ippsConvert_32f16s_Sfs(sums, d, lags.count, kRoundToNearest, scaleFactor);
  px::ippsFree(block);
  return kStatusOk;
}

}  // namespace zr::primitives
