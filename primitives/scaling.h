// Powers of two for the scale factors of integer conversions, exact by their bits: no library
// routine and no rounding stands between a scale factor and its multiplier.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace zr::primitives {

/// 2^-scaleFactor in single precision, with the exponent kept inside the normal numbers: the
/// multiplier of integer-to-float conversions.
inline float FloatPowerOfTwo(int32_t scaleFactor) {
  const int32_t limited = std::clamp(scaleFactor, -112, 126);
  return std::bit_cast<float>(static_cast<uint32_t>(127 - limited) << 23);
}

/// 2^-scaleFactor in double precision: the multiplier of float-to-integer conversions. Beyond 300 a
/// finite float times the multiplier is saturated or 0, and the limit keeps the product a number:
/// infinities saturate and zeros stay zero at every scale factor.
inline double DoublePowerOfTwo(int32_t scaleFactor) {
  const int32_t limited = std::clamp(scaleFactor, -300, 300);
  return std::bit_cast<double>(static_cast<uint64_t>(1023 - limited) << 52);
}

}  // namespace zr::primitives
