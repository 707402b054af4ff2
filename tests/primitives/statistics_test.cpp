// Reductions, whose bits tell the order of their additions.
#include "primitives/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/primitives/bits.h"

using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;

namespace {

using Values = std::vector<float>;

Values RandomValues(std::mt19937& random, int32_t n) {
  Values values;
  for (int32_t i = 0; i < n; ++i) {
    values.push_back(std::ldexp(static_cast<float>(static_cast<int32_t>(random())),
                                static_cast<int>(random() % 40) - 40));
  }
  return values;
}

TEST(Statistics, DotProductSumsInOrderInDouble) {
  // The small product survives only if the sum stays wide and runs upward.
  const Values a = {1.0e8F, 1.0F, -1.0e8F};
  const Values b = {1.0e4F, 0.25F, 1.0e4F};
  float result = 9.0F;
  EXPECT_EQ(ippsDotProd_32f(a.data(), b.data(), 3, &result), 0);
  EXPECT_EQ(Bits(result), Bits(0.25F));
  // Upward the one is lost in the large number; downward it would be added last and stay.
  const Values lost = {1.0F, 1.0e20F, -1.0e20F, 1.0F};
  EXPECT_EQ(ippsDotProd_32f(lost.data(), Values(4, 1.0F).data(), 4, &result), 0);
  EXPECT_EQ(Bits(result), Bits(1.0F));
  const Values reversed = {1.0e20F, -1.0e20F, 1.0F, 0.5F};
  EXPECT_EQ(ippsDotProd_32f(reversed.data(), Values(4, 1.0F).data(), 4, &result), 0);
  EXPECT_EQ(Bits(result), Bits(1.5F));
}

TEST(Statistics, StandardDeviationKeepsItsOrderOfSums) {
  std::mt19937 random(7);
  for (int32_t n = 2; n < 1100; n += n < 70 ? 1 : 101) {
    Values values = RandomValues(random, n);
    // A wide base under narrow differences: every other order of sums ends in other bits.
    if (n % 2 == 1) {
      for (float& value : values)
        value = 0.7F + std::ldexp(static_cast<float>(random() % 4096), -23);
    }
    // Two lanes over whole groups of four, told as one loop over pairs of places.
    double sums[2] = {0.0, 0.0};
    double squares[2] = {0.0, 0.0};
    const int32_t grouped = n / 4 * 4;
    for (int32_t i = 0; i < grouped; i += 4) {
      for (int32_t lane = 0; lane < 2; ++lane) {
        const double first = values[static_cast<std::size_t>(i + lane)];
        const double second = values[static_cast<std::size_t>(i + lane + 2)];
        sums[lane] += first;
        sums[lane] += second;
        squares[lane] += first * first + second * second;
      }
    }
    double sum = sums[0] + sums[1];
    double square = squares[0] + squares[1];
    for (int32_t i = grouped; i < n; ++i) {
      const double value = values[static_cast<std::size_t>(i)];
      sum += value;
      square += value * value;
    }
    const double spread = n * square - sum * sum;
    const auto expected =
        spread > 0 ? static_cast<float>(std::sqrt(spread / (static_cast<double>(n) * (n - 1))))
                   : 0.0F;
    float result = 9.0F;
    EXPECT_EQ(ippsStdDev_32f(values.data(), n, &result, 2), 0);
    EXPECT_EQ(Bits(result), Bits(expected)) << "n " << n;
  }
}

TEST(Statistics, StandardDeviationOfSpecialInputs) {
  struct Row {
    Values values;
    float expected;
    const char* what;
  };
  const std::vector<Row> rows = {
      {{1.0F, 1.0F, 1.0F, 1.0F}, 0.0F, "constant"},
      {{1.0F, -1.0F}, 1.41421354F, "root of two"},
      {{0.1F, 0.1F, 0.1F}, 0.0F, "constant that is no binary fraction"},
      {{1.0F, kNaN, 2.0F}, 0.0F, "a NaN"},
      {{kInfinity, 1.0F}, 0.0F, "an infinity"},
  };
  for (const auto& row : rows) {
    float result = 9.0F;
    EXPECT_EQ(
        ippsStdDev_32f(row.values.data(), static_cast<int32_t>(row.values.size()), &result, 0), 0);
    EXPECT_EQ(Bits(result), Bits(row.expected)) << row.what;
  }
}

TEST(Statistics, RefusedCallsKeepTheResult) {
  const float value = 1.0F;
  float kept = 9.0F;
  EXPECT_EQ(ippsDotProd_32f(nullptr, &value, 1, &kept), -8);
  EXPECT_EQ(ippsDotProd_32f(&value, nullptr, 0, &kept), -8);
  EXPECT_EQ(ippsDotProd_32f(&value, &value, 1, nullptr), -8);
  EXPECT_EQ(ippsDotProd_32f(&value, &value, 0, &kept), -6);
  EXPECT_EQ(ippsStdDev_32f(nullptr, 1, &kept, 0), -8);
  EXPECT_EQ(ippsStdDev_32f(&value, 1, nullptr, 0), -8);
  EXPECT_EQ(ippsStdDev_32f(&value, 1, &kept, 0), -6);
  EXPECT_EQ(kept, 9.0F);
}

}  // namespace
