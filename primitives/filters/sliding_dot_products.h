// Dot products of one vector of weights with the windows of a signal that start at each of its
// places in turn: what a direct convolution and the bands of a wavelet are made of.
#pragma once

#include <array>
#include <cstddef>

#include "primitives/element_access.h"

namespace zr::primitives {

/// The sums of kCount neighbouring windows at once: each runs upward in double precision. They do
/// not wait for each other, and they share what they load.
template <std::size_t kCount, typename Sample>
inline std::array<double, kCount> SumWindows(const float* weights, int32_t length,
                                             const Sample* samples) {
  std::array<double, kCount> sums = {};
  for (int32_t j = 0; j < length; ++j) {
    const double weight = weights[j];
    for (std::size_t k = 0; k < kCount; ++k) {
      sums[k] += weight * static_cast<double>(Load(samples + k, j));
    }
  }
  return sums;
}

/// take(n, the sum of weights[j] * samples[n + j] over j in [0, length)), for n in [0, count). Each
/// sum runs upward in double precision.
template <typename Sample, typename Take>
inline void ForEachWindow(const float* weights, int32_t length, const Sample* samples,
                          int32_t count, Take take) {
  constexpr int32_t kAtOnce = 4;
  int32_t n = 0;
  for (; n <= count - kAtOnce; n += kAtOnce) {
    const auto sums = SumWindows<kAtOnce>(weights, length, samples + n);
    for (int32_t k = 0; k < kAtOnce; ++k) {
      take(n + k, sums[static_cast<std::size_t>(k)]);
    }
  }
  for (; n < count; ++n) {
    take(n, SumWindows<1>(weights, length, samples + n)[0]);
  }
}

}  // namespace zr::primitives
