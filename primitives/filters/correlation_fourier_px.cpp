// Cross-correlation through the Fourier transform, px build: all lags at once, as the product of
// one spectrum's conjugate and the other spectrum.
#include <bit>
#include <cstring>

#include "primitives/dispatch/px_entries.h"
#include "primitives/fft/fft.h"
#include "primitives/fft/packed_forms.h"
#include "primitives/filters/correlation_methods.h"
#include "primitives/filters/state_block.h"
#include "primitives/rounding.h"
#include "primitives/status.h"

namespace zr::primitives {
namespace {

/// s = the conjugate of a, times s: spectra in Pack order, a real element at either end.
void MultiplyByConjugate(float* a, float* s, int32_t n) {
  px::ippsMul_32f_I(a, s, 1);
  px::ippsMul_32f_I(a + n - 1, s + n - 1, 1);
  const int32_t pairs = n / 2 - 1;
  auto* const aPairs = reinterpret_cast<Complex32f*>(a + 1);
  px::ippsConj_32fc(aPairs, aPairs, pairs);
  px::ippsMul_32fc_I(aPairs, reinterpret_cast<Complex32f*>(s + 1), pairs);
}

/// The signal behind `before` zeros, and zeros up to n floats.
void FillPadded(const int16_t* samples, int32_t length, int32_t before, float* d, int32_t n) {
  std::memset(d, 0, static_cast<std::size_t>(n) * sizeof(float));
  px::ippsConvert_16s32f(samples, d + before, length);
}

int32_t Correlate(float* a, float* b, const RealFft32f* fft, int32_t n, uint8_t* buffer) {
  int32_t status = px::FFTFwdRToPack(a, a, fft, buffer);
  if (status == kStatusOk) status = px::FFTFwdRToPack(b, b, fft, buffer);
  if (status != kStatusOk) return status;
  MultiplyByConjugate(a, b, n);
  return px::FFTInvPackToR(b, b, fft, buffer);
}

int32_t CorrelateWith(const RealFft32f* fft, int32_t n, const CorrelatedSignals& signals,
                      const LagRun& lags, int16_t* d, int32_t scaleFactor) {
  int32_t bufferSize = 0;
  if (const int32_t status = px::ippsFFTGetBufSize_R_32f(fft, &bufferSize)) return status;
  BlockLayout layout;
  const auto placeA = layout.Add<float>(n);
  const auto placeB = layout.Add<float>(n);
  const auto bufferPlace = layout.Add<uint8_t>(bufferSize);
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return kStatusNoMemory;
  float* const a = placeA.In(block);
  float* const b = placeB.In(block);

  // Lag 1 - length1, the first with overlap, comes to stand at the start.
  const int32_t shift = signals.length1 - 1;
  FillPadded(signals.samples1, signals.length1, 0, a, n);
  FillPadded(signals.samples2, signals.length2, shift, b, n);
  const int32_t status = Correlate(a, b, fft, n, bufferSize > 0 ? bufferPlace.In(block) : nullptr);
  if (status == kStatusOk) {
    const auto first = static_cast<int32_t>(lags.lowLag + shift);
    px::ippsConvert_32f16s_Sfs(b + first, d, lags.count, kRoundToNearest, scaleFactor);
  }
  px::ippsFree(block);
  return status;
}

}  // namespace

int32_t CorrelateByTransform(const CorrelatedSignals& signals, const LagRun& lags, int16_t* d,
                             int32_t scaleFactor) {
  // More than 383 lags pay for it, so there are more than two points.
  const uint32_t points = static_cast<uint32_t>(signals.length1) + signals.length2 - 1;
  const auto order = static_cast<int32_t>(std::bit_width(points - 1));
  RealFft32f* fft = nullptr;
  int32_t status = px::ippsFFTInitAlloc_R_32f(&fft, order, FFT_DIV_INV_BY_N, /*hint=*/0);
  if (status != kStatusOk) return status;
  status = CorrelateWith(fft, int32_t{1} << order, signals, lags, d, scaleFactor);
  px::ippsFFTFree_R_32f(fft);
  return status;
}

}  // namespace zr::primitives
