// The cross-correlation of 16-bit signals around the estimate from which on it is done through the
// Fourier transform: as the primitive chooses, either way forced, and as the plainest loop. Cases
// are named by the lengths of the signals and the number of lags.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench/correlation/plain.h"
#include "bench/rows.h"
#include "primitives/filters/correlation.h"
#include "primitives/filters/correlation_methods.h"

namespace zr::bench {
namespace {

using primitives::CorrelatedSignals;
using primitives::LagRun;
using Samples = std::vector<int16_t>;

constexpr int32_t kScaleFactor = 16;

struct Shape {
  int32_t length1;
  int32_t length2;
  int32_t lags;  ///< Around the middle of all lags with overlap.
};

// Each group passes the estimate of 383: all lags of two signals of one length, few lags of long
// signals, all lags of a short and a long signal.
constexpr Shape kShapes[] = {
    {64, 64, 127},     {128, 128, 255},   {192, 192, 383},    {193, 193, 385},
    {256, 256, 511},   {512, 512, 1023},  {1024, 1024, 2047}, {2048, 2048, 4095},
    {4096, 4096, 64},  {4096, 4096, 128}, {4096, 4096, 256},  {4096, 4096, 383},
    {4096, 4096, 384}, {64, 4096, 4159},  {256, 4096, 4351},  {341, 4096, 4436},
    {384, 4096, 4479}, {512, 4096, 4607}, {1024, 4096, 5119},
};

LagRun MiddleLags(const Shape& shape) {
  const int32_t withOverlap = shape.length1 + shape.length2 - 1;
  return {int64_t{1} - shape.length1 + (withOverlap - shape.lags) / 2, shape.lags};
}

Samples RandomSamples(int32_t length, uint32_t seed) {
  std::mt19937 random(seed);
  Samples samples(static_cast<std::size_t>(length));
  std::generate(samples.begin(), samples.end(), [&] { return static_cast<int16_t>(random()); });
  return samples;
}

using Correlate = int32_t (*)(const CorrelatedSignals&, const LagRun&, int16_t*, int32_t);

int32_t CorrelateAsChosen(const CorrelatedSignals& signals, const LagRun& lags, int16_t* d,
                          int32_t scaleFactor) {
  return ippsCrossCorr_16s_Sfs(signals.samples1, signals.length1, signals.samples2, signals.length2,
                               d, lags.count, static_cast<int32_t>(lags.lowLag), scaleFactor);
}

void RegisterContender(const Shape& shape, const char* contender, Correlate correlate,
                       int32_t largestError) {
  std::string name = "CrossCorr_16s_Sfs/" + std::to_string(shape.length1);
  name += "x";
  name += std::to_string(shape.length2) + "/";
  name += std::to_string(shape.lags);
  const auto run = [=](benchmark::State& state) {
    const Samples samples1 = RandomSamples(shape.length1, 1);
    const Samples samples2 = RandomSamples(shape.length2, 2);
    const CorrelatedSignals signals = {samples1.data(), shape.length1, samples2.data(),
                                       shape.length2};
    const LagRun lags = MiddleLags(shape);
    Samples expected(static_cast<std::size_t>(shape.lags));
    Samples result(expected.size());
    CorrelatePlainly(signals, lags, expected.data(), kScaleFactor);
    correlate(signals, lags, result.data(), kScaleFactor);
    const auto isNear = [=](int16_t a, int16_t b) { return std::abs(a - b) <= largestError; };
    if (!std::equal(result.begin(), result.end(), expected.begin(), isNear)) {
      return state.SkipWithError("Not the plain loop's sums");
    }
    Measure(state, shape.lags, sizeof(int16_t), [&] {
      benchmark::DoNotOptimize(correlate(signals, lags, result.data(), kScaleFactor));
    });
  };
  Register(name, contender, run);
}

[[maybe_unused]] const bool kAreCasesRegistered = [] {
  for (const Shape& shape : kShapes) {
    RegisterContender(shape, "ours", &CorrelateAsChosen, 1);
    RegisterContender(shape, "direct", &primitives::CorrelateDirectly, 0);
    RegisterContender(shape, "transform", &primitives::CorrelateByTransform, 1);
    RegisterContender(shape, "plain", &CorrelatePlainly, 0);
  }
  return true;
}();

}  // namespace
}  // namespace zr::bench
