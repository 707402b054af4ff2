// Rounding that is part of a result: to single and double precision, and to integers.
#pragma once

#include <cfloat>
#include <cstdint>

namespace zr::primitives {

/// The rounding mode of conversions to integers that means nearest with ties to even; any other
/// truncates.
inline constexpr int32_t kRoundToNearest = 1;

/// Rounds to single precision, once, in every build. A compiler for the x87 keeps excess precision
/// in a float variable, across calls too once they are inlined; only a trip through memory drops
/// it.
inline float RoundToFloat(float value) {
  if constexpr (FLT_EVAL_METHOD != 0) {
    asm("" : "+m"(value));
  }
  return value;
}
inline float RoundToFloat(double value) {
  return RoundToFloat(static_cast<float>(value));
}

/// Drops the range that the registers of the x87 have beyond a double's.
inline double RoundToDouble(double value) {
  if constexpr (FLT_EVAL_METHOD != 0) {
    asm("" : "+m"(value));
  }
  return value;
}

/// Rounds to the nearest integer, ties to even. |value| must stay below 2^31 - 1.
inline int32_t RoundTiesToEven(double value) {
  const double shifted = value < 0.0 ? value - 0.5 : value + 0.5;
  const auto truncated = static_cast<int32_t>(shifted);
  const bool isOddTie = (truncated & 1) != 0 && static_cast<double>(truncated) == shifted;
  if (!isOddTie) return truncated;
  return truncated < 0 ? truncated + 1 : truncated - 1;
}

}  // namespace zr::primitives
