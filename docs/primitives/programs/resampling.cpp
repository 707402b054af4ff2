// Sines from 0.1 to 22 kHz, resampled from 44.1 to 48 kHz. Prints the frequency in kilohertz and,
// for taps of 16 bits and for floats, in decibels the gain and the strongest of all that is not the
// sine, images and rounding, against a sine that passes whole.
#include <primitives/primitives.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

namespace {

constexpr int32_t kInRate = 44100;
constexpr int32_t kOutRate = 48000;
constexpr int32_t kTaps = 64;
constexpr int32_t kHalf = kTaps / 2;
constexpr int32_t kOrder = 13;
constexpr int32_t n = 1 << kOrder;
constexpr double kAmplitude = 30000.0;

std::vector<int16_t> Resampled(const Resampler16s* resampler, double frequency) {
  constexpr int32_t kLength = n * 147 / 160 + 1;
  std::vector<int16_t> in(kHalf + kLength + kHalf);
  for (std::size_t i = 0; i < in.size(); ++i)
    in[i] =
        static_cast<int16_t>(std::lround(kAmplitude * std::sin(2.0 * std::numbers::pi * frequency /
                                                               kInRate * static_cast<double>(i))));
  std::vector<int16_t> out(n + 2);
  double time = kHalf;
  int32_t made = 0;
  ippsResamplePolyphaseFixed_16s(resampler, in.data(), kLength, out.data(), 1.0F, &time, &made);
  return out;
}

// Powers of the bins through a window of Blackman and Harris, whose side lobes are at -92 dB.
std::vector<float> Spectrum(const std::vector<int16_t>& samples, const RealFft32f* transform) {
  std::vector<float> points(n + 2);
  std::vector<float> powers(n / 2 + 1);
  std::vector<Complex32f> bins(powers.size());
  for (int32_t i = 0; i < n; ++i) {
    const double angle = 2.0 * std::numbers::pi * i / n;
    points[i] = static_cast<float>(samples[i] * (0.35875 - 0.48829 * std::cos(angle) +
                                                 0.14128 * std::cos(2.0 * angle) -
                                                 0.01168 * std::cos(3.0 * angle)));
  }
  ippsFFTFwd_RToCCS_32f(points.data(), &bins[0].re, transform, nullptr);
  ippsPowerSpectr_32fc(bins.data(), powers.data(), n / 2 + 1);
  return powers;
}

}  // namespace

int main() {
  constexpr int32_t kMainLobe = 5;
  constexpr double kRolloff = 0.94;
  constexpr float kKaiser = 9.0F;
  const double whole = std::pow(kAmplitude * 0.35875 * n / 2.0, 2.0);
  RealFft32f* transform = nullptr;
  if (ippsFFTInitAlloc_R_32f(&transform, kOrder, FFT_NODIV_BY_ANY, 0) < 0) return 1;
  Resampler16s* resamplers[2] = {};
  for (int hint = 1; hint <= 2; ++hint)
    if (ippsResamplePolyphaseFixedInitAlloc_16s(&resamplers[hint - 1], kInRate, kOutRate, kTaps,
                                                kRolloff, kKaiser, hint) < 0)
      return 1;

  for (int32_t step = 1; step <= 220; ++step) {
    // The nearest frequency in the middle of a bin.
    const int32_t bin = step * 100 * (n / 16) / (kOutRate / 16);
    const double frequency = static_cast<double>(bin) * kOutRate / n;
    std::printf("%.3f", frequency / 1000.0);
    for (const Resampler16s* resampler : resamplers) {
      auto powers = Spectrum(Resampled(resampler, frequency), transform);
      const double gain = powers[bin] / whole;
      const int32_t first = std::max(bin - kMainLobe, 0);
      ippsZero_32f(&powers[first], bin + kMainLobe + 1 - first);
      float strongest = 0.0F;
      ippsMax_32f(powers.data(), n / 2 + 1, &strongest);
      std::printf(" %.3f %.2f", 10.0 * std::log10(gain), 10.0 * std::log10(strongest / whole));
    }
    std::puts("");
  }
  ippsFFTFree_R_32f(transform);
  for (Resampler16s* resampler : resamplers)
    ippsResamplePolyphaseFixedFree_16s(resampler);
}
