// Scaling of integers against the mathematics: extended precision holds every 64-bit value.
#include "primitives/scaling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/primitives/random_elements.h"

using zr::primitives::ScaleAndSaturate;

namespace {

template <typename Result>
Result Expected(int64_t value, int32_t scaleFactor) {
  const int32_t exponent = -std::clamp(scaleFactor, -200, 200);
  const long double scaled = std::ldexp(static_cast<long double>(value), exponent);
  using Limits = std::numeric_limits<Result>;
  return static_cast<Result>(
      std::clamp<long double>(std::nearbyint(scaled), Limits::min(), Limits::max()));
}

template <typename Result, typename Wide>
void ExpectAgreement(Wide value) {
  for (int32_t scaleFactor = -70; scaleFactor <= 70; ++scaleFactor) {
    ASSERT_EQ((ScaleAndSaturate<Result>(value, scaleFactor)), Expected<Result>(value, scaleFactor))
        << value << " at " << scaleFactor;
  }
  for (const int32_t scaleFactor :
       {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()}) {
    ASSERT_EQ((ScaleAndSaturate<Result>(value, scaleFactor)), Expected<Result>(value, scaleFactor))
        << value << " at " << scaleFactor;
  }
}

TEST(Scaling, IntegersRoundTiesToEvenAndSaturate) {
  zr::test::RandomElements random(1, true);
  for (int32_t i = 0; i < 2000; ++i) {
    // Of every size, and with the zeros behind them that make ties.
    const int64_t wide = static_cast<int64_t>(random.Bits()) >> (2 + random.Bits() % 62);
    const int64_t value = (wide >> random.Bits() % 8) << (random.Bits() % 8);
    if (value <= int64_t{1} << 62 && value >= -(int64_t{1} << 62)) {
      ExpectAgreement<int16_t>(value);
      ExpectAgreement<int32_t>(value);
    }
    ExpectAgreement<int16_t>(static_cast<int32_t>(value) / 2);
    ExpectAgreement<int32_t>(static_cast<int32_t>(value) / 2);
  }
  for (const int64_t largest : {int64_t{1} << 62, -(int64_t{1} << 62)}) {
    ExpectAgreement<int32_t>(largest);
    ExpectAgreement<int16_t>(static_cast<int32_t>(largest / (int64_t{1} << 32)));
  }
}

}  // namespace
