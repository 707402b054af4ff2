// Echo cancelling: what a loudspeaker plays returns to a microphone by way of a room of 128 taps,
// with some noise of its own. Filters that adapt with two step sizes find the echo in what was
// played, and it is taken off. After 2 s something in the room moves. Prints the levels of the
// microphone and of both results over the time in seconds, in decibels below full scale.
#include <primitives/primitives.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

constexpr int32_t kRate = 16000;
constexpr int32_t kTaps = 128;
constexpr int32_t kBlock = 400;
constexpr int32_t kRoundToNearest = 1;

// Noise of that mean square, the same for the same seed.
std::vector<int16_t> Noise(int32_t n, float rms, uint32_t seed) {
  std::vector<float> uniform(static_cast<std::size_t>(n));
  std::vector<int16_t> noise(uniform.size());
  const float most = rms * std::sqrt(3.0F);
  ippsRandUniform_Direct_32f(uniform.data(), n, -most, most, &seed);
  ippsConvert_32f16s_Sfs(uniform.data(), noise.data(), n, kRoundToNearest, 0);
  return noise;
}

// Random taps that decay by 60 dB.
Fir32f16s* Room(uint32_t seed) {
  float taps[kTaps];
  ippsRandUniform_Direct_32f(taps, kTaps, -0.25F, 0.25F, &seed);
  for (int32_t i = 0; i < kTaps; ++i)
    taps[i] *= std::pow(10.0F, -3.0F * static_cast<float>(i) / kTaps);
  Fir32f16s* room = nullptr;
  ippsFIRInitAlloc32f_16s(&room, taps, kTaps, nullptr);
  return room;
}

double Level(const int16_t* samples) {
  float energy = 0.0F;
  ippsDotProd_16s32f(samples, samples, kBlock, &energy);
  return 10.0 * std::log10(std::max(energy, 1.0F) / kBlock) - 20.0 * std::log10(32768.0);
}

}  // namespace

int main() {
  constexpr int32_t n = 4 * kRate;
  const float steps[2] = {1e-10F, 1e-11F};
  const auto played = Noise(n, 3000.0F, 1);
  const auto own = Noise(n, 10.0F, 2);
  Fir32f16s* rooms[2] = {Room(3), Room(4)};
  Lms32f16s* filters[2] = {};
  for (auto& filter : filters)
    if (ippsFIRLMSInitAlloc32f_16s(&filter, nullptr, kTaps, nullptr, 0) < 0) return 1;

  for (int32_t i = 0; i < n; i += kBlock) {
    int16_t microphone[kBlock];
    int16_t result[kBlock];
    ippsFIR32f_16s_Sfs(&played[i], microphone, kBlock, rooms[i < n / 2 ? 0 : 1], 0);
    ippsAdd_16s_I(&own[i], microphone, kBlock);
    std::printf("%.4f %.2f", static_cast<double>(i) / kRate, Level(microphone));
    for (int k = 0; k < 2; ++k) {
      ippsFIRLMS32f_16s(&played[i], microphone, result, kBlock, steps[k], filters[k]);
      ippsSub_16s(result, microphone, result, kBlock);
      std::printf(" %.2f", Level(result));
    }
    std::puts("");
  }
  for (int k = 0; k < 2; ++k) {
    ippsFIRLMSFree32f_16s(filters[k]);
    ippsFIRFree32f_16s(rooms[k]);
  }
}
