// Rounding that is part of a result: to single precision at a store, and to 16-bit integers.
#pragma once

#include <cfloat>
#include <cstdint>

namespace zr::primitives {

/// Rounds to single precision, once, in every build. A compiler for the x87 keeps excess precision
/// in a float variable; only a trip through memory drops it there.
inline float RoundToFloat(double value) {
  auto rounded = static_cast<float>(value);
  if constexpr (FLT_EVAL_METHOD != 0) {
    asm("" : "+m"(rounded));
  }
  return rounded;
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
