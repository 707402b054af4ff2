// The process loop against the floor: a bare predictor of 8 taps with the same order of operations
// and no detection. Both are bound by the chain from one sample's coefficients to the next's.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>

#include "bench/speech.h"
#include "popfilter/pops.h"
#include "primitives/rounding.h"

namespace {

using zr::primitives::RoundToFloat;

constexpr int32_t kOrder = 8;
constexpr float kScale = 1.0F / 32768.0F;

// Predicts, and learns from every sample. The energy is that of the filter's step: one square in,
// one square out.
class Floor {
 public:
  void Process(const int16_t* samples, std::size_t count) {
    for (std::size_t i = kOrder; i < count; ++i) {
      std::array<float, kOrder> input;
      for (std::size_t k = 0; k < kOrder; ++k) {
        input[k] = static_cast<float>(samples[i - 1 - k]) * kScale;
      }
      const float energy = energy_ + input.front() * input.front();
      energy_ = RoundToFloat(energy - static_cast<double>(input.back()) * input.back());

      double sum = 0.0;
      for (std::size_t k = 0; k < kOrder; ++k) {
        sum += static_cast<double>(coefs_[k]) * input[k];
      }
      const float error = static_cast<float>(samples[i]) * kScale - RoundToFloat(sum);
      const float reciprocal = RoundToFloat(1.0 / (energy + 0.001F));
      const float gain = 0.2F * reciprocal * error;
      for (std::size_t k = 0; k < kOrder; ++k) {
        coefs_[k] += input[k] * gain;
      }
    }
    benchmark::DoNotOptimize(coefs_);
  }

 private:
  std::array<float, kOrder> coefs_{};
  float energy_ = 0.0F;
};

void ReportPerSample(benchmark::State& state, std::size_t samples) {
  state.counters["samples"] = benchmark::Counter(
      static_cast<double>(samples),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void RunFloor(benchmark::State& state) {
  const auto speech = zr::bench::TenSecondsOfSpeech();
  for (auto _ : state) {
    Floor floor;
    floor.Process(speech.data(), speech.size());
  }
  ReportPerSample(state, speech.size());
}

// In blocks of 10 ms, as a device delivers them.
void RunFilter(benchmark::State& state, uint32_t slope) {
  constexpr std::size_t kBlock = 480;
  const auto speech = zr::bench::TenSecondsOfSpeech();
  POPSState* filter = nullptr;
  if (POPSCreate(&filter) != POPS_OK || POPSSetParameter(filter, POPS_ID_SLOPE, slope) != POPS_OK) {
    state.SkipWithError("no memory");
    return;
  }
  auto block = speech;
  for (auto _ : state) {
    std::copy(speech.begin(), speech.end(), block.begin());
    for (std::size_t start = 0; start < block.size(); start += kBlock) {
      POPSProcess(filter, kBlock, block.data() + start);
    }
  }
  ReportPerSample(state, speech.size());
  POPSDestroy(filter);
}

BENCHMARK_CAPTURE(RunFilter, defaults, 0U)->Name("process/ours");
BENCHMARK(RunFloor)->Name("process/floor");
BENCHMARK_CAPTURE(RunFilter, slope, 500U)->Name("process_with_slope/ours");
BENCHMARK(RunFloor)->Name("process_with_slope/floor");

}  // namespace
