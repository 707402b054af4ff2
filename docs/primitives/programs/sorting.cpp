// A tone with single samples that are wrong, and what the median of five leaves of it.
#include <primitives/primitives.h>

#include <cstdio>
#include <vector>

int main() {
  constexpr int32_t n = 400;
  constexpr int32_t kMask = 5;
  constexpr int32_t kRoundToNearest = 1;
  std::vector<float> phase(n);
  for (int32_t i = 0; i < n; ++i)
    phase[i] = 0.0314159265F * static_cast<float>(i);
  ippsSin_32f(phase.data(), phase.data(), n);
  ippsMulC_32f_I(10000.0F, phase.data(), n);
  std::vector<int16_t> samples(n);
  ippsConvert_32f16s_Sfs(phase.data(), samples.data(), n, kRoundToNearest, 0);
  for (int32_t i = 30; i < n; i += 45)
    samples[i] = i % 2 == 0 ? 24000 : -24000;

  std::vector<int16_t> smooth(n);
  ippsFilterMedian_16s(samples.data(), smooth.data(), n, kMask);
  for (int32_t i = 0; i < n; ++i)
    std::printf("%d %d %d\n", i, samples[i], smooth[i]);
}
