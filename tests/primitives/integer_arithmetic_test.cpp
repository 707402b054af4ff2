// Integer arithmetic against exact rational numbers: every scale factor at which something changes,
// over all 16-bit elements.
#include "primitives/integer_arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>
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

template <typename Element>
struct Row {
  const char* name;
  /// Operands of which the second is one constant for all elements.
  bool isSecondConstant;
  int32_t (*call)(const Element* a, const Element* b, Element* d, int32_t n, int32_t scaleFactor);
  int64_t (*exact)(int64_t a, int64_t b);
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
        b[i] = seconds[(turn + (row.isSecondConstant ? 0 : i)) % seconds.size()];
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

TEST(IntegerArithmetic, ShortElementsAreExactThenScaled) {
  std::vector<int16_t> all;
  for (int32_t x = -32768; x <= 32767; ++x)
    all.push_back(static_cast<int16_t>(x));
  const auto product = [](int64_t a, int64_t b) { return a * b; };
  ExpectScaled<int16_t>(
      {{"Mul", false, &ippsMul_16s_Sfs, product},
       {"Mul in place", false,
        [](const int16_t* a, const int16_t* b, int16_t* d, int32_t n, int32_t scaleFactor) {
          std::copy(b, b + n, d);
          return ippsMul_16s_ISfs(a, d, n, scaleFactor);
        },
        product},
       {"SubC", true,
        [](const int16_t* a, const int16_t* b, int16_t* d, int32_t n, int32_t scaleFactor) {
          return ippsSubC_16s_Sfs(a, b[0], d, n, scaleFactor);
        },
        [](int64_t a, int64_t b) { return a - b; }}},
      all, {-32768, -3, 0, 1, 300, 32767}, ScaleFactors(-18, 33));
  const auto sum = [](int64_t a, int64_t b) { return a + b; };
  ExpectScaled<int16_t>(
      {{"Add", false, [](auto a, auto b, auto d, auto n, auto) { return ippsAdd_16s(a, b, d, n); },
        sum},
       {"Add in place", false,
        [](auto a, auto b, auto d, auto n, auto) {
          std::copy(b, b + n, d);
          return ippsAdd_16s_I(a, d, n);
        },
        sum},
       {"Sub", false, [](auto a, auto b, auto d, auto n, auto) { return ippsSub_16s(a, b, d, n); },
        [](int64_t a, int64_t b) { return b - a; }},
       {"Abs", true,
        [](auto a, auto, auto d, auto n, auto) {
          std::copy(a, a + n, d);
          return ippsAbs_16s_I(d, n);
        },
        [](int64_t a, int64_t) { return a < 0 ? -a : a; }}},
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
  const auto sum = [](int64_t x, int64_t y) { return x + y; };
  const auto product = [](int64_t x, int64_t y) { return x * y; };
  ExpectScaled<int32_t>({{"Add", false, &ippsAdd_32s_Sfs, sum},
                         {"AddC", true,
                          [](auto x, auto y, auto d, auto n, auto factor) {
                            return ippsAddC_32s_Sfs(x, y[0], d, n, factor);
                          },
                          sum},
                         {"Mul", false, &ippsMul_32s_Sfs, product},
                         {"MulC", true,
                          [](auto x, auto y, auto d, auto n, auto factor) {
                            return ippsMulC_32s_Sfs(x, y[0], d, n, factor);
                          },
                          product},
                         {"Mul of real parts", false, &MultiplyPart<false>, product},
                         {"Mul of imaginary parts", false, &MultiplyPart<true>, product}},
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
  using Elements = std::vector<int16_t>;
  const Elements source = {0x4000, -32768, -1, 5};
  const struct {
    int32_t shift;
    Elements left;
    Elements right;
  } rows[] = {
      {0, source, source},
      {1, {-32768, 0, -2, 10}, {0x2000, -16384, -1, 2}},
      {13, {0, 0, -8192, -24576}, {2, -4, -1, 0}},
      {15, {0, 0, -32768, -32768}, {0, -1, -1, 0}},
      {16, {0, 0, 0, 0}, {0, -1, -1, 0}},
      {32, {0, 0, 0, 0}, {0, -1, -1, 0}},
      {2147483647, {0, 0, 0, 0}, {0, -1, -1, 0}},
  };
  for (const auto& row : rows) {
    Elements left = source;
    EXPECT_EQ(ippsLShiftC_16s_I(row.shift, left.data(), 4), 0);
    EXPECT_EQ(left, row.left) << row.shift;
    Elements right(4);
    EXPECT_EQ(ippsRShiftC_16s(source.data(), row.shift, right.data(), 4), 0);
    EXPECT_EQ(right, row.right) << row.shift;
    right = source;
    EXPECT_EQ(ippsRShiftC_16s_I(row.shift, right.data(), 4), 0);
    EXPECT_EQ(right, row.right) << row.shift;
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
