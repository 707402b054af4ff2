// Powers of floats whose base or exponent is out of the ordinary: fixed values, the domain error,
// and the signs of negative bases. The ways to compute an ordinary power differ, these do not.
#pragma once

#include <cmath>
#include <limits>

#include "primitives/math/exceptional_elements.h"
#include "primitives/math/parity.h"
#include "primitives/rounding.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives {

/// x to the power y. power(magnitude, y) is asked where the base is finite and neither 0 nor 1, the
/// exponent finite and neither 0 nor 1.
template <typename Power>
inline float PowerWithSpecials(Power power, ExceptionalElements* exceptional, float x, float y) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  if (y == 0.0F || x == 1.0F) return 1.0F;
  if (y == 1.0F) return x;
  if (std::isnan(y)) return y;
  if (std::isnan(x)) return x;

  const float magnitude = std::fabs(x);
  const Parity parity = ParityOf(y);
  const bool isNegated = std::signbit(x) && parity == Parity::kOdd;
  const auto withSign = [isNegated](float value) { return isNegated ? -value : value; };
  if (magnitude == kInfinity) return withSign(y > 0.0F ? kInfinity : 0.0F);
  if (magnitude == 0.0F) {
    if (y > 0.0F) return withSign(0.0F);
    exceptional->Report(kStatusMathDomain);
    return withSign(kInfinity);
  }
  if (std::fabs(y) == kInfinity) {
    if (magnitude == 1.0F) return 1.0F;
    return (magnitude > 1.0F) == (y > 0.0F) ? kInfinity : 0.0F;
  }
  if (x > 0.0F) return power(x, y);
  if (y == -1.0F) return RoundToFloat(1.0 / x);
  if (parity == Parity::kNotInteger) {
    exceptional->Report(kStatusMathDomain);
    return kZeroOverZero<float>;
  }
  return withSign(power(magnitude, y));
}

}  // namespace zr::primitives
