// A slow tone with a click of 2 % of its height and a short burst, in two levels of Daubechies'
// wavelet of four taps, and joined again. Prints the largest difference of what was joined, then
// the signal and the bands over the time in samples.
#include <primitives/primitives.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>

namespace {

constexpr int32_t n = 1024;
constexpr int32_t kRoundToNearest = 1;

template <typename T>
void Print(const T* band, int32_t length) {
  for (int32_t k = 0; k < length; ++k)
    std::printf("%d %.1f\n", k * (n / length), static_cast<double>(band[k]));
  std::puts("\n");
}

}  // namespace

int main() {
  const auto root3 = std::sqrt(3.0F);
  const auto unit = 4.0F * std::sqrt(2.0F);
  const float h[4] = {(1 + root3) / unit, (3 + root3) / unit, (3 - root3) / unit,
                      (1 - root3) / unit};
  const float splitLow[4] = {h[3], h[2], h[1], h[0]};
  const float splitHigh[4] = {h[0], -h[1], h[2], -h[3]};
  const float joinHigh[4] = {-h[3], h[2], -h[1], h[0]};

  int16_t x[n];
  for (int32_t i = 0; i < n; ++i) {
    const double burst = i >= 640 && i < 704 ? 200 * std::sin(2.0 * i) : 0.0;
    x[i] =
        static_cast<int16_t>(std::lround(8000 * std::sin(2 * std::numbers::pi * i / 400) + burst));
  }
  x[301] += 160;

  // The filters of one level delay by 3 samples. The high band of the first level waits for the
  // second, which delays by 3 values of a band, 6 samples.
  constexpr int32_t kSecondDelay = 6;
  constexpr int32_t kDelay = 3 + kSecondDelay;
  WaveletForward16s* split[2] = {};
  WaveletInverse16s* join[2] = {};
  for (auto& level : split)
    if (ippsWTFwdInitAlloc_16s32f(&level, splitLow, 4, 0, splitHigh, 4, 0) < 0) return 1;
  if (ippsWTInvInitAlloc_32f16s(&join[0], h, 4, 0, joinHigh, 4, kSecondDelay) < 0 ||
      ippsWTInvInitAlloc_32f16s(&join[1], h, 4, 0, joinHigh, 4, 0) < 0)
    return 1;

  float low1[n / 2];
  float high1[n / 2];
  float low2[n / 4];
  float high2[n / 4];
  int16_t middle[n / 2];
  ippsWTFwd_16s32f(x, low1, high1, n / 2, split[0]);
  ippsConvert_32f16s_Sfs(low1, middle, n / 2, kRoundToNearest, 0);
  ippsWTFwd_16s32f(middle, low2, high2, n / 4, split[1]);

  int16_t joined[n];
  ippsWTInv_32f16s(low2, high2, n / 4, middle, join[1]);
  ippsConvert_16s32f(middle, low1, n / 2);
  ippsWTInv_32f16s(low1, high1, n / 2, joined, join[0]);

  int largest = 0;
  for (int32_t i = kDelay; i < n; ++i)
    largest = std::max(largest, std::abs(joined[i] - x[i - kDelay]));
  std::printf("# largest difference: %d\n", largest);
  Print(x, n);
  Print(high1, n / 2);
  Print(high2, n / 4);
  Print(low2, n / 4);

  for (int level = 0; level < 2; ++level) {
    ippsWTFwdFree_16s32f(split[level]);
    ippsWTInvFree_32f16s(join[level]);
  }
}
