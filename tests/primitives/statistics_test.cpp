// Reductions, whose bits tell the order of their additions and comparisons.
#include "primitives/statistics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "primitives/element_words.h"
#include "tests/primitives/bits.h"

using zr::primitives::LoadWord;
using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;

namespace {

using Values = std::vector<float>;
using Doubles = std::vector<double>;
using Integers = std::vector<int16_t>;

template <typename Element>
int32_t Length(const std::vector<Element>& values) {
  return static_cast<int32_t>(values.size());
}

TEST(Statistics, SumsKeepTheirOrder) {
  // Beside 1e17 a 1 is lost.
  const struct {
    Values values;
    double single;
    double dual;
    const char* what;
  } rows[] = {
      {{1.0e17F, 1.0F, -1.0e17F, 1.0F}, 2.0, 2.0, "even and odd places apart"},
      {{1.0e17F, -1.0e17F, 0.0F, 0.0F, 1.0F}, 1.0, 0.0, "a fifth element, behind or before"},
      {{1.0e17F, -1.0e17F, 0.0F, 0.0F, 1.0F, 1.0F}, 2.0, 0.0, "a sixth goes the way of the fifth"},
      {{1.0e17F, 1.0F, -1.0e17F}, 0.0, 0.0, "without a group nothing is apart"},
      {{0.0F, 1.0F, 1.0e17F, 0.0F, -1.0e17F, 1.0F}, 1.0, 2.0, "what joins before is lost"},
      {Values(20, 0.75F), 15.0, 15.0, "a long one"},
  };
  for (const auto& row : rows) {
    const int32_t n = Length(row.values);
    const Doubles wide(row.values.begin(), row.values.end());
    float single = 9.0F;
    double dual = 9.0;
    EXPECT_EQ(ippsSum_32f(row.values.data(), n, &single, 0), 0);
    EXPECT_EQ(Bits(single), Bits(static_cast<float>(row.single))) << row.what;
    EXPECT_EQ(ippsSum_64f(wide.data(), n, &dual), 0);
    EXPECT_EQ(LoadWord(&dual), LoadWord(&row.dual)) << row.what;
    EXPECT_EQ(ippsMean_32f(row.values.data(), n, &single, 1), 0);
    EXPECT_EQ(Bits(single), Bits(static_cast<float>(row.single / n))) << row.what;
    EXPECT_EQ(ippsMean_64f(wide.data(), n, &dual), 0);
    EXPECT_EQ(dual, row.dual / n) << row.what;
  }
}

TEST(Statistics, DoublesLeaveTheirRangeAtEachStep) {
  const double largest = std::numeric_limits<double>::max();
  const Doubles cancelling = {largest, -largest, largest, -largest};
  const Doubles large = {1.0e200, 1.0e200, -1.0e200};
  const Doubles opposite = {1.0e200, -1.0e200, 0.0};
  double result = 9.0;
  EXPECT_EQ(ippsSum_64f(cancelling.data(), 4, &result), 0);
  EXPECT_TRUE(std::isnan(result));
  EXPECT_EQ(ippsMean_64f(Doubles{largest, 0.0, largest, 0.0}.data(), 4, &result), 0);
  EXPECT_EQ(result, std::numeric_limits<double>::infinity());
  EXPECT_EQ(ippsDotProd_64f(large.data(), opposite.data(), 3, &result), 0);
  EXPECT_TRUE(std::isnan(result));
  EXPECT_EQ(ippsStdDev_64f(opposite.data(), 3, &result), 0);
  EXPECT_EQ(result, std::numeric_limits<double>::infinity());
}

TEST(Statistics, SumOfIntegersIsExactAndScaled) {
  constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
  constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
  const Integers longOne(65537, 32767);
  const struct {
    Integers values;
    int32_t scaleFactor;
    int16_t expected;
    const char* what;
  } rows[] = {
      {longOne, 0, 32767, "saturated"},
      {longOne, 16, 32767, "2147450879 / 65536 is 32767.5, barely less"},
      {longOne, 17, 16384, "half of that, 16383.75"},
      {Integers(65536, -32768), 16, -32768, "a whole block of the lowest"},
      {Integers(131072, -32768), 17, -32768, "two of them need more than 32 bits"},
      {{2, 1}, 1, 2, "1.5"},
      {{-1, -2}, 1, -2, "-1.5"},
      {{5}, 1, 2, "2.5"},
      {{-1}, 1, 0, "-0.5"},
      {{3}, 2, 1, "0.75"},
      {{32767}, 64, 0, "nothing is left"},
      {{-32768}, kHighest, 0, "of no scale factor either"},
      {{1}, -14, 16384, "a shift to the left"},
      {{1}, -15, 32767, "that saturates"},
      {{-1}, -15, -32768, "that just fits"},
      {{-1}, kLowest, -32768, "far beyond"},
      {{7, -7}, kLowest, 0, "a sum of zero stays"},
  };
  for (const auto& row : rows) {
    int16_t result = 9;
    EXPECT_EQ(ippsSum_16s_Sfs(row.values.data(), Length(row.values), &result, row.scaleFactor), 0);
    EXPECT_EQ(result, row.expected) << row.what << ", scale factor " << row.scaleFactor;
  }
}

TEST(Statistics, DotProductSumsInOrderInDouble) {
  const struct {
    Values a;
    Values b;
    float expected;
    const char* what;
  } rows[] = {
      {{1.0e8F, 1.0F, -1.0e8F}, {1.0e4F, 0.25F, 1.0e4F}, 0.25F, "the sum stays wide"},
      {{1.0F, 1.0e20F, -1.0e20F, 1.0F}, Values(4, 1.0F), 1.0F, "upward the first is lost"},
      {{1.0e20F, -1.0e20F, 1.0F, 0.5F}, Values(4, 1.0F), 1.5F, "upward the last stay"},
      {{1.0e20F, 1.0F, -1.0e20F, 1.0F}, Values(4, 1.0F), 1.0F, "no places apart"},
  };
  for (const auto& row : rows) {
    const Doubles a(row.a.begin(), row.a.end());
    const Doubles b(row.b.begin(), row.b.end());
    float single = 9.0F;
    double dual = 9.0;
    EXPECT_EQ(ippsDotProd_32f(row.a.data(), row.b.data(), Length(row.a), &single), 0);
    EXPECT_EQ(Bits(single), Bits(row.expected)) << row.what;
    EXPECT_EQ(ippsDotProd_64f(a.data(), b.data(), Length(a), &dual), 0);
    EXPECT_EQ(dual, row.expected) << row.what;
  }
}

TEST(Statistics, DotProductOfIntegersRoundsOnce) {
  // Squares of -32768 are 2^30. 2^54 + 2^30 + 1 lies just above a tie of single precision; in
  // double precision first, the 1 would be lost.
  Integers values((1 << 24) + 2, -32768);
  values.back() = 1;
  float result = 9.0F;
  EXPECT_EQ(ippsDotProd_16s32f(values.data(), values.data(), 65536, &result), 0);
  EXPECT_EQ(Bits(result), Bits(0x1p46F));
  EXPECT_EQ(ippsDotProd_16s32f(values.data(), values.data(), Length(values), &result), 0);
  EXPECT_EQ(Bits(result), Bits(0x1.000002p54F));
}

// Two lanes over whole groups of four, told as one loop over pairs of places.
template <typename Element>
double ExpectedStandardDeviation(const std::vector<Element>& values) {
  double sums[2] = {0.0, 0.0};
  double squares[2] = {0.0, 0.0};
  const std::size_t grouped = values.size() / 4 * 4;
  for (std::size_t i = 0; i < grouped; i += 4) {
    for (std::size_t lane = 0; lane < 2; ++lane) {
      const double first = values[i + lane];
      const double second = values[i + lane + 2];
      sums[lane] += first;
      sums[lane] += second;
      squares[lane] += first * first + second * second;
    }
  }
  if (std::is_same_v<Element, float>) {
    sums[0] += sums[1];
    squares[0] += squares[1];
    sums[1] = squares[1] = 0.0;
  }
  for (std::size_t i = grouped; i < values.size(); ++i) {
    const double value = values[i];
    sums[0] += value;
    squares[0] += value * value;
  }
  const auto n = static_cast<double>(values.size());
  const double sum = sums[0] + sums[1];
  const double spread = n * (squares[0] + squares[1]) - sum * sum;
  return spread > 0 ? std::sqrt(spread / (n * (n - 1))) : 0.0;
}

TEST(Statistics, StandardDeviationKeepsItsOrderOfSums) {
  std::mt19937 random(7);
  for (int32_t n = 2; n < 1100; n += n < 70 ? 1 : 101) {
    // Values of all sizes, or a wide base under narrow differences: every other order of sums ends
    // in other bits.
    Values values;
    for (int32_t i = 0; i < n; ++i) {
      const auto bits = static_cast<int32_t>(random());
      const auto exponent = static_cast<int>(random() % 40) - 40;
      values.push_back(n % 2 == 0 ? std::ldexp(static_cast<float>(bits), exponent)
                                  : 0.7F + std::ldexp(static_cast<float>(bits & 4095), -23));
    }
    Doubles wide(values.begin(), values.end());
    for (double& value : wide)
      value *= 1.1;
    float single = 9.0F;
    EXPECT_EQ(ippsStdDev_32f(values.data(), n, &single, 2), 0);
    EXPECT_EQ(Bits(single), Bits(static_cast<float>(ExpectedStandardDeviation(values)))) << n;
    double dual = 9.0;
    EXPECT_EQ(ippsStdDev_64f(wide.data(), n, &dual), 0);
    EXPECT_EQ(dual, ExpectedStandardDeviation(wide)) << n;
  }
}

TEST(Statistics, StandardDeviationOfSpecialInputs) {
  const struct {
    Values values;
    double expected;
    const char* what;
  } rows[] = {
      {{1.0F, 1.0F, 1.0F, 1.0F}, 0.0, "constant"},
      {{1.0F, -1.0F}, 1.4142135623730951, "root of two"},
      {{0.1F, 0.1F, 0.1F}, 0.0, "constant that is no binary fraction"},
      {{1.0F, kNaN, 2.0F}, 0.0, "a NaN"},
      {{kInfinity, 1.0F}, 0.0, "an infinity"},
  };
  for (const auto& row : rows) {
    const Doubles wide(row.values.begin(), row.values.end());
    float single = 9.0F;
    double dual = 9.0;
    EXPECT_EQ(ippsStdDev_32f(row.values.data(), Length(row.values), &single, 0), 0);
    EXPECT_EQ(Bits(single), Bits(static_cast<float>(row.expected))) << row.what;
    EXPECT_EQ(ippsStdDev_64f(wide.data(), Length(wide), &dual), 0);
    EXPECT_EQ(dual, row.expected) << row.what;
  }
}

constexpr uint32_t kQuiet = 0x7fc00001;
constexpr uint32_t kSignalling = 0x7f800001;
constexpr uint32_t kMinusZero = 0x80000000;

TEST(Statistics, ExtremesOfFloats) {
  const uint32_t one = Bits(1.0F);
  const uint32_t two = Bits(2.0F);
  const struct {
    std::vector<uint32_t> values;
    int32_t maximum;
    int32_t minimum;
    const char* what;
  } rows[] = {
      {{two}, 0, 0, "one element"},
      {{one, two, two, one}, 1, 0, "the first of equal ones"},
      {{0, kMinusZero}, 0, 0, "zeros are equal"},
      {{kMinusZero, 0}, 0, 0, "and the first keeps its sign"},
      {{kSignalling, one, two}, 0, 1, "a NaN in front stays the maximum, bit by bit"},
      {{one, kQuiet, two}, 2, 2, "a NaN replaces the minimum, and is replaced"},
      {{two, one, kSignalling}, 0, 2, "a NaN at the end stays the minimum, bit by bit"},
      {{kQuiet, kSignalling}, 0, 1, "NaNs only"},
      {{Bits(-kInfinity), Bits(kInfinity), Bits(-2.0F)}, 1, 0, "infinities"},
  };
  for (const auto& row : rows) {
    Values values(row.values.size());
    std::memcpy(values.data(), row.values.data(), values.size() * sizeof(float));
    const float* a = values.data();
    const int32_t n = Length(values);
    const uint32_t maximum = row.values[static_cast<std::size_t>(row.maximum)];
    const uint32_t minimum = row.values[static_cast<std::size_t>(row.minimum)];
    float results[8] = {};
    int32_t places[2] = {9, 9};
    EXPECT_EQ(ippsMax_32f(a, n, &results[0]), 0);
    EXPECT_EQ(ippsMin_32f(a, n, &results[1]), 0);
    EXPECT_EQ(ippsMaxIndx_32f(a, n, &results[2], &places[0]), 0);
    EXPECT_EQ(ippsMinIndx_32f(a, n, &results[3], &places[1]), 0);
    EXPECT_EQ(ippsMaxIndx_32f(a, n, &results[4], nullptr), 0);
    EXPECT_EQ(ippsMinIndx_32f(a, n, &results[5], nullptr), 0);
    EXPECT_EQ(ippsMinMax_32f(a, n, &results[7], &results[6]), 0);
    for (int32_t i = 0; i < 8; i += 2) {
      EXPECT_EQ(LoadWord(&results[i]), maximum) << row.what << ' ' << i;
      EXPECT_EQ(LoadWord(&results[i + 1]), minimum) << row.what << ' ' << i;
    }
    EXPECT_EQ(places[0], row.maximum) << row.what;
    EXPECT_EQ(places[1], row.minimum) << row.what;
  }
}

TEST(Statistics, ExtremesOfIntegers) {
  std::mt19937 random(3);
  for (int32_t n = 1; n < 200; ++n) {
    Integers values;
    for (int32_t i = 0; i < n; ++i) {
      values.push_back(static_cast<int16_t>(static_cast<int32_t>(random()) >> (n % 3 * 7 + 15)));
    }
    const auto maximum = std::max_element(values.begin(), values.end());
    const auto minimum = std::min_element(values.begin(), values.end());
    int16_t results[4] = {};
    int32_t place = 9;
    EXPECT_EQ(ippsMin_16s(values.data(), n, &results[0]), 0);
    EXPECT_EQ(ippsMax_16s(values.data(), n, &results[1]), 0);
    EXPECT_EQ(ippsMaxIndx_16s(values.data(), n, &results[2], &place), 0);
    EXPECT_EQ(ippsMaxIndx_16s(values.data(), n, &results[3], nullptr), 0);
    EXPECT_THAT(results, testing::ElementsAre(*minimum, *maximum, *maximum, *maximum)) << n;
    EXPECT_EQ(place, maximum - values.begin()) << n;
  }
  int16_t result = 9;
  EXPECT_EQ(ippsMaxAbs_16s(Integers{5, -32768}.data(), 2, &result), 0);
  EXPECT_EQ(result, 32767);
  EXPECT_EQ(ippsMaxAbs_16s(Integers{-300, 5, 299}.data(), 3, &result), 0);
  EXPECT_EQ(result, 300);
  const std::vector<int32_t> a = {1, -5, 2147483647};
  std::vector<int32_t> s = {0, -4, -2147483647 - 1};
  EXPECT_EQ(ippsMaxEvery_32s_I(a.data(), s.data(), 3), 0);
  EXPECT_EQ(s, (std::vector<int32_t>{1, -4, 2147483647}));
}

}  // namespace
