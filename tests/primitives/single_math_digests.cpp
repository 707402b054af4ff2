// Vector mathematics of floats over every binade and every kind of special number, and powers with
// exponents that fit their bases.
#include <bit>
#include <cmath>

#include "primitives/math/single_math.h"
#include "primitives/rounding.h"
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {

void PrintSingleMathDigests() {
  std::vector<float> all;
  for (uint64_t word = 0; word < (uint64_t{1} << 32); word += 4099)
    all.push_back(std::bit_cast<float>(static_cast<uint32_t>(word)));
  const auto count = static_cast<int32_t>(all.size());
  std::vector<float> exponents(all.size());
  RandomElements random(11, true);
  for (int32_t i = 0; i < count; ++i) {
    // As many powers of two as the exponents of the base: near 2^128 at most, for most bases.
    const int32_t binade =
        std::abs(static_cast<int32_t>(std::bit_cast<uint32_t>(all[i]) >> 23 & 0xff) - 127);
    const float scale = zr::primitives::RoundToFloat(128.0F / static_cast<float>(binade + 1));
    exponents[i] = random.Bits() % 8 == 0 ? random.Next<float>() : random.Next<float>() * scale;
  }

  std::vector<float> results(all.size());
  const auto print = [&results](const char* name, int32_t status) {
    Digest digest;
    digest.Add(status);
    digest.Add(results);
    digest.Print(name);
  };
  print("ippsSin_32f, all binades", ippsSin_32f(all.data(), results.data(), count));
  print("ippsCos_32f, all binades", ippsCos_32f(all.data(), results.data(), count));
  print("ippsTan_32f, all binades", ippsTan_32f(all.data(), results.data(), count));
  print("ippsLog10_32f, all binades", ippsLog10_32f(all.data(), results.data(), count));
  print("ippsPow_32f, all binades",
        ippsPow_32f(all.data(), exponents.data(), results.data(), count));
  print("ippsPowAccurate_32f, all binades",
        ippsPowAccurate_32f(all.data(), exponents.data(), results.data(), count));
}

}  // namespace zr::test
