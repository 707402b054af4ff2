// FIR filter, px build: the life of its state, and the choice of the way in which it runs.
#include <algorithm>
#include <bit>
#include <cstring>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/fft/fft.h"
#include "primitives/fft/packed_forms.h"
#include "primitives/filters/fir_state.h"
#include "primitives/filters/state_block.h"

namespace zr::primitives {

void PushIntoDelayLine(Fir32f16s* state, const int16_t* samples, int32_t count) {
  const int32_t kept = count < state->tapsLen ? state->tapsLen - count : 0;
  const int32_t taken = state->tapsLen - kept;
  float* const line = state->delayLine;
  std::memmove(line, line + taken, static_cast<std::size_t>(kept) * sizeof(float));
  px::ippsConvert_16s32f(samples + (count - taken), line + kept, taken);
}

namespace {

constexpr uint32_t kMagic = 0x46493035;

// From where on the transform pays: taps of a filter, samples of a call.
constexpr int32_t kShortestTransformed = 64;
constexpr int32_t kFewestTransformed = 512;

int32_t CheckState(const Fir32f16s* state) {
  if (state == nullptr) return kStatusNullPointer;
  return state->magic == kMagic ? kStatusOk : kStatusContext;
}

void SetDelayLine(Fir32f16s* state, const int16_t* newestFirst) {
  const int32_t length = state->tapsLen;
  for (int32_t i = 0; i < length; ++i) {
    state->delayLine[length - 1 - i] = newestFirst != nullptr ? Load(newestFirst, i) : int16_t{0};
  }
}

struct Transform {
  RealFft32f* fft = nullptr;
  int32_t length = 0;
  int32_t bufferSize = 0;
};

int32_t MakeTransform(int32_t tapsLen, Transform* transform) {
  // Twice the smallest power of two above tapsLen.
  const auto order = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(tapsLen))) + 1;
  int32_t status = px::ippsFFTInitAlloc_R_32f(&transform->fft, order, FFT_DIV_INV_BY_N, /*hint=*/0);
  if (status != kStatusOk) return status;
  status = px::ippsFFTGetBufSize_R_32f(transform->fft, &transform->bufferSize);
  if (status != kStatusOk) {
    px::ippsFFTFree_R_32f(transform->fft);
    return status;
  }
  transform->length = int32_t{1} << order;
  return kStatusOk;
}

/// The state with all but its contents, or null.
Fir32f16s* AllocateState(int32_t tapsLen, const Transform& transform) {
  const int64_t roundedUp = (int64_t{tapsLen} + 3) & ~int64_t{3};
  // No piece is longer than the direct path makes them.
  const auto split = static_cast<int32_t>(std::min<int64_t>(roundedUp + 1, kDirectPieceLength));
  BlockLayout layout;
  const auto record = layout.Add<Fir32f16s>(1);
  const auto taps = layout.Add<float>(tapsLen);
  const auto delayLine = layout.Add<float>(int64_t{tapsLen} + split);
  const auto directWork = layout.Add<float>(kDirectPieceLength);
  const auto spectrum = layout.Add<float>(transform.length);
  const auto fftWork = layout.Add<float>(transform.length);
  const auto fftBuffer = layout.Add<uint8_t>(transform.bufferSize);
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return nullptr;

  Fir32f16s* const state = record.In(block);
  *state = {.magic = kMagic,
            .tapsLen = tapsLen,
            .reversedTaps = taps.In(block),
            .delayLine = delayLine.In(block),
            .directSplit = split,
            .directWork = directWork.In(block),
            .fft = transform.fft,
            .fftLength = transform.length,
            .tapsSpectrum = spectrum.In(block),
            .fftWork = fftWork.In(block),
            .fftBuffer = transform.bufferSize > 0 ? fftBuffer.In(block) : nullptr,
            .isAllocated = 1};
  return state;
}

int32_t TransformTaps(Fir32f16s* state, const float* taps) {
  const auto tapsSize = static_cast<std::size_t>(state->tapsLen) * sizeof(float);
  std::memcpy(state->tapsSpectrum, taps, tapsSize);
  px::ippsZero_32f(state->tapsSpectrum + state->tapsLen, state->fftLength - state->tapsLen);
  return px::FFTFwdRToPerm(state->tapsSpectrum, state->tapsSpectrum, state->fft, state->fftBuffer);
}

}  // namespace

namespace px {

int32_t ippsFIRInitAlloc32f_16s(Fir32f16s** state, const float* pTaps, int32_t tapsLen,
                                const int16_t* pDlyLine) {
  if (state == nullptr || pTaps == nullptr) return kStatusNullPointer;
  if (tapsLen < 1) return kStatusFirLength;
  *state = nullptr;

  Transform transform;
  if (tapsLen >= kShortestTransformed) {
    const int32_t status = MakeTransform(tapsLen, &transform);
    if (status != kStatusOk) return status;
  }
  Fir32f16s* const made = AllocateState(tapsLen, transform);
  if (made == nullptr) {
    if (transform.fft != nullptr) px::ippsFFTFree_R_32f(transform.fft);
    return kStatusNoMemory;
  }
  for (int32_t i = 0; i < tapsLen; ++i) {
    made->reversedTaps[tapsLen - 1 - i] = Load(pTaps, i);
  }
  SetDelayLine(made, pDlyLine);
  if (transform.fft != nullptr) {
    if (const int32_t status = TransformTaps(made, pTaps)) {
      ippsFIRFree32f_16s(made);
      return status;
    }
  }
  *state = made;
  return kStatusOk;
}

int32_t ippsFIRSetDlyLine32f_16s(Fir32f16s* state, const int16_t* pDlyLine) {
  if (const int32_t status = CheckState(state)) return status;
  SetDelayLine(state, pDlyLine);
  return kStatusOk;
}

int32_t ippsFIR32f_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t numIters, Fir32f16s* state,
                           int32_t scaleFactor) {
  if (const int32_t status = CheckArguments(numIters, 1, state, pSrc, pDst)) return status;
  if (const int32_t status = CheckState(state)) return status;
  if (state->fft != nullptr && numIters >= kFewestTransformed) {
    return FilterByTransform(pSrc, pDst, numIters, state, scaleFactor);
  }
  FilterDirectly(pSrc, pDst, numIters, state, scaleFactor);
  return kStatusOk;
}

int32_t ippsFIRFree32f_16s(Fir32f16s* state) {
  if (const int32_t status = CheckState(state)) return status;
  if (state->fft != nullptr) px::ippsFFTFree_R_32f(state->fft);
  if (state->isAllocated != 0) ippsFree(state);
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
