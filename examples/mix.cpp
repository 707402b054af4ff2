// Mixes raw 16-bit files, each with a gain of its own, into raw 16-bit samples on standard output.
//
//   mix voice.raw 1.0 music.raw 0.25 | aplay -t raw -f S16_LE -r 48000
//
// The sum is formed in single precision and limited to 16 bits once, at the end. The mix is as long
// as the longest file. Standard error tells how high the sum went, full scale being 1:
//
//   peak 1.125: above full scale, limited
#include <primitives/primitives.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

namespace {

constexpr int32_t kFullScaleBits = 15;
constexpr int32_t kRoundToNearest = 1;
constexpr float kLargestSample = 32767.0F / 32768.0F;

std::vector<int16_t> ReadSamples(std::ifstream& file) {
  const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  std::vector<int16_t> samples(bytes.size() / sizeof(int16_t));
  std::copy_n(bytes.data(), samples.size() * sizeof(int16_t),
              reinterpret_cast<char*>(samples.data()));
  return samples;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount < 3 || argumentCount % 2 == 0) {
    std::cerr << "usage: mix FILE GAIN [FILE GAIN]... > SAMPLES\n";
    return 2;
  }
  std::vector<float> sum;
  for (int i = 1; i < argumentCount; i += 2) {
    std::ifstream file(arguments[i], std::ios::binary);
    if (!file) {
      std::cerr << "mix: cannot read " << arguments[i] << '\n';
      return 1;
    }
    const std::vector<int16_t> samples = ReadSamples(file);
    const auto n = static_cast<int32_t>(samples.size());
    std::vector<float> track(samples.size());
    sum.resize(std::max(sum.size(), track.size()));
    // An empty file leaves the sum as it is: a vector of no elements is refused.
    ippsConvert_16s32f_Sfs(samples.data(), track.data(), n, kFullScaleBits);
    ippsMulC_32f_I(std::strtof(arguments[i + 1], nullptr), track.data(), n);
    ippsAdd_32f_I(track.data(), sum.data(), n);
  }

  const auto n = static_cast<int32_t>(sum.size());
  std::vector<int16_t> mixed(sum.size());
  float lowest = 0.0F;
  float highest = 0.0F;
  ippsMinMax_32f(sum.data(), n, &lowest, &highest);
  ippsConvert_32f16s_Sfs(sum.data(), mixed.data(), n, kRoundToNearest, -kFullScaleBits);
  std::fwrite(mixed.data(), sizeof(int16_t), mixed.size(), stdout);

  std::cerr << "peak " << std::max(-lowest, highest);
  if (lowest < -1.0F || highest > kLargestSample) std::cerr << ": above full scale, limited";
  std::cerr << '\n';
}
