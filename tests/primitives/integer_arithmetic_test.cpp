// Integer arithmetic against exact rational numbers: every scale factor at which something changes,
// over all 16-bit elements.
#include "primitives/integer_arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/primitives/random_elements.h"

namespace {

using zr::test::RandomElements;

/// numerator / denominator, rounded to the nearest integer with ties to even. denominator > 0.
int64_t Rounded(int64_t numerator, int64_t denominator) {
  const int64_t cut = numerator / denominator;
  const int64_t rest = numerator % denominator;
  const int64_t distance = rest < 0 ? -rest : rest;
  const bool isTie = distance == denominator - distance;
  const bool isAway = isTie ? cut % 2 != 0 : distance > denominator - distance;
  return isAway ? cut + (numerator < 0 ? -1 : 1) : cut;
}

/// exact * 2^-scaleFactor, rounded and saturated; |exact| is 2^62 at most.
template <typename Element>
Element Scaled(int64_t exact, int64_t scaleFactor) {
  using Limits = std::numeric_limits<Element>;
  int64_t value = exact;
  if (scaleFactor > 0) value = scaleFactor > 62 ? 0 : Rounded(exact, int64_t{1} << scaleFactor);
  value = std::clamp<int64_t>(value, Limits::min(), Limits::max());
  const bool isEnd = value == 0 || value == Limits::min() || value == Limits::max();
  if (scaleFactor >= 0 || isEnd) return static_cast<Element>(value);
  return Scaled<Element>(2 * value, scaleFactor + 1);
}

/// A primitive of any form. What has a constant takes the first element of b, what works in place a
/// copy of b, or of a if it has no other source.
template <auto kPrimitive, typename Element>
int32_t Call(const Element* a, const Element* b, Element* d, int32_t n, int32_t factor) {
  if constexpr (requires { kPrimitive(a, b, d, n, factor); }) return kPrimitive(a, b, d, n, factor);
  if constexpr (requires { kPrimitive(a, *b, d, n, factor); })
    return kPrimitive(a, *b, d, n, factor);
  if constexpr (requires { kPrimitive(a, b, d, n); }) return kPrimitive(a, b, d, n);
  constexpr bool kHasOneSource = requires {
    kPrimitive(d, n);
  };
  std::copy_n(kHasOneSource ? a : b, n, d);
  if constexpr (kHasOneSource) return kPrimitive(d, n);
  if constexpr (requires { kPrimitive(a, d, n, factor); }) return kPrimitive(a, d, n, factor);
  if constexpr (requires { kPrimitive(a, d, n); }) return kPrimitive(a, d, n);
}

template <typename Element>
struct Row {
  const char* name;
  int32_t (*call)(const Element* a, const Element* b, Element* d, int32_t n, int32_t scaleFactor);
  int64_t (*exact)(int64_t a, int64_t b);
  bool hasConstant = false;
};

std::vector<int32_t> ScaleFactors(int32_t lowest, int32_t highest) {
  std::vector<int32_t> factors = {std::numeric_limits<int32_t>::min(),
                                  std::numeric_limits<int32_t>::max()};
  for (int32_t factor = lowest; factor <= highest; ++factor)
    factors.push_back(factor);
  return factors;
}

/// Every element of a with every element of seconds.
template <typename Element>
void ExpectScaled(const std::vector<Row<Element>>& rows, const std::vector<Element>& a,
                  const std::vector<Element>& seconds, const std::vector<int32_t>& scaleFactors) {
  const auto n = static_cast<int32_t>(a.size());
  std::vector<Element> b(a.size());
  std::vector<Element> d(a.size());
  for (const auto& row : rows) {
    for (std::size_t turn = 0; turn < seconds.size(); ++turn) {
      for (std::size_t i = 0; i < a.size(); ++i)
        b[i] = seconds[(turn + (row.hasConstant ? 0 : i)) % seconds.size()];
      for (const int32_t scaleFactor : scaleFactors) {
        ASSERT_EQ(row.call(a.data(), b.data(), d.data(), n, scaleFactor), 0);
        for (std::size_t i = 0; i < a.size(); ++i) {
          const auto expected = Scaled<Element>(row.exact(a[i], b[i]), scaleFactor);
          ASSERT_EQ(d[i], expected)
              << row.name << " " << a[i] << ", " << b[i] << ", scale factor " << scaleFactor;
        }
      }
    }
  }
}

constexpr auto kSum = [](int64_t a, int64_t b) { return a + b; };
constexpr auto kProduct = [](int64_t a, int64_t b) { return a * b; };

TEST(IntegerArithmetic, ShortElementsAreExactThenScaled) {
  std::vector<int16_t> all;
  for (int32_t x = -32768; x <= 32767; ++x)
    all.push_back(static_cast<int16_t>(x));
  const auto difference = [](int64_t a, int64_t b) { return a - b; };
  ExpectScaled<int16_t>({{"Mul", &Call<ippsMul_16s_Sfs>, kProduct},
                         {"Mul in place", &Call<ippsMul_16s_ISfs>, kProduct},
                         {"SubC", &Call<ippsSubC_16s_Sfs>, difference, true}},
                        all, {-32768, -3, 0, 1, 300, 32767}, ScaleFactors(-18, 33));
  const auto reversed = [](int64_t a, int64_t b) { return b - a; };
  const auto magnitude = [](int64_t a, int64_t) { return a < 0 ? -a : a; };
  ExpectScaled<int16_t>({{"Add", &Call<ippsAdd_16s>, kSum},
                         {"Add in place", &Call<ippsAdd_16s_I>, kSum},
                         {"Sub", &Call<ippsSub_16s>, reversed},
                         {"Abs", &Call<ippsAbs_16s_I>, magnitude}},
                        all, {-32768, -1, 0, 7, 32767}, {0});
}

template <bool kIsImaginary>
int32_t MultiplyPart(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                     int32_t scaleFactor) {
  std::vector<Complex32s> numbers(static_cast<std::size_t>(n));
  for (std::size_t i = 0; i < numbers.size(); ++i)
    numbers[i] = kIsImaginary ? Complex32s{1, b[i]} : Complex32s{b[i], 1};
  const int32_t status = ippsMul_32s32sc_Sfs(a, numbers.data(), numbers.data(), n, scaleFactor);
  for (std::size_t i = 0; i < numbers.size(); ++i)
    d[i] = kIsImaginary ? numbers[i].im : numbers[i].re;
  return status;
}

TEST(IntegerArithmetic, LongElementsAreExactThenScaled) {
  using Limits = std::numeric_limits<int32_t>;
  std::vector<int32_t> seconds = {Limits::min(), Limits::max(), -65536, -1, 0, 1, 3, 65536};
  std::vector<int32_t> a = seconds;
  RandomElements random(3, true);
  for (int32_t i = 0; i < 400; ++i)
    a.push_back(random.Next<int32_t>() >> random.Bits() % 31);
  for (int32_t i = 0; i < 8; ++i)
    seconds.push_back(random.Next<int32_t>() >> random.Bits() % 31);
  ExpectScaled<int32_t>({{"Add", &Call<ippsAdd_32s_Sfs>, kSum},
                         {"AddC", &Call<ippsAddC_32s_Sfs>, kSum, true},
                         {"Mul", &Call<ippsMul_32s_Sfs>, kProduct},
                         {"MulC", &Call<ippsMulC_32s_Sfs>, kProduct, true},
                         {"Mul of real parts", &MultiplyPart<false>, kProduct},
                         {"Mul of imaginary parts", &MultiplyPart<true>, kProduct}},
                        a, seconds, ScaleFactors(-35, 66));
}

TEST(IntegerArithmetic, QuotientsAreRoundedWithTiesToEven) {
  using Limits = std::numeric_limits<int32_t>;
  RandomElements random(4, true);
  // Down to -20 a quotient that is no tie stays apart from one in double precision.
  for (int32_t scaleFactor = -20; scaleFactor <= 31; ++scaleFactor) {
    for (int32_t i = 0; i < 3000; ++i) {
      const int32_t dividend = random.Next<int32_t>() >> random.Bits() % 31;
      int32_t divisor = random.Next<int32_t>() >> random.Bits() % 31;
      if (divisor == 0) divisor = -3;
      const int64_t sign = divisor < 0 ? -1 : 1;
      const int64_t numerator = sign * dividend * (int64_t{1} << std::max(-scaleFactor, 0));
      const int64_t denominator = sign * divisor * (int64_t{1} << std::max(scaleFactor, 0));
      const int64_t expected =
          std::clamp<int64_t>(Rounded(numerator, denominator), Limits::min(), Limits::max());
      int32_t d = 9;
      ASSERT_EQ(ippsDiv_32s_Sfs(&divisor, &dividend, &d, 1, scaleFactor), 0);
      ASSERT_EQ(d, expected) << dividend << " / " << divisor << ", scale factor " << scaleFactor;
    }
  }
}

TEST(IntegerArithmetic, QuotientsAtTheEndsOfTheirRange) {
  using Limits = std::numeric_limits<int32_t>;
  const struct {
    int32_t divisor;
    int32_t dividend;
    int32_t scaleFactor;
    int32_t expected;
    int32_t status;
    const char* what;
  } rows[] = {
      {0, 1, 0, Limits::max(), 6, "zero divisor"},
      {0, -1, 40, Limits::min(), 6, "zero divisor, where all quotients are 0"},
      {0, 0, -63, 0, 6, "zero over zero, where all quotients are saturated"},
      {-1, Limits::min(), 0, Limits::max(), 0, "2^31"},
      {1, Limits::min(), 0, Limits::min(), 0, "the lowest quotient"},
      {2, Limits::min(), -1, Limits::min(), 0, "the lowest quotient, by the scale factor"},
      {1, Limits::min(), 32, 0, 0, "half, to even"},
      {1, Limits::min(), 31, -1, 0, "one"},
      {Limits::min(), 1, -62, Limits::min(), 0, "-2^31 by the largest shift"},
      {Limits::max(), -1, -62, Limits::min(), 0, "beyond it"},
      {Limits::min(), -1, -63, Limits::max(), 0, "equal signs"},
      {5, 0, Limits::min(), 0, 0, "zero stays zero"},
      {5, -1, Limits::min(), Limits::min(), 0, "lowest scale factor"},
      {1, Limits::max(), Limits::max(), 0, 0, "highest scale factor"},
      // 2^30 + 1/2 + 2^-32: a double holds the tie only.
      {Limits::max(), 1 << 30, -31, 1 << 30, 0, "a tie by double precision"},
  };
  for (const auto& row : rows) {
    // The elements around it have to be computed whatever it holds.
    const std::vector<int32_t> divisors = {3, row.divisor, -7};
    const std::vector<int32_t> dividends = {0, row.dividend, 0};
    std::vector<int32_t> d(3, 9);
    EXPECT_EQ(ippsDiv_32s_Sfs(divisors.data(), dividends.data(), d.data(), 3, row.scaleFactor),
              row.status)
        << row.what;
    EXPECT_EQ(d, (std::vector<int32_t>{0, row.expected, 0})) << row.what;
  }
}

TEST(IntegerArithmetic, ShiftsCutAndFillWithTheSign) {
  const std::vector<int16_t> source = {-32768, -24577, -2, -1, 0, 1, 5, 0x4000, 32767};
  const auto n = static_cast<int32_t>(source.size());
  for (const int32_t shift : {0, 1, 2, 13, 14, 15, 16, 17, 31, 32, 2147483647}) {
    const int32_t limited = std::min(shift, 32);
    std::vector<int16_t> left = source;
    std::vector<int16_t> right = source;
    std::vector<int16_t> rightInPlace = source;
    EXPECT_EQ(ippsLShiftC_16s_I(shift, left.data(), n), 0);
    EXPECT_EQ(ippsRShiftC_16s(source.data(), shift, right.data(), n), 0);
    EXPECT_EQ(ippsRShiftC_16s_I(shift, rightInPlace.data(), n), 0);
    for (std::size_t i = 0; i < source.size(); ++i) {
      const int64_t product = source[i] * (int64_t{1} << limited);
      EXPECT_EQ(left[i], static_cast<int16_t>(product)) << source[i] << " by " << shift;
      EXPECT_EQ(right[i], std::floor(std::ldexp(source[i], -limited))) << source[i] << " " << shift;
    }
    EXPECT_EQ(rightInPlace, right) << shift;
  }
  int16_t kept = 77;
  for (const int32_t shift : {-1, std::numeric_limits<int32_t>::min()}) {
    EXPECT_EQ(ippsLShiftC_16s_I(shift, &kept, 1), -32);
    EXPECT_EQ(ippsRShiftC_16s(source.data(), shift, &kept, 1), -32);
    EXPECT_EQ(ippsRShiftC_16s_I(shift, &kept, 1), -32);
    EXPECT_EQ(ippsRShiftC_16s_I(shift, &kept, 0), -6);
  }
  EXPECT_EQ(kept, 77);
}

}  // namespace
