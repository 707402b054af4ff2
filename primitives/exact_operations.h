// One operation of single or double precision, rounded once to the bits of that precision in every
// build. The x87 alone needs help. It computes a product or quotient that is below the normal
// doubles to 53 bits first, and would round it a second time at the store; scaled down into the
// range where its own numbers lose bits at the same places, it rounds right at once.
#pragma once

#include <cfloat>

#include "primitives/rounding.h"

namespace zr::primitives {

inline constexpr long double kToBottomOfRange = FLT_EVAL_METHOD != 0 ? 0x1p-15360L : 1.0L;
inline constexpr long double kFromBottomOfRange = FLT_EVAL_METHOD != 0 ? 0x1p+15360L : 1.0L;

inline float Plus(float a, float b) {
  return RoundToFloat(a + b);
}
inline double Plus(double a, double b) {
  return RoundToDouble(a + b);
}

inline float Minus(float a, float b) {
  return RoundToFloat(a - b);
}
inline double Minus(double a, double b) {
  return RoundToDouble(a - b);
}

inline float Times(float a, float b) {
  return RoundToFloat(a * b);
}
inline double Times(double a, double b) {
  if constexpr (FLT_EVAL_METHOD == 0) return a * b;
  return RoundToDouble(static_cast<double>(a * kToBottomOfRange * b * kFromBottomOfRange));
}

inline float Over(float a, float b) {
  return RoundToFloat(a / b);
}
inline double Over(double a, double b) {
  if constexpr (FLT_EVAL_METHOD == 0) return a / b;
  return RoundToDouble(static_cast<double>(a * kToBottomOfRange / b * kFromBottomOfRange));
}

}  // namespace zr::primitives
