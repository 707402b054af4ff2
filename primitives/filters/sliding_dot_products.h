// Dot products of one vector of weights with the windows of a signal that start at each of its
// places in turn: what a direct convolution and a direct correlation are made of.
#pragma once

#include <array>
#include <cstddef>

#include "primitives/element_access.h"
#include "primitives/rounding.h"

namespace zr::primitives {

/// The sums of kCount windows at once: each runs upward in double precision. They do not wait for
/// each other, and they share what they load.
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

/// d[n * step] = the sum of weights[j] * samples[n + j] over j in [0, length), for n in [0, count).
/// Each sum runs upward in double precision and is rounded once. With kIsShrinking each window is
/// one element shorter than the one before it, and the three elements behind the first window are
/// read where they belong to none: they must be zeros then.
template <bool kIsShrinking, typename Sample>
inline void SlidingDotProducts(const float* weights, int32_t length, const Sample* samples,
                               int32_t count, float* d, std::ptrdiff_t step) {
  constexpr int32_t kAtOnce = 4;
  int32_t n = 0;
  for (; n <= count - kAtOnce; n += kAtOnce) {
    const int32_t longest = kIsShrinking ? length - n : length;
    const auto sums = SumWindows<kAtOnce>(weights, longest, samples + n);
    for (const double sum : sums) {
      *d = RoundToFloat(sum);
      d += step;
    }
  }
  for (; n < count; ++n) {
    const int32_t longest = kIsShrinking ? length - n : length;
    *d = RoundToFloat(SumWindows<1>(weights, longest, samples + n)[0]);
    d += step;
  }
}

}  // namespace zr::primitives
