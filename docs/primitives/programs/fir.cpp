// The responses of lowpass filters of 63 taps with a cutoff at 0.1 of the sampling frequency, one
// for each window: frequencies, and levels in decibels.
#include <primitives/primitives.h>

#include <cstdio>
#include <vector>

constexpr int32_t kTaps = 63;
constexpr int32_t kOrder = 12;
constexpr int32_t kPoints = 1 << kOrder;
constexpr int32_t kLines = kPoints / 2 + 1;
constexpr int32_t kNoWindow = 4;

std::vector<float> Response(const RealFft32f* transform, int32_t window) {
  constexpr double kCutoff = 0.1;
  constexpr int32_t kToUnityGain = 1;
  std::vector<double> taps(kTaps);
  ippsFIRGenLowpass_64f(kCutoff, taps.data(), kTaps, window, kToUnityGain);
  std::vector<float> padded(kPoints);
  ippsConvert_64f32f(taps.data(), padded.data(), kTaps);
  std::vector<Complex32f> spectrum(kLines);
  ippsFFTFwd_RToCCS_32f(padded.data(), &spectrum[0].re, transform, nullptr);
  std::vector<float> level(kLines);
  ippsMagn_32fc(spectrum.data(), level.data(), kLines);
  ippsThreshold_LT_32f_I(level.data(), kLines, 1e-9F);
  ippsLog10_32f(level.data(), level.data(), kLines);
  ippsMulC_32f_I(20.0F, level.data(), kLines);
  return level;
}

int main() {
  RealFft32f* transform = nullptr;
  if (ippsFFTInitAlloc_R_32f(&transform, kOrder, FFT_NODIV_BY_ANY, 0) < 0) return 1;
  std::vector<std::vector<float>> levels;
  for (int32_t window = 0; window <= kNoWindow; ++window)
    levels.push_back(Response(transform, window));
  ippsFFTFree_R_32f(transform);
  for (int32_t k = 0; k < kLines; ++k) {
    std::printf("%.6f", static_cast<double>(k) / kPoints);
    for (const std::vector<float>& level : levels)
      std::printf(" %.2f", static_cast<double>(level[k]));
    std::puts("");
  }
}
