// Two microphones hear the same noise, the second 137 samples later, each with a noise of its own
// that is as loud: the correlation at each lag.
#include <primitives/primitives.h>

#include <cstdio>
#include <vector>

constexpr int32_t kSamples = 8000;
constexpr int32_t kDelay = 137;
constexpr int32_t kLags = 401;

std::vector<int16_t> Noise(int32_t length, uint32_t* seed) {
  constexpr int32_t kRoundToNearest = 1;
  std::vector<float> noise(length);
  ippsRandUniform_Direct_32f(noise.data(), length, -8000.0F, 8000.0F, seed);
  std::vector<int16_t> samples(length);
  ippsConvert_32f16s_Sfs(noise.data(), samples.data(), length, kRoundToNearest, 0);
  return samples;
}

int main() {
  uint32_t seed = 1;
  const std::vector<int16_t> source = Noise(kSamples + kDelay, &seed);
  std::vector<int16_t> near = Noise(kSamples, &seed);
  std::vector<int16_t> far = Noise(kSamples, &seed);
  ippsAdd_16s_I(source.data() + kDelay, near.data(), kSamples);
  ippsAdd_16s_I(source.data(), far.data(), kSamples);

  // 8,000 products of some 2^24: 2^37, of which a scale factor of 24 leaves 2^13.
  constexpr int32_t kScaleFactor = 24;
  constexpr int32_t kLowestLag = -200;
  std::vector<int16_t> correlation(kLags);
  ippsCrossCorr_16s_Sfs(near.data(), kSamples, far.data(), kSamples, correlation.data(), kLags,
                        kLowestLag, kScaleFactor);

  int16_t largest = 0;
  int32_t place = 0;
  ippsMaxIndx_16s(correlation.data(), kLags, &largest, &place);
  std::printf("# the far microphone hears it %d samples later\n", kLowestLag + place);
  for (int32_t i = 0; i < kLags; ++i)
    std::printf("%d %d\n", kLowestLag + i, correlation[i]);
}
