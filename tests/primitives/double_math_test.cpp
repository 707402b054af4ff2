// Powers and exponentials of doubles: special elements and their codes, exact powers, and the error
// against the C library's functions in long double, down to the smallest subnormal.
#include "primitives/math/double_math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "primitives/element_words.h"
#include "primitives/math/elementary_functions.h"
#include "primitives/math/powers_of_two.h"
#include "primitives/math/reciprocal_tables.h"
#include "tests/primitives/extended_precision.h"
#include "tests/primitives/random_elements.h"
#include "tests/primitives/ulps.h"

namespace zr::primitives {
namespace {

using test::ExtendedPrecision;
using test::RandomElements;
using test::Ulps;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

// Any NaN is as good as any other, unless it is told to the bit.
void ExpectSame(double result, double expected, double x, double y) {
  if (std::isnan(expected)) {
    EXPECT_TRUE(std::isnan(result)) << x << ' ' << y;
  } else {
    EXPECT_EQ(LoadWord(&result), LoadWord(&expected)) << x << ' ' << y << " gave " << result;
  }
}

TEST(DoubleMathTables, HoldTheRowsThatAreKnown) {
  constexpr auto kFirst = MakeFirstReciprocals();
  constexpr auto kSecond = MakeSecondReciprocals();
  constexpr auto kThird = MakeThirdReciprocals();
  constexpr auto kPowers = MakePowersOfTwoWithRelativeTails<64>();
  const struct {
    double row;
    double known;
  } rows[] = {{kFirst.rows[0].factor, 1.0},
              {kFirst.rows[16].factor, 0.666656494140625},
              {kFirst.rows[16].logarithm.head, -0.4150154853314234},
              {kFirst.rows[16].logarithm.tail, -1.564570207123908e-13},
              {kFirst.rows[32].factor, 0.5},
              {kFirst.rows[32].logarithm.head, 0.0},
              {kSecond.rows[1].factor, 0.998046875},
              {kSecond.rows[16].factor, 1.015869140625},
              {kThird.rows[0].factor, 1.442694902420044},
              {kThird.rows[1].factor, 1.4426507949829102},
              {kPowers.rows[0].tail, 0.0},
              {kPowers.rows[1].head, 1.0108892860517005},
              {kPowers.rows[1].tail, -1.507066976926039e-17}};
  for (const auto& row : rows)
    EXPECT_EQ(row.row, row.known);

  const ExtendedPrecision scope;
  const auto expectLogarithms = [](const auto& table, double scale, uint32_t firstLess1) {
    uint32_t i = 0;
    for (const ReciprocalRow& row : table.rows) {
      const long double exact =
          std::log2(static_cast<long double>(scale) / row.factor) - (i < firstLess1 ? 0.0L : 1.0L);
      const long double sum = static_cast<long double>(row.logarithm.head) + row.logarithm.tail;
      EXPECT_NEAR(static_cast<double>(sum - exact), 0.0, 0x1p-62) << i;
      const double headUnits = row.logarithm.head * 0x1p40;
      EXPECT_EQ(headUnits, std::trunc(headUnits)) << i;
      ++i;
    }
  };
  expectLogarithms(kFirst, 1.0, 16);
  expectLogarithms(kSecond, 1.0, 33);
  expectLogarithms(kThird, kReciprocalScale, 129);
}

TEST(Pow64f, DecidesSpecialElementsFromTheTopDown) {
  const struct {
    double x;
    double y;
    double expected;
    int32_t status;
  } rows[] = {{kNaN, 0.0, 1.0, 0},
              {kNaN, -0.0, 1.0, 0},
              {-0.0, 0.0, 1.0, 0},
              {1.0, kNaN, 1.0, 0},
              {1.0, -kInfinity, 1.0, 0},
              {1.0, 0.3, 1.0, 0},
              {-1.0, kNaN, 1.0, 0},
              {-1.0, -kInfinity, 1.0, 0},
              {kNaN, 2.0, kNaN, 0},
              {kNaN, -kInfinity, kNaN, 0},
              {0.0, kNaN, kNaN, 0},
              {-kInfinity, kNaN, kNaN, 0},
              {0.0, -kInfinity, kInfinity, 19},
              {-0.0, -kInfinity, kInfinity, 19},
              {-0.0, kInfinity, 0.0, 0},
              {-0.5, -kInfinity, kInfinity, 0},
              {-2.0, kInfinity, kInfinity, 0},
              {-0.5, kInfinity, 0.0, 0},
              {-2.0, -kInfinity, 0.0, 0},
              {kInfinity, kInfinity, kInfinity, 0},
              {-kInfinity, -kInfinity, 0.0, 0},
              {-kInfinity, 3.0, -kInfinity, 0},
              {-kInfinity, 0.5, kInfinity, 0},
              {-kInfinity, -3.0, -0.0, 0},
              {-kInfinity, -2.5, 0.0, 0},
              {0.0, -1.0, kInfinity, 19},
              {-0.0, -1.0, -kInfinity, 19},
              {-0.0, -2.0, kInfinity, 19},
              {-0.0, -0x1p53, kInfinity, 19},
              {-0.0, 3.0, -0.0, 0},
              {-0.0, 1e-300, 0.0, 0},
              {-2.0, 0.5, kNaN, 19},
              {-1.0, 0.5, kNaN, 19},
              {-kSmallest, -1.5, kNaN, 19},
              {-1.0, 0x1p52 + 1.0, -1.0, 0},
              {-1.0, 0x1p53, 1.0, 0},
              {-1.0, -7.0, -1.0, 0}};
  for (const auto& row : rows) {
    double result = 9.0;
    EXPECT_EQ(ippsPow_64f(&row.x, &row.y, &result, 1), row.status) << row.x << ' ' << row.y;
    ExpectSame(result, row.expected, row.x, row.y);
    if (row.status == 19 && std::isnan(row.expected)) {
      EXPECT_EQ(LoadWord(&result), 0xfff8000000000000U) << row.x << ' ' << row.y;
    }
  }
}

TEST(Pow64f, IsExactWhereAPowerIs) {
  const struct {
    double x;
    double y;
    double expected;
    const char* what;
  } rows[] = {{2.0, 10.0, 1024.0, "a power of two"},
              {-2.0, 3.0, -8.0, "a negative base"},
              {2.25, 0.5, 1.5, "a root"},
              {0x1.0000004p0, 2.0, 0x1.0000008000001p0, "a square of 53 bits"},
              {3.0, 33.0, 5559060566555523.0, "53 bits"},
              {-5.0, 21.0, -476837158203125.0, "an odd power"},
              {10.0, 22.0, 1e22, "the last power of ten that a double holds"},
              {1024.0, -0.5, 0.03125, "an inverse root"},
              {2.0, 1023.0, 0x1p1023, "the highest power of two"},
              {2.0, 1024.0, kInfinity, "beyond it"},
              {-2.0, 1025.0, -kInfinity, "beyond it, signed"},
              {2.0, 2000.0, kInfinity, "far beyond"},
              {-3.0, 4097.0, -kInfinity, "so far that it is not computed"},
              {2.0, 0x1p40, kInfinity, "farther than an integer's low word tells"},
              {2.0, 1e300, kInfinity, "farther than can be split"},
              {-3.0, -4097.0, -0.0, "far below, signed"},
              {0.5, kLargest, 0.0, "as far below as can be"},
              {2.0, -1022.0, 0x1p-1022, "the lowest normal power of two"},
              {2.0, -1023.0, 0x1p-1023, "a subnormal one"},
              {-8.0, -357.0, -0x1p-1071, "a subnormal one, signed"},
              {2.0, -1074.0, kSmallest, "the smallest"},
              {2.0, -2000.0, 0.0, "below all"},
              {-2.0, -1077.0, 0.0, "a zero above 2^-1085 has no sign"},
              {-2.0, -1087.0, -0.0, "below it has one"},
              {kSmallest, 0.5, 0x1p-537, "a subnormal base"},
              {0x1.8p-1050, 2.0, 0.0, "whose square is nothing"},
              {0x1.8p-1050, -0.5, 0x1.a20bd700c2c3ep524, "or whose inverse root is large"},
              {0x1.0000000000001p0, 1e-20, 1.0, "close to 1"},
              {-0x1.fffffffffffffp-1, 1.0, -0x1.fffffffffffffp-1, "close to -1"},
              {kLargest, 1e-30, 1.0, "an exponent close to 0"},
              {kLargest, 1.0, kLargest, "the largest"}};
  for (const auto& row : rows) {
    double result = 9.0;
    EXPECT_EQ(ippsPow_64f(&row.x, &row.y, &result, 1), 0) << row.what;
    EXPECT_EQ(LoadWord(&result), LoadWord(&row.expected)) << row.what << ": " << result;
  }
}

TEST(ExpAccurate64f, ReportsTheEndsOfItsRange) {
  const struct {
    double x;
    double expected;
    int32_t status;
  } rows[] = {{0.0, 1.0, 0},
              {-0.0, 1.0, 0},
              {1e-20, 1.0, 0},
              {0x1.8p-53, 1.0 + 0x1p-52, 0},
              {-0x1p-53, 1.0 - 0x1p-53, 0},
              {kInfinity, kInfinity, 0},
              {-kInfinity, 0.0, 0},
              {kNaN, kNaN, 0},
              {709.7827128933841, kInfinity, 12},
              {709.79, kInfinity, 12},
              {kLargest, kInfinity, 12},
              {-745.1332191019413, 0.0, 17},
              {-745.14, 0.0, 17},
              {-745.13, kSmallest, 0},
              {-kLargest, 0.0, 17}};
  for (const auto& row : rows) {
    double result = 9.0;
    EXPECT_EQ(ippsExpAccurate_64f(&row.x, &result, 1), row.status) << row.x;
    ExpectSame(result, row.expected, row.x, 0.0);
  }
}

TEST(DoubleMath, LastExceptionalElementDecides) {
  const std::vector<double> exponents = {800.0, 1.0, -800.0, 0.0};
  std::vector<double> results(4);
  EXPECT_EQ(ippsExpAccurate_64f(exponents.data(), results.data(), 4), 17);
  EXPECT_EQ(results, (std::vector<double>{kInfinity, 0x1.5bf0a8b145769p1, 0.0, 1.0}));
  EXPECT_EQ(ippsExpAccurate_64f(exponents.data(), results.data(), 2), 12);
  const std::vector<double> bases = {-2.0, 3.0};
  const std::vector<double> powers = {0.5, 2.0};
  EXPECT_EQ(ippsPow_64f(bases.data(), powers.data(), results.data(), 2), 19);
  EXPECT_EQ(results[1], 9.0);
}

// An element of [low, high).
double Uniform(RandomElements& random, double low, double high) {
  return low + (high - low) * (static_cast<double>(random.Bits() >> 11) * 0x1p-53);
}

// In the last range a second rounding would cost up to a quarter of a unit.
TEST(DoubleMath, ErrorIsBarelyMoreThanHalfAUnit) {
  const struct {
    double low;  // Of the natural logarithm of the result.
    double high;
    double bound;
  } ranges[] = {{-708.39, 709.78, 0.515},
                {-1e-3, 1e-3, 0.515},
                {-745.0, -708.4, 0.51},
                {-712.0, -708.4, 0.51}};
  RandomElements random(11, false);
  for (const auto& range : ranges) {
    for (int i = 0; i < 20000; ++i) {
      const double logarithm = Uniform(random, range.low, range.high);
      double result = 0.0;
      ASSERT_EQ(ippsExpAccurate_64f(&logarithm, &result, 1), 0);
      const auto power = [=] { return std::exp(static_cast<long double>(logarithm)); };
      EXPECT_LE(Ulps(result, power), range.bound) << logarithm;
      ASSERT_EQ(ippsExp_64f(&logarithm, &result, 1), 0);
      EXPECT_LE(Ulps(result, power), range.bound) << logarithm;

      // Bases of all magnitudes, and ones so close to 1 that the logarithm is short of digits.
      const double scale = std::ldexp(1.0, -static_cast<int>(random.Bits() % 50));
      const double base = i % 2 == 0 ? std::exp(Uniform(random, -700.0, 700.0))
                                     : 1.0 + scale * Uniform(random, 0.01, 1.0);
      const double exponent = logarithm / std::log(base);
      ASSERT_EQ(ippsPow_64f(&base, &exponent, &result, 1), 0);
      EXPECT_LE(Ulps(result,
                     [=] {
                       return std::pow(static_cast<long double>(base),
                                       static_cast<long double>(exponent));
                     }),
                0.54)
          << base << ' ' << exponent;
    }
  }
  // The largest finite result.
  const double last = 709.782712893384;
  double result = 0.0;
  EXPECT_EQ(ippsExpAccurate_64f(&last, &result, 1), 0);
  EXPECT_LE(Ulps(result, [=] { return std::exp(static_cast<long double>(last)); }), 0.52);
}

}  // namespace
}  // namespace zr::primitives
