// How a transform of a given size is carried out. Up to the direct limit the data fits the nearest
// cache and one kernel does all. A little above it two or four such blocks are combined. Beyond
// that the points are split into 2^s contiguous blocks and columns across them; s was chosen by
// measurement.
#pragma once

#include <cstdint>
#include <type_traits>

namespace zr::primitives::px {

inline constexpr int32_t kLargestFftOrder = 30;

/// Below this order straight-line kernels work without any table.
inline constexpr int32_t kSmallestTabledOrder = 4;

template <typename Element>
inline constexpr int32_t kDirectLimit = std::is_same_v<Element, float> ? 10 : 9;

/// Columns that are combined at once, so that their twiddles are used again while they are near.
template <typename Element>
inline constexpr int32_t kCombinedColumns = std::is_same_v<Element, float> ? 128 : 64;

/// Columns that the split path transforms at once.
inline constexpr int32_t kSplitColumns = 4;

/// s for orders above the direct limit; 0 means that the blocks are combined.
template <typename Element>
constexpr int32_t SplitExponent(int32_t order) {
  constexpr int32_t kFirst = 12;
  constexpr int8_t kFloatExponents[] = {0, 5, 6, 7, 8, 8, 8, 10, 10, 10, 10, 8, 8, 10};
  constexpr int8_t kDoubleExponents[] = {4, 5, 6, 7, 7, 8, 9, 9, 9, 8, 8, 9, 9, 9};
  constexpr int32_t kCount = sizeof(kFloatExponents);
  static_assert(kCount == sizeof(kDoubleExponents));
  if (order < kFirst) return 0;
  const int32_t i = order - kFirst < kCount ? order - kFirst : kCount - 1;
  return std::is_same_v<Element, float> ? kFloatExponents[i] : kDoubleExponents[i];
}

}  // namespace zr::primitives::px
