// Dot products of one vector of weights with the windows of a signal that start at each of its
// places in turn: what a direct convolution and a direct correlation are made of.
#pragma once

#include <array>
#include <cstddef>

#include "primitives/element_access.h"
#include "primitives/rounding.h"

namespace zr::primitives {

/// The sums of kCount windows at once, kHop elements apart: each runs upward in double precision.
/// They do not wait for each other, and they share what they load.
template <std::size_t kCount, std::size_t kHop = 1, typename Sample>
inline std::array<double, kCount> SumWindows(const float* weights, int32_t length,
                                             const Sample* samples) {
  std::array<double, kCount> sums = {};
  for (int32_t j = 0; j < length; ++j) {
    const double weight = weights[j];
    for (std::size_t k = 0; k < kCount; ++k) {
      sums[k] += weight * static_cast<double>(Load(samples + k * kHop, j));
    }
  }
  return sums;
}

/// take(n, the sum of weights[j] * samples[n * kHop + j] over j in [0, length)), for n in
/// [0, count). Each sum runs upward in double precision. With kIsShrinking each window is one
/// element shorter than the one before it, and the three elements behind the first window are read
/// where they belong to none: they must be zeros then.
template <bool kIsShrinking, std::size_t kHop, typename Sample, typename Take>
inline void ForEachWindow(const float* weights, int32_t length, const Sample* samples,
                          int32_t count, Take take) {
  constexpr std::ptrdiff_t kStep = kHop;
  constexpr int32_t kAtOnce = 4;
  int32_t n = 0;
  for (; n <= count - kAtOnce; n += kAtOnce) {
    const int32_t longest = kIsShrinking ? length - n : length;
    const auto sums = SumWindows<kAtOnce, kHop>(weights, longest, samples + n * kStep);
    for (int32_t k = 0; k < kAtOnce; ++k) {
      take(n + k, sums[static_cast<std::size_t>(k)]);
    }
  }
  for (; n < count; ++n) {
    const int32_t longest = kIsShrinking ? length - n : length;
    take(n, SumWindows<1>(weights, longest, samples + n * kStep)[0]);
  }
}

/// d[n * step] = the sum of each window, rounded once.
template <bool kIsShrinking, typename Sample>
inline void SlidingDotProducts(const float* weights, int32_t length, const Sample* samples,
                               int32_t count, float* d, std::ptrdiff_t step) {
  const auto store = [d, step](int32_t n, double sum) { d[n * step] = RoundToFloat(sum); };
  ForEachWindow<kIsShrinking, 1>(weights, length, samples, count, store);
}

}  // namespace zr::primitives
