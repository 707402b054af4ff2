// The hum of the mains, 50 Hz, taken out of samples at 8 kHz. Prints what a notch filter leaves of
// sines, in decibels: the frequency, then for two distances of the poles from the zeros what was
// measured and what the coefficients say.
#include <primitives/primitives.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

namespace {

constexpr double kRate = 8000.0;
constexpr double kHum = 50.0;

double Turn(double frequency) {
  return 2.0 * std::numbers::pi * frequency / kRate;
}

// Zeros on the unit circle, poles of the same angle at a radius below 1. The gain far from the
// notch is 1.
struct Notch {
  explicit Notch(double radius) {
    const double cosine = 2.0 * std::cos(Turn(kHum));
    const double gain = (1.0 + radius * radius) / 2.0;
    const double exact[6] = {gain, -gain * cosine, gain, 1.0, -radius * cosine, radius * radius};
    ippsConvert_64f32f(exact, taps, 6);
  }
  float taps[6];  // b[0] to b[2], a[0] to a[2]
};

double Decibels(double magnitude) {
  return 20.0 * std::log10(magnitude);
}

double Response(const Notch& notch, double frequency) {
  const std::complex<double> z = std::polar(1.0, -Turn(frequency));
  const auto at = [z](const float* taps) {
    return static_cast<double>(taps[0]) +
           z * (static_cast<double>(taps[1]) + z * static_cast<double>(taps[2]));
  };
  return Decibels(std::abs(at(notch.taps) / at(notch.taps + 3)));
}

double Measured(const Notch& notch, double frequency) {
  constexpr int32_t kSettling = 8000;
  constexpr int32_t n = kSettling + 16000;
  std::vector<int16_t> samples(n);
  for (int32_t i = 0; i < n; ++i)
    samples[i] = static_cast<int16_t>(std::lround(16000.0 * std::sin(Turn(frequency) * i)));
  float before = 0.0F;
  float after = 0.0F;
  ippsDotProd_16s32f(&samples[kSettling], &samples[kSettling], n - kSettling, &before);
  Iir32f16s* filter = nullptr;
  if (ippsIIRInitAlloc32f_16s(&filter, notch.taps, 2, nullptr) < 0) return 0.0;
  ippsIIR32f_16s_ISfs(samples.data(), n, filter, 0);
  ippsIIRFree32f_16s(filter);
  ippsDotProd_16s32f(&samples[kSettling], &samples[kSettling], n - kSettling, &after);
  return 0.5 * Decibels(std::max(after, 1.0F) / before);
}

}  // namespace

int main() {
  const Notch notches[2] = {Notch(0.98), Notch(0.998)};
  for (double frequency = 10.0; frequency <= 90.0; frequency += 0.5) {
    std::printf("%.1f", frequency);
    for (const Notch& notch : notches)
      std::printf(" %.2f %.2f", Measured(notch, frequency), Response(notch, frequency));
    std::puts("");
  }
}
