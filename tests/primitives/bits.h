// Comparison by bit pattern: px results are defined to the bit, NaNs and zeros included.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

namespace zr::test {

inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kInfinity = std::numeric_limits<float>::infinity();

inline std::vector<uint32_t> Bits(const std::vector<float>& values) {
  std::vector<uint32_t> bits;
  bits.reserve(values.size());
  for (const float value : values)
    bits.push_back(std::bit_cast<uint32_t>(value));
  return bits;
}

inline uint32_t Bits(float value) {
  return std::bit_cast<uint32_t>(value);
}

}  // namespace zr::test
