// Samples between full scale at 1 and integers.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zr::popclean {

/// Rounds to the nearest integer sample of 2 to 32 bits and saturates; not-a-number becomes 0.
inline int32_t ToInteger(double sample, int bits) {
  if (std::isnan(sample)) return 0;
  const double fullScale = std::ldexp(1.0, bits - 1);
  return static_cast<int32_t>(
      std::clamp(std::nearbyint(sample * fullScale), -fullScale, fullScale - 1.0));
}

/// The filter's view of a sample.
inline int16_t To16Bits(double sample) {
  return static_cast<int16_t>(ToInteger(sample, 16));
}

inline double From16Bits(int16_t sample) {
  return sample / 32768.0;
}

}  // namespace zr::popclean
