// What a division by a vector gives where a divisor is 0: fixed values and a warning, and the
// vector goes on.
#pragma once

#include <limits>

#include "primitives/exact_operations.h"
#include "primitives/status.h"

namespace zr::primitives {

/// With the sign bit set, as the processor makes one.
template <typename Real>
inline constexpr Real kZeroOverZero = -std::numeric_limits<Real>::quiet_NaN();

/// dividend / divisor; a divisor of 0 makes *zeroFound 1.
template <typename Real>
inline Real DivideMarkingZero(Real dividend, Real divisor, int32_t* zeroFound) {
  constexpr Real kInfinity = std::numeric_limits<Real>::infinity();
  if (divisor != 0) return Over(dividend, divisor);
  *zeroFound = 1;
  if (dividend > 0) return kInfinity;
  return dividend < 0 ? -kInfinity : kZeroOverZero<Real>;
}

inline int32_t WarnOfZero(int32_t zeroFound) {
  return zeroFound != 0 ? kStatusDividedByZero : kStatusOk;
}

}  // namespace zr::primitives
