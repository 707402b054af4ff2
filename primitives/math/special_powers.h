// Powers of floats whose base or exponent is out of the ordinary: fixed values, the domain error,
// and the signs of negative bases. The ways to compute an ordinary power differ, these do not.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "primitives/math/exceptional_elements.h"
#include "primitives/rounding.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives {

enum class Parity { kNotInteger, kOdd, kEven };

/// From the bits of a float: from 2^24 up all are even, infinities too. 0 and NaNs are not asked
/// for.
inline Parity ParityOf(float y) {
  const auto bits = std::bit_cast<uint32_t>(y);
  const int32_t exponent = static_cast<int32_t>((bits >> 23) & 0xff) - 127;
  if (exponent < 0) return Parity::kNotInteger;
  if (exponent > 23) return Parity::kEven;
  const uint32_t significand = (bits & 0x7fffff) | 0x800000;
  const uint32_t fromLastInteger = significand << (8 + exponent);  // Its highest bit is worth 1.
  if ((fromLastInteger & 0x7fffffff) != 0) return Parity::kNotInteger;
  return fromLastInteger != 0 ? Parity::kOdd : Parity::kEven;
}

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
