// What the programs share that make their rows from the list of primitives.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace zr::bench {

inline constexpr double kMinimumSeconds = 0.02;

inline void Register(const std::string& caseName, const char* contender,
                     std::function<void(benchmark::State&)> run) {
  const std::string full = caseName + "/" + contender;
  benchmark::RegisterBenchmark(full.c_str(), std::move(run))->MinTime(kMinimumSeconds);
}

template <typename Call>
void Measure(benchmark::State& state, int32_t length, std::size_t bytesPerElement, Call call) {
  for ([[maybe_unused]] auto _ : state) {
    call();
    benchmark::ClobberMemory();
  }
  const int64_t elements = state.iterations() * length;
  state.SetItemsProcessed(elements);
  state.SetBytesProcessed(elements * static_cast<int64_t>(bytesPerElement));
}

}  // namespace zr::bench
