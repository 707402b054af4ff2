// The 16-bit samples that adaptive and recursive filters make of their sums: limited first, then
// made integers by the filter's own rule.
#pragma once

#include <cstdint>
#include <limits>

namespace zr::primitives {

/// toInteger is for values inside the range. A NaN gives the lowest sample, as in the conversions.
template <typename ToInteger>
inline int16_t LimitToSample(double value, ToInteger toInteger) {
  constexpr auto kLowest = std::numeric_limits<int16_t>::min();
  constexpr auto kHighest = std::numeric_limits<int16_t>::max();
  if (value >= kHighest) return kHighest;
  if (!(value > kLowest)) return kLowest;
  return static_cast<int16_t>(toInteger(value));
}

inline int16_t TruncateToSample(double value) {
  return LimitToSample(value, [](double x) { return static_cast<int32_t>(x); });
}

/// To the nearest integer, ties away from zero.
inline int16_t RoundToSample(double value) {
  return LimitToSample(value,
                       [](double x) { return static_cast<int32_t>(x < 0 ? x - 0.5 : x + 0.5); });
}

}  // namespace zr::primitives
