// Levels, roots and powers of integers. What a rounded root is, its square tells: twice the root
// lies between the odd numbers around twice the result.
#include "primitives/integer_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "tests/primitives/random_elements.h"

namespace {

using zr::test::RandomElements;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

int32_t Level(int32_t x, int32_t scaleFactor) {
  int32_t level = 77;
  EXPECT_EQ(ippsTenLogTen_32s_Sfs(&x, &level, 1, scaleFactor), 0);
  return level;
}

TEST(IntegerFunctions, LevelsAreAStaircase) {
  const int32_t first[] = {0, 3, 5, 6, 7, 8, 9, 9, 10, 10, 10, 10, 10, 10};
  for (int32_t x = 1; x <= 14; ++x)
    EXPECT_EQ(Level(x, 0), first[x - 1]) << x;
  EXPECT_EQ(Level(kHighest, 0), 93);
  EXPECT_EQ(Level(kHighest, 6), 1);
  for (int32_t level = 12; level <= 93; level += level < 92 ? 2 : 1) {
    const double bound = std::pow(10.0, (level - 0.5) / 10);
    ASSERT_GT(std::abs(bound - std::nearbyint(bound)), 1e-3) << "the bound is no tie";
    const auto last = static_cast<int32_t>(bound);
    const int32_t below = level == 93 ? 92 : level - 2;
    EXPECT_EQ(Level(last, 0), below) << last;
    EXPECT_EQ(Level(last + 1, 0), level) << last;
    EXPECT_EQ(Level(last + 1, 1), level / 2) << last;
  }
  for (const int32_t scaleFactor : {7, 31, 32, 33, 64, kHighest})
    EXPECT_EQ(Level(kHighest, scaleFactor), 0) << scaleFactor;
}

TEST(IntegerFunctions, FineLevelsAreLogarithms) {
  EXPECT_EQ(Level(1000, -1), 60);
  RandomElements random(5, true);
  for (int32_t i = 0; i < 20000; ++i) {
    const auto x = static_cast<int32_t>(random.Bits() >> (33 + random.Bits() % 31));
    if (x == 0) continue;
    const int32_t scaleFactor = -1 - static_cast<int32_t>(random.Bits() % 40);
    const double exact = std::ldexp(10 * std::log10(x), -scaleFactor);
    EXPECT_NEAR(Level(x, scaleFactor), std::min<double>(exact, kHighest), 0.50001)
        << x << " at " << scaleFactor;
  }
  // In these the last bit of the logarithm decides.
  EXPECT_EQ(Level(24336752, -24), 1239209234);
  EXPECT_EQ(Level(79093900, -24), 1325088509);
  // 10 log10(2) * 2^29 is the last below the limit.
  EXPECT_LT(Level(2, -29), kHighest);
  EXPECT_EQ(Level(2, -30), kHighest);
  EXPECT_EQ(Level(1, kLowest), 0);
  EXPECT_EQ(Level(2, kLowest), kHighest);
}

TEST(IntegerFunctions, TheFirstElementWithoutALevelDecidesTheWarning) {
  const struct {
    std::vector<int32_t> elements;
    int32_t status;
  } rows[] = {{{1, 0, -1, 1}, 7}, {{1, -1, 0, 1}, 8}, {{kLowest, 1}, 8}, {{1, 1, 0}, 7}};
  for (const auto& row : rows) {
    for (const int32_t scaleFactor : {-5, 0, 3, kHighest}) {
      std::vector<int32_t> levels = row.elements;
      EXPECT_EQ(ippsTenLogTen_32s_Sfs(levels.data(), levels.data(),
                                      static_cast<int32_t>(levels.size()), scaleFactor),
                row.status);
      for (std::size_t i = 0; i < levels.size(); ++i)
        EXPECT_EQ(levels[i], row.elements[i] > 0 ? 0 : kLowest) << i;
    }
  }
}

using Wide = std::pair<uint64_t, uint64_t>;  // High and low word.

Wide Square(uint64_t x) {
  const uint64_t top = x >> 32;
  const uint64_t bottom = x & 0xffffffff;
  const uint64_t middle = top * bottom;  // Comes twice.
  const uint64_t low = bottom * bottom + (middle << 33);
  return {top * top + (middle >> 31) + (low < bottom * bottom ? 1 : 0), low};
}

/// Whether result is sqrt(x) * 2^-scaleFactor, rounded with ties to even and saturated, 0 below 0.
bool IsRoot(int64_t x, int32_t scaleFactor, int64_t result, int64_t highest) {
  if (x <= 0 || scaleFactor > 40) return result == 0;
  const auto square = static_cast<uint64_t>(x);
  const int32_t shift = 2 - 2 * std::clamp(scaleFactor, -80, 0);
  if (std::bit_width(square) + shift > 128) return result == highest;
  const Wide twiceRootSquared =
      shift < 64 ? Wide{square >> (64 - shift), square << shift} : Wide{square << (shift - 64), 0};
  const auto middle = static_cast<uint64_t>(result) * 2;
  const Wide above = Square((middle + 1) << std::max(scaleFactor, 0));
  const Wide below = Square((middle - 1) << std::max(scaleFactor, 0));
  const bool takesTies = result % 2 == 0;
  return (result == 0 || below < twiceRootSquared || (takesTies && below == twiceRootSquared)) &&
         (result == highest || twiceRootSquared < above ||
          (takesTies && above == twiceRootSquared));
}

std::vector<int32_t> ScaleFactors(int32_t lowest, int32_t highest) {
  std::vector<int32_t> factors = {kLowest, kHighest};
  for (int32_t factor = lowest; factor <= highest; ++factor)
    factors.push_back(factor);
  return factors;
}

TEST(IntegerFunctions, RootsOfAllShortElements) {
  std::vector<int16_t> all;
  for (int32_t x = -32768; x <= 32767; ++x)
    all.push_back(static_cast<int16_t>(x));
  for (const int32_t scaleFactor : ScaleFactors(-17, 11)) {
    std::vector<int16_t> roots = all;
    ASSERT_EQ(ippsSqrt_16s_ISfs(roots.data(), 65536, scaleFactor), 3);
    for (std::size_t i = 0; i < all.size(); ++i)
      ASSERT_TRUE(IsRoot(all[i], scaleFactor, roots[i], 32767)) << all[i] << " at " << scaleFactor;
    ASSERT_EQ(ippsSqrt_16s_ISfs(roots.data(), 65536, scaleFactor), 0) << "none is negative";
  }
}

TEST(IntegerFunctions, RootsOfLongElements) {
  constexpr int64_t kHighest64 = std::numeric_limits<int64_t>::max();
  // The last two have roots so little above an odd multiple of 2^-32 that a double falls below it.
  std::vector<int64_t> elements = {std::numeric_limits<int64_t>::min(), -1, 0, 1, 2, 3, 4};
  elements.insert(elements.end(), {kHighest64, kHighest64 - 1, kHighest64 / 2});
  elements.insert(elements.end(), {676600368042256365, 1338243733467708252});
  RandomElements random(6, true);
  for (int32_t i = 0; i < 500; ++i)
    elements.push_back(static_cast<int64_t>(random.Bits() >> (1 + random.Bits() % 63)));
  for (int32_t i = 0; i < 500; ++i) {
    // Where the nearest root changes, plain and scaled, and where the limit is reached.
    uint64_t root = (random.Bits() >> 33 >> random.Bits() % 31) + 1;
    if (i % 2 == 0) root = 3037000499U - root % 1000;
    if (i % 3 == 0) root = (root >> 16 << 16) + 32768;
    for (const uint64_t near : {root * root, root * root + root}) {
      for (const uint64_t element : {near - 1, near, near + 1})
        elements.push_back(static_cast<int64_t>(element));
    }
    elements.push_back((kHighest64 >> (1 + i % 62)) + i / 62 % 2);
  }
  const auto n = static_cast<int32_t>(elements.size());
  std::vector<int64_t> roots(elements.size());
  for (const int32_t scaleFactor : ScaleFactors(-66, 42)) {
    ASSERT_EQ(ippsSqrt_64s_Sfs(elements.data(), roots.data(), n, scaleFactor), 3);
    for (std::size_t i = 0; i < elements.size(); ++i)
      ASSERT_TRUE(IsRoot(elements[i], scaleFactor, roots[i], kHighest64))
          << roots[i] << " of " << elements[i] << " at " << scaleFactor;
    ASSERT_EQ(ippsSqrt_64s_Sfs(roots.data(), roots.data(), n, scaleFactor), 0)
        << "none is negative";
  }
}

TEST(IntegerFunctions, PowersAreCut) {
  const struct {
    Complex32s element;
    int32_t scaleFactor;
    int32_t expected;
  } rows[] = {
      {{3, -4}, 0, 25},
      {{1, 2}, 1, 2},
      {{1, 2}, 2, 1},
      {{1, 2}, -3, 40},
      {{65536, 65536}, 0, kHighest},
      {{46340, 270}, 0, 2147395600 + 72900},
      {{46341, 0}, 0, kHighest},
      {{kLowest, kLowest}, 32, kHighest},
      {{kLowest, kLowest}, 33, 1 << 30},
      {{kLowest, kLowest}, 63, 1},
      {{kLowest, kLowest}, 64, 0},
      // 1037267087.99 and more: a double takes the sum up to the next multiple of 2^32.
      {{1108487571, 1796185827}, 32, 1037267088},
      {{1, 0}, kLowest, kHighest},
      {{0, 0}, kLowest, 0},
      {{kLowest, 0}, kHighest, 0},
  };
  for (const auto& row : rows) {
    int32_t power = 77;
    EXPECT_EQ(ippsPowerSpectr_32sc_Sfs(&row.element, &power, 1, row.scaleFactor), 0);
    EXPECT_EQ(power, row.expected)
        << row.element.re << ", " << row.element.im << " at " << row.scaleFactor;
  }
}

}  // namespace
