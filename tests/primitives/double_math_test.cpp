// Powers and exponentials of doubles: special elements and their codes, and exact powers. How
// accurate they are, accuracy/math_accuracy.cpp tests.
#include "primitives/math/double_math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "primitives/element_words.h"
#include "primitives/math/elementary_functions.h"

namespace zr::primitives {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

// Those that floats have too are tested with the powers of floats.
TEST(Pow64f, DecidesSpecialElementsOfDoublesAlone) {
  const struct {
    double x;
    double y;
    double expected;
    int32_t status;
  } rows[] = {
      {-1.0, kNaN, 1.0, 0},          {-0.0, -0x1p53, kInfinity, 19},  {-0.0, 1e-300, 0.0, 0},
      {-kSmallest, -1.5, -kNaN, 19}, {-1.0, 0x1p51 + 0.5, -kNaN, 19}, {-1.0, 0x1p52 + 1.0, -1.0, 0},
      {-1.0, 0x1p53, 1.0, 0}};
  for (const auto& row : rows) {
    double result = 9.0;
    EXPECT_EQ(ippsPow_64f(&row.x, &row.y, &result, 1), row.status) << row.x << ' ' << row.y;
    EXPECT_EQ(LoadWord(&result), LoadWord(&row.expected)) << row.x << ' ' << row.y;
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
              {-2.0, -1083.0, 0.0, "a zero above 2^-1085 has no sign"},
              {-2.0, -1085.0, -0.0, "below it has one"},
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
    EXPECT_EQ(LoadWord(&result), LoadWord(&row.expected)) << row.x << ' ' << result;
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

}  // namespace
}  // namespace zr::primitives
