// Scaling of integers against the mathematics: extended precision holds every 64-bit value.
#include "primitives/scaling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/primitives/random_elements.h"

using zr::primitives::ScaleAndSaturate;

namespace {

template <typename Result, typename Wide>
void ExpectAgreement(Wide value) {
  using Limits = std::numeric_limits<Result>;
  using Factors = std::numeric_limits<int32_t>;
  for (int32_t i = -71; i <= 71; ++i) {
    const int32_t scaleFactor = i == -71 ? Factors::min() : i == 71 ? Factors::max() : i;
    const int32_t exponent = -std::clamp(scaleFactor, -200, 200);
    const long double exact = std::nearbyint(std::ldexp(static_cast<long double>(value), exponent));
    ASSERT_EQ((ScaleAndSaturate<Result>(value, scaleFactor)),
              (std::clamp<long double>(exact, Limits::min(), Limits::max())))
        << value << " at " << scaleFactor;
  }
}

TEST(Scaling, IntegersRoundTiesToEvenAndSaturate) {
  constexpr int64_t kLargest = int64_t{1} << 62;
  zr::test::RandomElements random(1, true);
  for (int32_t i = 0; i < 2000; ++i) {
    // Of every size, and with the zeros behind them that make ties.
    const int64_t wide = static_cast<int64_t>(random.Bits()) >> (2 + random.Bits() % 62);
    int64_t value = (wide >> random.Bits() % 8) << (random.Bits() % 8);
    if (i < 2) value = i == 0 ? kLargest : -kLargest;
    value = std::clamp(value, -kLargest, kLargest);
    const auto half = static_cast<int32_t>(i < 2 ? value >> 32 : value) / 2;
    ExpectAgreement<int16_t>(value);
    ExpectAgreement<int32_t>(value);
    ExpectAgreement<int16_t>(half);
    ExpectAgreement<int32_t>(half);
  }
}

}  // namespace
