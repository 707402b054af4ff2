// The streaming FIR filter, 16 to 4,096 taps, against the plainest loop and liquid-dsp: in blocks
// of 256 samples, which are always convolved directly, and of 8,192, which go through the Fourier
// transform from 64 taps on.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

#include "bench/fir/filters.h"
#include "bench/rows.h"

namespace zr::bench {
namespace {

constexpr int32_t kBlockLengths[] = {256, 8192};
constexpr int32_t kFewestTaps = 16;
constexpr int32_t kMostTaps = 4096;

using Samples = std::vector<int16_t>;

std::vector<float> RandomTaps(int32_t tapsLength) {
  std::mt19937 random;
  std::uniform_real_distribution<float> distribution(0.0F, 1.0F / static_cast<float>(tapsLength));
  std::vector<float> taps(static_cast<std::size_t>(tapsLength));
  std::generate(taps.begin(), taps.end(), [&] { return distribution(random); });
  return taps;
}

Samples RandomSamples(int32_t length) {
  std::mt19937 random;
  Samples samples(static_cast<std::size_t>(length));
  std::generate(samples.begin(), samples.end(), [&] { return static_cast<int16_t>(random()); });
  return samples;
}

/// Whether no sample of the first blocks is further than largestError from the plain loop's. The
/// filter has then all taps' worth of samples behind it.
bool IsRight(const Filter& filter, int32_t tapsLength, int32_t blockLength, int32_t largestError) {
  const Filter plain = PlainFilter(RandomTaps(tapsLength), blockLength);
  const Samples source = RandomSamples(blockLength);
  Samples result(source.size());
  Samples expected(source.size());
  for (int32_t filtered = 0; filtered < 2 * tapsLength; filtered += blockLength) {
    filter(source.data(), result.data());
    plain(source.data(), expected.data());
    const auto isNear = [=](int16_t a, int16_t b) { return std::abs(a - b) <= largestError; };
    if (!std::equal(result.begin(), result.end(), expected.begin(), isNear)) return false;
  }
  return true;
}

using Maker = Filter (*)(const std::vector<float>& taps, int32_t blockLength);

void RegisterContender(int32_t tapsLength, int32_t blockLength, const char* contender, Maker make,
                       int32_t largestError) {
  std::string name = "FIR32f_16s_Sfs/" + std::to_string(tapsLength);
  name += "/";
  name += std::to_string(blockLength);
  const auto run = [=](benchmark::State& state) {
    const Filter filter = make(RandomTaps(tapsLength), blockLength);
    if (!IsRight(filter, tapsLength, blockLength, largestError)) {
      return state.SkipWithError("Not the plain loop's samples");
    }
    const Samples source = RandomSamples(blockLength);
    Samples destination(source.size());
    Measure(state, blockLength, 2 * sizeof(int16_t),
            [&] { filter(source.data(), destination.data()); });
  };
  Register(name, contender, run);
}

[[maybe_unused]] const bool kAreCasesRegistered = [] {
  constexpr int32_t kShortestTransformed = 64;
  constexpr int32_t kFewestTransformed = 512;
  for (const int32_t blockLength : kBlockLengths) {
    for (int32_t taps = kFewestTaps; taps <= kMostTaps; taps *= 2) {
      const bool isExact = taps < kShortestTransformed || blockLength < kFewestTransformed;
      RegisterContender(taps, blockLength, "ours", &OurFilter, isExact ? 0 : 1);
      RegisterContender(taps, blockLength, "plain", &PlainFilter, 0);
      RegisterContender(taps, blockLength, "liquid", &LiquidFilter, 1);
      if (blockLength >= taps - 1) {
        RegisterContender(taps, blockLength, "liquid-fft", &LiquidTransformFilter, 1);
      }
    }
  }
  return true;
}();

}  // namespace
}  // namespace zr::bench
