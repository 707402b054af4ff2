// A hiss is taken from a tone, block by block, as a stream brings them.
#include <primitives/primitives.h>

#include <cstdio>
#include <vector>

constexpr int32_t kTaps = 63;
constexpr int32_t kBlock = 480;
constexpr int32_t kHamming = 2;
constexpr int32_t kRoundToNearest = 1;

// A tone at 0.01 of the sampling frequency and, all above the filter's cutoff, every other sample
// turned in sign.
std::vector<int16_t> NextBlock(int32_t first) {
  std::vector<float> tone(kBlock);
  for (int32_t i = 0; i < kBlock; ++i)
    tone[i] = 0.0628318531F * static_cast<float>(first + i);
  ippsSin_32f(tone.data(), tone.data(), kBlock);
  ippsMulC_32f_I(8000.0F, tone.data(), kBlock);
  for (int32_t i = 0; i < kBlock; ++i)
    tone[i] += i % 2 == 0 ? 4000.0F : -4000.0F;
  std::vector<int16_t> block(kBlock);
  ippsConvert_32f16s_Sfs(tone.data(), block.data(), kBlock, kRoundToNearest, 0);
  return block;
}

int main() {
  std::vector<double> design(kTaps);
  std::vector<float> taps(kTaps);
  ippsFIRGenLowpass_64f(0.1, design.data(), kTaps, kHamming, 1);
  ippsConvert_64f32f(design.data(), taps.data(), kTaps);
  Fir32f16s* filter = nullptr;
  if (ippsFIRInitAlloc32f_16s(&filter, taps.data(), kTaps, nullptr) < 0) return 1;

  std::vector<int16_t> filtered(kBlock);
  for (int32_t first = 0; first < 4 * kBlock; first += kBlock) {
    const std::vector<int16_t> block = NextBlock(first);
    ippsFIR32f_16s_Sfs(block.data(), filtered.data(), kBlock, filter, 0);
    int16_t before = 0;
    int16_t after = 0;
    ippsMax_16s(block.data(), kBlock, &before);
    ippsMax_16s(filtered.data(), kBlock, &after);
    std::printf("peak %d, filtered %d\n", before, after);
  }
  ippsFIRFree32f_16s(filter);
}
