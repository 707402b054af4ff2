// Whether a number is an odd integer: the sign of a negative number's power hangs on it.
#pragma once

#include <bit>
#include <cstdint>

namespace zr::primitives {

enum class Parity { kNotInteger, kOdd, kEven };

/// From 2^53 up all are even, infinities too. 0 and NaNs are not asked for.
inline Parity ParityOf(double y) {
  const auto bits = std::bit_cast<uint64_t>(y);
  const int32_t exponent = static_cast<int32_t>((bits >> 52) & 0x7ff) - 1023;
  if (exponent < 0) return Parity::kNotInteger;
  if (exponent > 52) return Parity::kEven;
  const uint64_t significand = (bits & 0xfffffffffffff) | 0x10000000000000;
  const uint64_t fromLastInteger = significand << (11 + exponent);  // Its highest bit is worth 1.
  if ((fromLastInteger & 0x7fffffffffffffff) != 0) return Parity::kNotInteger;
  return fromLastInteger != 0 ? Parity::kOdd : Parity::kEven;
}

}  // namespace zr::primitives
