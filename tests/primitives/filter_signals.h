// Signals and taps for the tests of filters. Taps are small multiples of a power of two, so that
// sums of products are integers in disguise: exact in any order of additions.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/primitives/random_elements.h"

namespace zr::test {

/// In [1, most].
inline std::size_t RandomLength(RandomElements& random, std::size_t most) {
  return 1 + static_cast<std::size_t>(random.Bits() % most);
}

inline std::vector<int16_t> RandomSamples(uint64_t seed, std::size_t count) {
  RandomElements random(seed, false);
  std::vector<int16_t> samples(count);
  for (int16_t& sample : samples)
    sample = random.Next<int16_t>();
  return samples;
}

/// In [-range, range].
inline std::vector<int32_t> RandomIntegers(uint64_t seed, std::size_t count, int32_t range) {
  RandomElements random(seed, false);
  std::vector<int32_t> integers(count);
  for (int32_t& integer : integers)
    integer = static_cast<int32_t>(random.Bits() % (2U * static_cast<uint32_t>(range) + 1)) - range;
  return integers;
}

inline std::vector<float> RandomTaps(RandomElements& random, std::size_t count) {
  std::vector<float> taps(count);
  for (float& tap : taps)
    tap = random.Next<float>();
  return taps;
}

/// Through memory: a compiler for the x87 may keep what the rounding drops.
inline float StoredAsFloat(double value) {
  const volatile auto rounded = static_cast<float>(value);
  return rounded;
}

/// value as a sum of floats is stored and converted: rounded to a float, then to 16 bits.
inline int16_t StoredAsSample(double value, int32_t scaleFactor) {
  const double scaled = std::ldexp(static_cast<double>(StoredAsFloat(value)), -scaleFactor);
  return static_cast<int16_t>(std::nearbyint(std::clamp(scaled, -32768.0, 32767.0)));
}

}  // namespace zr::test
