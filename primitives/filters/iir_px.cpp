// IIR filter, px build. Three kinds of state hold the same and differ in what they are named.
#include <algorithm>
#include <bit>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/filters/direct_form.h"
#include "primitives/filters/sample_rounding.h"
#include "primitives/filters/state_block.h"

namespace zr::primitives {

/// The arrays stand behind the record in one block.
struct IirState {
  uint32_t magic;
  float* coefs;  ///< b[0] to b[order], a[1] to a[order], all divided by a[0].
  float* delay;  ///< order + 1 elements; the last is always 0.
  int32_t order;
  uint32_t isAllocated;  ///< 1: the block is freed with the state.
};

}  // namespace zr::primitives

struct Iir32f : zr::primitives::IirState {};
struct Iir32f16s : zr::primitives::IirState {};
struct Iir32s16s : zr::primitives::IirState {};

namespace zr::primitives {
namespace {

template <typename State>
constexpr uint32_t kMagic = 0;
template <>
constexpr uint32_t kMagic<Iir32f> = 0x49493031;
template <>
constexpr uint32_t kMagic<Iir32f16s> = 0x49493035;
template <>
constexpr uint32_t kMagic<Iir32s16s> = 0x49493039;

template <typename State>
int32_t CheckState(const State* state) {
  if (state == nullptr) return kStatusNullPointer;
  return state->magic == kMagic<State> ? kStatusOk : kStatusContext;
}

/// The state with all but its contents, or null.
template <typename State>
State* AllocateState(int32_t order) {
  const int64_t n = order;
  BlockLayout layout;
  const auto record = layout.Add<State>(1);
  const auto coefs = layout.Add<float>(2 * n + 1);
  const auto delay = layout.Add<float>(n + 1);
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return nullptr;

  auto* const state = record.In(block);
  *state = {{.magic = kMagic<State>,
             .coefs = coefs.In(block),
             .delay = delay.In(block),
             .order = order,
             .isAllocated = 1}};
  return state;
}

void SetDelayElements(IirState* state, const float* elements) {
  for (int32_t k = 0; k < state->order; ++k) {
    state->delay[k] = elements != nullptr ? Load(elements, k) : 0.0F;
  }
  state->delay[state->order] = 0.0F;
}

/// a0 is not 0.
void SetCoefficients(IirState* state, const float* taps, float a0) {
  const int32_t order = state->order;
  const double reciprocal = 1.0 / a0;
  const auto normalised = [reciprocal](float tap) { return RoundToFloat(tap * reciprocal); };
  float* const b = state->coefs;
  float* const a = b + order;
  const float* const tapsOfA = taps + order + 1;
  b[0] = normalised(Load(taps, 0));
  for (int32_t k = 0; k < order; ++k) {
    b[k + 1] = normalised(Load(taps, k + 1));
    a[k + 1] = normalised(Load(tapsOfA, k + 1));
  }
}

template <typename State>
int32_t Make(State** state, const float* taps, int32_t order, const float* delayElements) {
  if (state == nullptr || taps == nullptr) return kStatusNullPointer;
  if (order < 0) return kStatusIirOrder;
  auto* const made = AllocateState<State>(order);
  *state = made;
  if (made == nullptr) return kStatusNoMemory;
  SetDelayElements(made, delayElements);
  const float a0 = Load(taps + order + 1, 0);
  if (a0 == 0.0F) {
    // The state stays with the caller, who may run it.
    std::fill_n(made->coefs, 2 * int64_t{order} + 1, 0.0F);
    return kStatusDivideByZero;
  }
  SetCoefficients(made, taps, a0);
  return kStatusOk;
}

/// 2^-scaleFactor by steps of a float's exponent, which are counted modulo 128. 127 steps down lead
/// to 0.
float SteppedPowerOfTwo(int32_t scaleFactor) {
  const auto steps = static_cast<uint32_t>(scaleFactor);
  const uint32_t exponent = scaleFactor < 0 ? 127 + (-steps & 127) : 127 - (steps & 127);
  return std::bit_cast<float>(exponent << 23);
}

template <typename State>
int32_t Filter(const int16_t* source, int16_t* d, int32_t count, State* state,
               int32_t scaleFactor) {
  if (const int32_t status = CheckArguments(count, 1, state, source, d)) return status;
  if (const int32_t status = CheckState(state)) return status;

  const DirectForm form = {.order = state->order,
                           .b = state->coefs,
                           .a = state->coefs + state->order,
                           .delay = state->delay};
  const double scale = SteppedPowerOfTwo(scaleFactor);
  int32_t n = 0;
  if (form.order >= 2) {
    for (; n < count - 1; n += 2) {
      const auto y = form.StepPair({.first = static_cast<double>(Load(source, n)),
                                    .second = static_cast<double>(Load(source, n + 1))});
      Store(d, n, RoundToSample(y.first * scale));
      Store(d, n + 1, RoundToSample(y.second * scale));
    }
  }
  for (; n < count; ++n) {
    Store(d, n, RoundToSample(form.Step(Load(source, n)) * scale));
  }
  return kStatusOk;
}

template <typename State>
int32_t Free(State* state) {
  if (const int32_t status = CheckState(state)) return status;
  if (state->isAllocated != 0) px::ippsFree(state);
  return kStatusOk;
}

}  // namespace

namespace px {

int32_t ippsIIRInitAlloc32f_16s(Iir32f16s** state, const float* pTaps, int32_t order,
                                const float* pDlyLine) {
  return Make(state, pTaps, order, pDlyLine);
}
int32_t ippsIIRInitAlloc32s_16s32f(Iir32s16s** state, const float* pTaps, int32_t order,
                                   const float* pDlyLine) {
  return Make(state, pTaps, order, pDlyLine);
}
int32_t ippsIIRInitAlloc_32f(Iir32f** state, const float* pTaps, int32_t order,
                             const float* pDlyLine) {
  return Make(state, pTaps, order, pDlyLine);
}

int32_t ippsIIRSetDlyLine32f_16s(Iir32f16s* state, const float* pDlyLine) {
  if (const int32_t status = CheckState(state)) return status;
  SetDelayElements(state, pDlyLine);
  return kStatusOk;
}

int32_t ippsIIR32f_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, Iir32f16s* state,
                           int32_t scaleFactor) {
  return Filter(pSrc, pDst, len, state, scaleFactor);
}
int32_t ippsIIR32f_16s_ISfs(int16_t* pSrcDst, int32_t len, Iir32f16s* state, int32_t scaleFactor) {
  return Filter(pSrcDst, pSrcDst, len, state, scaleFactor);
}
int32_t ippsIIR32s_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, Iir32s16s* state,
                           int32_t scaleFactor) {
  return Filter(pSrc, pDst, len, state, scaleFactor);
}

int32_t ippsIIRFree32f_16s(Iir32f16s* state) {
  return Free(state);
}
int32_t ippsIIRFree32s_16s(Iir32s16s* state) {
  return Free(state);
}
int32_t ippsIIRFree_32f(Iir32f* state) {
  return Free(state);
}

}  // namespace px
}  // namespace zr::primitives
