// Makes raw 16-bit noise of a given mean and standard deviation.
//
//   noise 48000 0 3276.8 1 | level_meter 48000
//
// The arguments: how many samples, mean, standard deviation, seed. The same seed gives the same
// noise. The distribution is close to the normal one: each sample is the sum of twelve uniform
// numbers, whose variances of 1/12 add to 1. Standard error tells what was reached, before
// rounding:
//
//   mean -12.77, standard deviation 3272.01
#include <primitives/primitives.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argumentCount, char** arguments) {
  const auto n =
      static_cast<int32_t>(argumentCount == 5 ? std::strtol(arguments[1], nullptr, 10) : 0);
  if (n < 2) {
    std::fputs("usage: noise COUNT MEAN DEVIATION SEED > SAMPLES, with a COUNT of 2 or more\n",
               stderr);
    return 2;
  }
  const float mean = std::strtof(arguments[2], nullptr);
  const float deviation = std::strtof(arguments[3], nullptr);
  auto seed = static_cast<uint32_t>(std::strtoul(arguments[4], nullptr, 10));

  const auto count = static_cast<std::size_t>(n);
  std::vector<float> noise(count);
  std::vector<float> uniform(count);
  for (int i = 0; i < 12; ++i) {
    ippsRandUniform_Direct_32f(uniform.data(), n, -0.5F, 0.5F, &seed);
    ippsAdd_32f_I(uniform.data(), noise.data(), n);
  }
  ippsMulC_32f_I(deviation, noise.data(), n);
  ippsAddC_32f_I(mean, noise.data(), n);

  constexpr int32_t kHint = 0;
  float reachedMean = 0.0F;
  float reachedDeviation = 0.0F;
  ippsMean_32f(noise.data(), n, &reachedMean, kHint);
  ippsStdDev_32f(noise.data(), n, &reachedDeviation, kHint);
  std::fprintf(stderr, "mean %.2f, standard deviation %.2f\n", static_cast<double>(reachedMean),
               static_cast<double>(reachedDeviation));

  constexpr int32_t kRoundToNearest = 1;
  std::vector<int16_t> samples(count);
  ippsConvert_32f16s_Sfs(noise.data(), samples.data(), n, kRoundToNearest, 0);
  std::fwrite(samples.data(), sizeof(int16_t), samples.size(), stdout);
}
