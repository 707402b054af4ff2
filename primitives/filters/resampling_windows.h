// The sums that a resampler's outputs are made of: samples weighted by the taps of a phase.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "primitives/element_access.h"
#include "primitives/rounding.h"

namespace zr::primitives {

/// What an output is made of.
template <typename Tap>
struct Window {
  const Tap* taps;
  const int16_t* samples;
  bool isOfPhase0;  ///< It has a tap more.
};

template <std::size_t kCount>
using WideSums = std::array<double, kCount>;

/// The sums of windows of length taps, which is a multiple of 4, and one more in phase 0.
template <std::size_t kCount>
inline WideSums<kCount> SumsOfProducts(const std::array<Window<int16_t>, kCount>& windows,
                                       int32_t length) {
  WideSums<kCount> sums;
  for (std::size_t k = 0; k < kCount; ++k) {
    const Window<int16_t> window = windows[k];
    const int32_t count = window.isOfPhase0 ? length + 1 : length;
    int64_t sum = 0;
    for (int32_t j = 0; j < count; ++j) {
      sum += int32_t{window.taps[j]} * Load(window.samples, j);
    }
    sums[k] = RoundToDouble(static_cast<double>(sum));
  }
  return sums;
}

/// Each sum runs upward; side by side they do not wait for each other. Products are formed a few of
/// a window at a time, so that the compiler makes vectors of them.
template <std::size_t kCount>
inline WideSums<kCount> SumsOfProducts(const std::array<Window<float>, kCount>& windows,
                                       int32_t length) {
  constexpr int32_t kProducts = 4;
  const auto product = [&](std::size_t k, int32_t j) {
    return static_cast<double>(windows[k].taps[j]) * Load(windows[k].samples, j);
  };
  WideSums<kCount> sums = {};
  for (int32_t j = 0; j < length; j += kProducts) {
    double products[kCount][kProducts];
    for (std::size_t k = 0; k < kCount; ++k) {
      for (int32_t i = 0; i < kProducts; ++i) {
        products[k][i] = product(k, j + i);
      }
    }
    for (int32_t i = 0; i < kProducts; ++i) {
      for (std::size_t k = 0; k < kCount; ++k) {
        sums[k] += products[k][i];
      }
    }
  }
  for (std::size_t k = 0; k < kCount; ++k) {
    if (windows[k].isOfPhase0) sums[k] += product(k, length);
  }
  return sums;
}

}  // namespace zr::primitives
