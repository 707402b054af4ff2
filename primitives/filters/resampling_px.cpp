// Resampler for a fixed ratio of rates, px build. For each phase between two input samples there is
// a filter; where an output falls upon an input sample, its filter is centred there, begins one
// sample earlier and has a tap more.
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/exact_operations.h"
#include "primitives/filters/resampling_windows.h"
#include "primitives/filters/sample_rounding.h"
#include "primitives/filters/sinc_prototype.h"
#include "primitives/filters/state_block.h"

/// The arrays stand behind the record in one block.
struct Resampler16s {
  int32_t inRate;   ///< Reduced.
  int32_t outRate;  ///< Reduced: the number of phases.
  float gain;       ///< Of the taps' unit.
  int32_t halfLength;
  uint16_t* steps;       ///< How far the input moves behind an output of a phase.
  int16_t* integerTaps;  ///< The filters of all phases, filterStride taps each, or null.
  float* floatTaps;      ///< The same as floats, or null.
  int64_t filterStride;
};

namespace zr::primitives {
namespace {

constexpr int32_t kFloatTaps = 2;  // The hint that asks for them.
constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

int64_t LargestStep(int32_t inRate, int32_t outRate) {
  return outRate == 1 ? inRate : int64_t{inRate} / outRate + 1;
}

/// The state with all but its contents, or null.
Resampler16s* AllocateState(const SincPrototype& prototype, bool hasFloatTaps) {
  const int64_t phases = prototype.outRate;
  const int64_t stride = prototype.length + 4;  // For length + 1 taps.
  BlockLayout layout;
  const auto record = layout.Add<Resampler16s>(1);
  const auto steps = layout.Add<uint16_t>(phases);
  const auto integers = layout.Add<int16_t>(hasFloatTaps ? 0 : phases * stride);
  const auto floats = layout.Add<float>(hasFloatTaps ? phases * stride : 0);
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return nullptr;

  Resampler16s* const state = record.In(block);
  *state = {.inRate = prototype.inRate,
            .outRate = prototype.outRate,
            .gain = hasFloatTaps ? 1.0F : 0x1p-14F,
            .halfLength = static_cast<int32_t>(prototype.length / 2),
            .steps = steps.In(block),
            .integerTaps = hasFloatTaps ? nullptr : integers.In(block),
            .floatTaps = hasFloatTaps ? floats.In(block) : nullptr,
            .filterStride = stride};
  return state;
}

void FillSteps(Resampler16s* state) {
  const int64_t in = state->inRate;
  const int64_t out = state->outRate;
  int64_t phase = 0;
  for (int64_t i = 0; i < out; ++i) {
    phase = i * in % out;
    state->steps[phase] = static_cast<uint16_t>((i + 1) * in / out - i * in / out);
  }
  // The filter of phase 0 begins a sample earlier: from there it is one more, and to there, from
  // the last phase of the round, one less.
  ++state->steps[0];
  --state->steps[phase];
}

/// The taps of all phases out of the prototype, each stored by toTap(value).
template <typename Tap, typename ToTap>
void DistributeTaps(const Resampler16s& state, const double* table, Tap* taps, ToTap toTap) {
  const int64_t phases = state.outRate;
  const int32_t half = state.halfLength;
  taps[half] = toTap(table[0]);
  for (int32_t k = 0; k < half; ++k) {
    const Tap atSample = toTap(table[(k + 1) * phases]);
    taps[half + k + 1] = atSample;
    taps[half - k - 1] = atSample;
    for (int64_t p = 1; p < phases; ++p) {
      const Tap between = toTap(table[k * phases + p]);
      taps[p * state.filterStride + (half - 1 - k)] = between;
      taps[(phases - p) * state.filterStride + (half + k)] = between;
    }
  }
}

/// The windows of the outputs, one after the other.
template <typename Tap>
class WindowSequence {
 public:
  /// The first output is in the phase that is told, its filter begins at samples.
  WindowSequence(const Resampler16s& state, const Tap* taps, const int16_t* samples, int32_t phase)
      : state_(state),
        taps_(taps),
        samples_(samples),
        phase_(phase),
        advance_(state.inRate % state.outRate) {}

  Window<Tap> Next() {
    const Window<Tap> window = {.taps = taps_ + phase_ * state_.filterStride,
                                .samples = samples_,
                                .isOfPhase0 = phase_ == 0};
    samples_ += state_.steps[phase_];
    phase_ += advance_ - state_.outRate;
    if (phase_ < 0) phase_ += state_.outRate;
    return window;
  }

 private:
  const Resampler16s& state_;
  const Tap* taps_;
  const int16_t* samples_;
  int32_t phase_;
  int32_t advance_;
};

template <std::size_t kCount, typename Tap>
void PutNext(WindowSequence<Tap>* sequence, int32_t length, double gain, int16_t* d) {
  std::array<Window<Tap>, kCount> windows;
  for (Window<Tap>& window : windows) {
    window = sequence->Next();
  }
  const WideSums<kCount> sums = SumsOfProducts(windows, length);
  for (std::size_t k = 0; k < kCount; ++k) {
    Store(d, static_cast<int32_t>(k), RoundToSample(sums[k] * gain));
  }
}

/// outputs samples, the first of them in the phase that is told, from where its filter begins.
template <typename Tap>
void Run(const Resampler16s& state, const Tap* taps, const int16_t* samples, int32_t phase,
         double gain, int16_t* d, int32_t outputs) {
  constexpr int32_t kAtOnce = 4;
  const int32_t length = 2 * state.halfLength;
  WindowSequence<Tap> sequence(state, taps, samples, phase);
  int32_t n = 0;
  for (; n <= outputs - kAtOnce; n += kAtOnce) {
    PutNext<kAtOnce>(&sequence, length, gain, d + n);
  }
  for (; n < outputs; ++n) {
    PutNext<1>(&sequence, length, gain, d + n);
  }
}

}  // namespace

namespace px {

int32_t ippsResamplePolyphaseFixedInitAlloc_16s(Resampler16s** state, int32_t inRate,
                                                int32_t outRate, int32_t len, float rollf,
                                                float alpha, int32_t hint) {
  if (state == nullptr) return kStatusNullPointer;
  if (inRate < 1 || outRate < 1 || len < 1) return kStatusSize;
  if (!(rollf > 0.0F && rollf <= 1.0F) || !(alpha >= 1.0F)) return kStatusParameter;
  *state = nullptr;

  const int32_t common = std::gcd(inRate, outRate);
  const SincPrototype prototype = {.inRate = inRate / common,
                                   .outRate = outRate / common,
                                   .length = (int64_t{len} + 3) & ~int64_t{3},
                                   .rolloff = rollf,
                                   .alpha = alpha};
  if (LargestStep(prototype.inRate, prototype.outRate) > std::numeric_limits<uint16_t>::max()) {
    return kStatusNoTableMemory;
  }
  const int64_t tableLength = PrototypeLength(prototype);
  const int64_t longestFilter = prototype.length + 1;
  if (tableLength > kMost || longestFilter > kMost) return kStatusNoTableMemory;
  double* const table = ippsMalloc_64f(static_cast<int32_t>(tableLength));
  Resampler16s* const made =
      table != nullptr ? AllocateState(prototype, hint == kFloatTaps) : nullptr;
  if (made == nullptr) {
    ippsFree(table);
    return kStatusNoTableMemory;
  }

  FillSteps(made);
  FillPrototype(prototype, table, static_cast<int32_t>(tableLength));
  if (made->floatTaps != nullptr) {
    DistributeTaps(*made, table, made->floatTaps, [](double tap) { return RoundToFloat(tap); });
  } else {
    DistributeTaps(*made, table, made->integerTaps,
                   [](double tap) { return RoundToSample(tap * 0x1p14); });
  }
  ippsFree(table);
  *state = made;
  return kStatusOk;
}

int32_t ippsResamplePolyphaseFixed_16s(const Resampler16s* state, const int16_t* pSrc, int32_t len,
                                       int16_t* pDst, float norm, double* pTime, int32_t* pOutlen) {
  const int32_t status = CheckArguments(len, 1, state, pSrc, pDst, pOutlen, pTime);
  if (status != kStatusOk) return status;

  // Places count in units of 1 / outRate, from the integer part of the time on.
  const int64_t in = state->inRate;
  const int64_t out = state->outRate;
  const double time = Load(pTime, 0);
  const double whole = std::floor(time);
  const double fraction = time - whole;
  const auto start = static_cast<int64_t>(std::floor(static_cast<double>(out) * fraction + 0.5));
  const int64_t toEnd = len * out - start;
  const int64_t outputs = toEnd > 0 ? (toEnd + in - 1) / in : 0;
  if (outputs > kMost) return kStatusSize;
  Store(pOutlen, 0, static_cast<int32_t>(outputs));
  if (outputs == 0) return kStatusOk;

  const auto first = static_cast<int64_t>(whole);
  const int64_t begin = first - state->halfLength + (start == 0 ? 0 : 1);
  const int16_t* const samples = pSrc + static_cast<std::ptrdiff_t>(begin);
  const auto phase = static_cast<int32_t>(start % out);
  const double ratio = static_cast<double>(out) / static_cast<double>(in);
  const double gain = (ratio < 1.0 ? ratio : 1.0) * state->gain * norm;
  if (state->floatTaps != nullptr) {
    Run(*state, state->floatTaps, samples, phase, gain, pDst, static_cast<int32_t>(outputs));
  } else {
    Run(*state, state->integerTaps, samples, phase, gain, pDst, static_cast<int32_t>(outputs));
  }
  const double passed = RoundToDouble(static_cast<double>(first * out + outputs * in));
  Store(pTime, 0, Plus(fraction, passed / static_cast<double>(out)));
  return kStatusOk;
}

int32_t ippsResamplePolyphaseFixedFree_16s(Resampler16s* state) {
  if (state == nullptr) return kStatusNullPointer;
  ippsFree(state);
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
