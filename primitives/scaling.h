// Powers of two for the scale factors of integer conversions.
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

/// 2^-scaleFactor in double precision: the multiplier of float-to-integer conversions. Beyond 300
/// any float times the multiplier is saturated or 0, so the limit changes no result.
inline double DoublePowerOfTwo(int32_t scaleFactor) {
  const int32_t limited = std::clamp(scaleFactor, -300, 300);
  return std::bit_cast<double>(static_cast<uint64_t>(1023 - limited) << 52);
}

}  // namespace zr::primitives
