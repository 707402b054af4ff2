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

/// Rounds to the nearest integer, ties to even, for values from -2^31 to 2^31 - 1. Beside this
/// constant a double has no room for a fraction, so that the sum rounds to an integer; on the x87
/// that takes its 53-bit precision.
inline int32_t RoundTiesToEven(double value) {
  constexpr double kNoFraction = 0x1.8p52;
  return static_cast<int32_t>((value + kNoFraction) - kNoFraction);
}

}  // namespace zr::primitives
