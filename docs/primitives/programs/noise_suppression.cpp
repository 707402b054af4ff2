// Spectrograms of what denoise_demo.sh left: noisy.raw, then wiener.raw. Prints for the first
// seconds the time, the frequency in kilohertz and the level in decibels.
#include <primitives/primitives.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <vector>

namespace {

constexpr double kRate = 48000.0;
constexpr int32_t kOrder = 10;
constexpr int32_t n = 1 << kOrder;
constexpr int32_t kHop = n / 2;
constexpr int32_t kShownBins = 8000 * n / 48000;
constexpr int32_t kShownFrames = 45 * 4800 / kHop;

std::vector<int16_t> Read(const char* name) {
  std::vector<int16_t> samples(kHop * kShownFrames + n);
  const auto bytes = static_cast<std::streamsize>(samples.size() * sizeof(int16_t));
  std::ifstream file(name, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(samples.data()), bytes)) samples.clear();
  return samples;
}

void PrintFrame(const int16_t* samples, double time, const RealFft32f* transform) {
  float points[n + 2];
  Complex32f bins[n / 2 + 1];
  float powers[n / 2 + 1];
  ippsConvert_16s32f_Sfs(samples, points, n, 15);
  for (int32_t i = 0; i < n; ++i)
    points[i] *= static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * i / n));
  ippsFFTFwd_RToCCS_32f(points, &bins[0].re, transform, nullptr);
  ippsPowerSpectr_32fc(bins, powers, n / 2 + 1);
  for (int32_t k = 0; k < kShownBins; ++k)
    std::printf("%.4f %.3f %.1f\n", time, k * kRate / n / 1000.0,
                10.0 * std::log10(static_cast<double>(powers[k]) + 1e-12));
}

}  // namespace

int main() {
  RealFft32f* transform = nullptr;
  if (ippsFFTInitAlloc_R_32f(&transform, kOrder, FFT_DIV_FWD_BY_N, 0) < 0) return 1;
  for (const char* name : {"noisy.raw", "wiener.raw"}) {
    const auto samples = Read(name);
    if (samples.empty()) return 1;
    for (int32_t frame = 0; frame < kShownFrames; ++frame)
      PrintFrame(&samples[frame * kHop], frame * kHop / kRate, transform);
    std::puts("\n");
  }
  ippsFFTFree_R_32f(transform);
}
