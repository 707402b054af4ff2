// The spectrum of two tones in noise, the second one 60 dB below the first: frequencies as
// fractions of the sampling frequency, and levels in decibels.
#include <primitives/primitives.h>

#include <cstdio>
#include <numbers>
#include <vector>

constexpr int32_t kOrder = 12;
constexpr int32_t kPoints = 1 << kOrder;
constexpr float kTurn = 2 * std::numbers::pi_v<float>;

std::vector<float> Tone(float frequency, float amplitude) {
  std::vector<float> tone(kPoints);
  for (int32_t i = 0; i < kPoints; ++i)
    tone[i] = kTurn * frequency * static_cast<float>(i);
  ippsCos_32f(tone.data(), tone.data(), kPoints);
  ippsMulC_32f_I(amplitude, tone.data(), kPoints);
  return tone;
}

int main() {
  std::vector<float> signal(kPoints);
  uint32_t seed = 1;
  ippsRandUniform_Direct_32f(signal.data(), kPoints, -1e-3F, 1e-3F, &seed);
  ippsAdd_32f_I(Tone(0.1F, 1.0F).data(), signal.data(), kPoints);
  ippsAdd_32f_I(Tone(0.12F, 1e-3F).data(), signal.data(), kPoints);
  // Hann's window: the tones' periods do not fit the points.
  std::vector<float> window = Tone(1.0F / kPoints, -0.5F);
  ippsAddC_32f_I(0.5F, window.data(), kPoints);
  ippsMul_32f_I(window.data(), signal.data(), kPoints);

  RealFft32f* transform = nullptr;
  if (ippsFFTInitAlloc_R_32f(&transform, kOrder, FFT_DIV_FWD_BY_N, 0) < 0) return 1;
  std::vector<Complex32f> spectrum(kPoints / 2 + 1);
  ippsFFTFwd_RToCCS_32f(signal.data(), &spectrum[0].re, transform, nullptr);
  ippsFFTFree_R_32f(transform);

  std::vector<float> level(spectrum.size());
  const auto lines = static_cast<int32_t>(level.size());
  ippsMagn_32fc(spectrum.data(), level.data(), lines);
  ippsLog10_32f(level.data(), level.data(), lines);
  for (int32_t k = 0; k < lines; ++k)
    std::printf("%.6f %.2f\n", static_cast<double>(k) / kPoints, 20.0 * level[k]);
}
