// Adaptive FIR filter by least mean squares, px build.
#include <algorithm>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/filters/doubled_ring.h"
#include "primitives/filters/sample_rounding.h"
#include "primitives/filters/sliding_dot_products.h"
#include "primitives/filters/state_block.h"
#include "primitives/rounding.h"

using zr::primitives::DoubledRing;

/// The arrays stand behind the record in one block.
struct Lms32f16s {
  uint32_t magic;
  float* reversedTaps;  ///< As many as the ring is long; the last is the newest sample's.
  DoubledRing ring;
};

namespace zr::primitives {
namespace {

constexpr uint32_t kMagic = 0x4c4d5300;

/// The state with all but its contents, or null.
Lms32f16s* AllocateState(int32_t tapsLen, int32_t position) {
  BlockLayout layout;
  const auto record = layout.Add<Lms32f16s>(1);
  const auto taps = layout.Add<float>(tapsLen);
  const auto ring = layout.Add<float>(2 * int64_t{tapsLen});
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return nullptr;

  Lms32f16s* const state = record.In(block);
  *state = {.magic = kMagic,
            .reversedTaps = taps.In(block),
            .ring = {.data = ring.In(block), .length = tapsLen, .position = position}};
  return state;
}

/// taps[j] = taps[j] + step * samples[j].
void Adapt(float* taps, const float* samples, int32_t count, double step) {
  for (int32_t j = 0; j < count; ++j) {
    taps[j] = RoundToFloat(taps[j] + step * samples[j]);
  }
}

}  // namespace

namespace px {

int32_t ippsFIRLMSInitAlloc32f_16s(Lms32f16s** state, const float* pTaps, int32_t tapsLen,
                                   const int16_t* pDlyLine, int32_t dlyLineIndex) {
  if (const int32_t status = CheckArguments(tapsLen, 1, state)) return status;
  if (dlyLineIndex < 0 || dlyLineIndex >= tapsLen) return kStatusOutOfRange;
  *state = AllocateState(tapsLen, dlyLineIndex);
  if (*state == nullptr) return kStatusNoMemory;

  float* const taps = (*state)->reversedTaps;
  DoubledRing ring = (*state)->ring;
  for (int32_t i = 0; i < tapsLen; ++i) {
    taps[tapsLen - 1 - i] = pTaps != nullptr ? Load(pTaps, i) : 0.0F;
  }
  // Once around, so that the position in the state stays what it is.
  ring.position = 0;
  for (int32_t k = 0; k < tapsLen; ++k) {
    ring.Push(pDlyLine != nullptr ? Load(pDlyLine, k) : int16_t{0});
  }
  return kStatusOk;
}

int32_t ippsFIRLMS32f_16s(const int16_t* pSrc, const int16_t* pRef, int16_t* pDst, int32_t len,
                          float mu, Lms32f16s* state) {
  if (const int32_t status = CheckArguments(len, 1, pSrc, pRef, pDst, state)) return status;
  if (state->magic != kMagic) return kStatusContext;

  float* const taps = state->reversedTaps;
  DoubledRing ring = state->ring;
  const double twiceMu = 2.0 * mu;
  for (int32_t i = 0; i < len; ++i) {
    ring.Push(Load(pSrc, i));
    const double y = SumWindows<1>(taps, ring.length, ring.Run())[0];
    const double error = Load(pRef, i) - y;
    Store(pDst, i, TruncateToSample(y));
    Adapt(taps, ring.Run(), ring.length, error * twiceMu);
  }
  state->ring = ring;
  return kStatusOk;
}

int32_t ippsFIRLMSGetTaps32f_16s(Lms32f16s* state, float* pOutTaps) {
  if (state == nullptr || pOutTaps == nullptr) return kStatusNullPointer;
  if (state->magic != kMagic) return kStatusContext;
  const int32_t length = state->ring.length;
  for (int32_t i = 0; i < length; ++i) {
    Store(pOutTaps, i, state->reversedTaps[length - 1 - i]);
  }
  return kStatusOk;
}

int32_t ippsFIRLMSFree32f_16s(Lms32f16s* state) {
  ippsFree(state);
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
