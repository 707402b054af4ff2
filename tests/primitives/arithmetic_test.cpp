// Arithmetic against the same operations in a precision in which they are exact or nearly so, and
// the constants and divisors that take a way of their own.
#include "primitives/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "tests/primitives/bits.h"
#include "tests/primitives/random_elements.h"

namespace {

using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;
using zr::test::RandomElements;

using Values = std::vector<float>;

// A double holds every product of two floats, and of every other operation enough to round it once
// more.
using Wide = double;

template <typename Real>
bool IsSame(Real one, Real other) {
  return std::memcmp(&one, &other, sizeof(one)) == 0 || (std::isnan(one) && std::isnan(other));
}

template <typename Real>
struct BinaryRow {
  const char* name;
  int32_t (*apart)(const Real*, const Real*, Real*, int32_t);
  int32_t (*inPlace)(const Real*, Real*, int32_t);
  Wide (*operation)(Wide a, Wide b);
};

template <typename Real>
void ExpectBinary(const std::vector<BinaryRow<Real>>& rows) {
  constexpr int32_t kLength = 4000;
  RandomElements random(7, true);
  std::vector<Real> a(kLength);
  std::vector<Real> b(kLength);
  for (int32_t i = 0; i < kLength; ++i) {
    a[i] = random.Next<Real>();
    b[i] = random.Next<Real>();
    if (a[i] == 0) a[i] = 3;  // Zero divisors have a test of their own.
  }
  for (const auto& row : rows) {
    std::vector<Real> d(kLength);
    EXPECT_EQ(row.apart(a.data(), b.data(), d.data(), kLength), 0);
    std::vector<Real> s = b;
    EXPECT_EQ(row.inPlace(a.data(), s.data(), kLength), 0);
    for (int32_t i = 0; i < kLength; ++i) {
      // Through memory, as the x87 keeps more range in its registers.
      const volatile auto stored = static_cast<Real>(row.operation(a[i], b[i]));
      const Real expected = stored;
      // A subnormal double would be rounded twice on the way here.
      if (std::fpclassify(expected) == FP_SUBNORMAL) continue;
      ASSERT_TRUE(IsSame(d[i], expected)) << row.name << " " << a[i] << " " << b[i] << ": " << d[i];
      ASSERT_TRUE(IsSame(s[i], expected)) << row.name << " in place " << a[i] << " " << b[i];
    }
  }
}

TEST(Arithmetic, TwoVectorsOfFloats) {
  ExpectBinary<float>(
      {{"Add", &ippsAdd_32f, &ippsAdd_32f_I, [](double a, double b) { return a + b; }},
       {"Sub", &ippsSub_32f, &ippsSub_32f_I, [](double a, double b) { return b - a; }},
       {"Mul", &ippsMul_32f, &ippsMul_32f_I, [](double a, double b) { return a * b; }},
       {"Div", &ippsDiv_32f, &ippsDiv_32f_I, [](double a, double b) { return b / a; }}});
}

TEST(Arithmetic, TwoVectorsOfDoubles) {
  ExpectBinary<double>(
      {{"Add", &ippsAdd_64f, &ippsAdd_64f_I, [](double a, double b) { return a + b; }},
       {"Sub", &ippsSub_64f, &ippsSub_64f_I, [](double a, double b) { return b - a; }},
       {"Mul", &ippsMul_64f, &ippsMul_64f_I, [](double a, double b) { return a * b; }},
       {"Div", &ippsDiv_64f, &ippsDiv_64f_I, [](double a, double b) { return b / a; }}});
}

TEST(Arithmetic, ConstantsOnEitherSide) {
  const Values a = {3.0F, -0.5F, 1.0e-40F};
  const auto n = static_cast<int32_t>(a.size());
  const struct {
    const char* name;
    int32_t (*apart)(const float*, float, float*, int32_t);
    int32_t (*inPlace)(float, float*, int32_t);
    Values expected;
  } rows[] = {
      {"AddC", &ippsAddC_32f, &ippsAddC_32f_I, {5.0F, 1.5F, 2.0F}},
      {"SubC", &ippsSubC_32f, &ippsSubC_32f_I, {1.0F, -2.5F, -2.0F}},
      {"SubCRev", &ippsSubCRev_32f, &ippsSubCRev_32f_I, {-1.0F, 2.5F, 2.0F}},
      {"MulC", &ippsMulC_32f, &ippsMulC_32f_I, {6.0F, -1.0F, 2.0F * 1.0e-40F}},
      {"DivC", &ippsDivC_32f, &ippsDivC_32f_I, {1.5F, -0.25F, 0.5F * 1.0e-40F}},
      {"DivCRev", &ippsDivCRev_32f, &ippsDivCRev_32f_I, {0.6666667F, -4.0F, kInfinity}},
  };
  for (const auto& row : rows) {
    Values d(a.size());
    EXPECT_EQ(row.apart(a.data(), 2.0F, d.data(), n), 0);
    EXPECT_EQ(Bits(d), Bits(row.expected)) << row.name;
    Values s = a;
    EXPECT_EQ(row.inPlace(2.0F, s.data(), n), 0);
    EXPECT_EQ(Bits(s), Bits(row.expected)) << row.name << " in place";
  }
  std::vector<double> doubles = {3.0, -0.5};
  EXPECT_EQ(ippsAddC_64f_I(2.0, doubles.data(), 2), 0);
  EXPECT_EQ(ippsSubCRev_64f_I(1.0, doubles.data(), 2), 0);
  EXPECT_EQ(ippsMulC_64f_I(3.0, doubles.data(), 2), 0);
  EXPECT_EQ(ippsMulC_64f(doubles.data(), 0.5, doubles.data(), 2), 0);
  EXPECT_EQ(ippsSubCRev_64f(doubles.data(), 0.25, doubles.data(), 2), 0);
  EXPECT_EQ(doubles, (std::vector<double>{6.25, 1.0}));
  EXPECT_EQ(ippsDivC_64f(doubles.data(), 3.0, doubles.data(), 2), 0);
  EXPECT_EQ(doubles, (std::vector<double>{6.25 * (1.0 / 3.0), 1.0 / 3.0}));
}

const Values kOperand = {3.0F, -0.0F, kNaN, kInfinity, 0.1F};

struct ConstantRow {
  float constant;
  Values expected;
  const char* what;
};

TEST(Arithmetic, ConstantsThatAreShortCuts) {
  const auto n = static_cast<int32_t>(kOperand.size());
  const std::vector<ConstantRow> products = {
      {1.0F, kOperand, "one keeps every bit"},
      {kNaN, kOperand, "a NaN acts as one"},
      {0.0F, Values(5, 0.0F), "zero wins over a NaN and an infinity"},
      {-0.0F, Values(5, 0.0F), "so does negative zero"},
      {0.3F, {0.90000004F, -0.0F, kNaN, kInfinity, 0.030000001F}, "an ordinary product"},
  };
  for (const auto& row : products) {
    Values out(kOperand.size(), 9.0F);
    EXPECT_EQ(ippsMulC_32f(kOperand.data(), row.constant, out.data(), n), 0);
    EXPECT_EQ(Bits(out), Bits(row.expected)) << row.what;
    Values inPlace = kOperand;
    EXPECT_EQ(ippsMulC_32f_I(row.constant, inPlace.data(), n), 0);
    EXPECT_EQ(Bits(inPlace), Bits(row.expected)) << row.what;
  }
  for (const float nothing : {0.0F, -0.0F, kNaN}) {
    for (const auto operation : {&ippsAddC_32f, &ippsSubC_32f}) {
      Values out(kOperand.size(), 9.0F);
      EXPECT_EQ(operation(kOperand.data(), nothing, out.data(), n), 0);
      EXPECT_EQ(Bits(out), Bits(kOperand)) << "negative zero stays";
    }
  }
  Complex32f sum = {-0.0F, 1.0F};
  EXPECT_EQ(ippsAddC_32fc_I(0.0F, 0.0F, &sum, 1), 0);
  EXPECT_FALSE(std::signbit(sum.re)) << "complex constants are added whatever they are";
}

TEST(Arithmetic, DivisionByConstantGoesThroughTheRoundedReciprocal) {
  // 5 / 49 is 0.10204082 when it is rounded once; 1 / 49 rounds first.
  const std::vector<ConstantRow> rows = {
      {3.0F, {5.0F * 0.333333343F}, "reciprocal of three"},
      {49.0F, {5.0F * 0.0204081628F}, "reciprocal of forty-nine"},
      {kInfinity, {0.0F}, "a reciprocal of zero zeroes"},
      {1.0F, {5.0F}, "a reciprocal of one copies"},
  };
  const float dividend = 5.0F;
  for (const auto& row : rows) {
    float quotient = 9.0F;
    EXPECT_EQ(ippsDivC_32f(&dividend, row.constant, &quotient, 1), 0) << row.what;
    EXPECT_EQ(Bits(quotient), Bits(row.expected[0])) << row.what;
    quotient = dividend;
    EXPECT_EQ(ippsDivC_32f_I(row.constant, &quotient, 1), 0) << row.what;
    EXPECT_EQ(Bits(quotient), Bits(row.expected[0])) << row.what;
  }
  double wide = 5.0;
  Complex32f pair = {5.0F, 6.0F};
  for (const float refused : {0.0F, -0.0F, kNaN}) {
    float kept = 9.0F;
    EXPECT_EQ(ippsDivC_32f(&dividend, refused, &kept, 1), -10);
    EXPECT_EQ(ippsDivC_32f_I(refused, &kept, 1), -10);
    EXPECT_EQ(kept, 9.0F);
    EXPECT_EQ(ippsDivC_64f(&wide, refused, &wide, 1), -10);
    EXPECT_EQ(ippsDivC_32fc_I(refused, 0.0F, &pair, 1), -10);
    EXPECT_EQ(ippsDivC_32fc(&pair, 0.0F, refused, &pair, 1), -10);
  }
  EXPECT_EQ(wide, 5.0);
  EXPECT_EQ(pair.re, 5.0F);
}

TEST(Arithmetic, ZeroDivisorsGiveFixedValuesAndAWarning) {
  const Values divisors = {0.0F, -0.0F, 0.0F, 2.0F, kNaN};
  const Values dividends = {1.0F, -1.0F, 0.0F, 1.0F, 1.0F};
  Values d(5);
  EXPECT_EQ(ippsDiv_32f(divisors.data(), dividends.data(), d.data(), 5), 6);
  EXPECT_EQ(Bits(d[0]), 0x7f800000U);
  EXPECT_EQ(Bits(d[1]), 0xff800000U);
  EXPECT_EQ(Bits(d[2]), 0xffc00000U);
  EXPECT_EQ(d[3], 0.5F);
  EXPECT_TRUE(std::isnan(d[4]));
  EXPECT_EQ(ippsDiv_32f(divisors.data() + 3, dividends.data(), d.data(), 2), 0)
      << "a NaN is no zero";

  const double wideDivisors[] = {0.0, 0.0, -0.0};
  double wide[] = {1.0, -1.0, -0.0};
  double apart[3];
  EXPECT_EQ(ippsDiv_64f(wideDivisors, wide, apart, 3), 6);
  EXPECT_EQ(ippsDiv_64f_I(wideDivisors, wide, 3), 6);
  EXPECT_EQ(std::memcmp(apart, wide, sizeof(wide)), 0);
  EXPECT_EQ(std::bit_cast<uint64_t>(wide[0]), 0x7ff0000000000000U);
  EXPECT_EQ(std::bit_cast<uint64_t>(wide[1]), 0xfff0000000000000U);
  EXPECT_EQ(std::bit_cast<uint64_t>(wide[2]), 0xfff8000000000000U);

  Values reversed = {0.0F, 4.0F};
  EXPECT_EQ(ippsDivCRev_32f_I(0.0F, reversed.data(), 2), 6);
  EXPECT_EQ(Bits(reversed[0]), 0xffc00000U);
  EXPECT_EQ(reversed[1], 0.0F);

  const Complex32f complexDivisors[] = {{0.0F, -0.0F}, {0.0F, 2.0F}};
  Complex32f quotients[] = {{1.0F, kInfinity}, {4.0F, 6.0F}};
  EXPECT_EQ(ippsDiv_32fc_I(complexDivisors, quotients, 2), 6);
  EXPECT_EQ(Bits(quotients[0].re), 0xffc00000U);
  EXPECT_EQ(Bits(quotients[0].im), 0xffc00000U);
  EXPECT_EQ(quotients[1].re, 3.0F);
  EXPECT_EQ(quotients[1].im, -2.0F);
}

using Parts = std::pair<double, double>;

struct ComplexRow {
  const char* name;
  int32_t (*apart)(const Complex32f*, const Complex32f*, Complex32f*, int32_t);
  int32_t (*inPlace)(const Complex32f*, Complex32f*, int32_t);
  int32_t (*byConstant)(const Complex32f*, float, float, Complex32f*, int32_t);
  int32_t (*byConstantInPlace)(float, float, Complex32f*, int32_t);
  Parts (*operation)(double ar, double ai, double br, double bi);
};

Parts ComplexProduct(double ar, double ai, double br, double bi) {
  return {ar * br - ai * bi, ar * bi + ai * br};
}

Parts TimesRoundedReciprocal(double ar, double ai, double br, double bi) {
  const double m = ar * ar + ai * ai;
  return ComplexProduct(static_cast<float>(ar / m), static_cast<float>(-ai / m), br, bi);
}

// What is wider than a float on the way is rounded once, at the end: both products of a real part
// may overflow in single precision while their difference does not.
TEST(Arithmetic, ComplexFloats) {
  const ComplexRow rows[] = {
      {"Add", &ippsAdd_32fc, &ippsAdd_32fc_I, &ippsAddC_32fc, &ippsAddC_32fc_I,
       [](double ar, double ai, double br, double bi) { return Parts(ar + br, ai + bi); }},
      {"Sub", &ippsSub_32fc, &ippsSub_32fc_I, &ippsSubC_32fc, &ippsSubC_32fc_I,
       [](double ar, double ai, double br, double bi) { return Parts(br - ar, bi - ai); }},
      {"SubCRev", nullptr, nullptr, &ippsSubCRev_32fc, &ippsSubCRev_32fc_I,
       [](double ar, double ai, double br, double bi) { return Parts(ar - br, ai - bi); }},
      {"Mul", &ippsMul_32fc, &ippsMul_32fc_I, &ippsMulC_32fc, &ippsMulC_32fc_I, &ComplexProduct},
      {"Div", &ippsDiv_32fc, &ippsDiv_32fc_I, nullptr, nullptr,
       [](double ar, double ai, double br, double bi) {
         const double r = 1.0 / (ar * ar + ai * ai);
         return Parts((ar * br + ai * bi) * r, (ar * bi - ai * br) * r);
       }},
      {"DivC", nullptr, nullptr, &ippsDivC_32fc, &ippsDivC_32fc_I, &TimesRoundedReciprocal},
  };
  RandomElements random(11, false);
  for (int round = 0; round < 2000; ++round) {
    const auto a = round == 0 ? Complex32f{3.0e20F, 3.0e20F} : random.Next<Complex32f>();
    const auto b = round == 0 ? a : random.Next<Complex32f>();
    if (a.re == 0 && a.im == 0) continue;
    for (const ComplexRow& row : rows) {
      const auto [re, im] = row.operation(a.re, a.im, b.re, b.im);
      const auto expect = [&, re = re, im = im](const Complex32f& got) {
        ASSERT_TRUE(IsSame(got.re, static_cast<float>(re))) << row.name << round;
        ASSERT_TRUE(IsSame(got.im, static_cast<float>(im))) << row.name << round;
      };
      Complex32f d = {};
      Complex32f s = b;
      if (row.apart != nullptr) {
        row.apart(&a, &b, &d, 1);
        row.inPlace(&a, &s, 1);
        expect(d);
        expect(s);
      }
      if (row.byConstant == nullptr) continue;
      s = b;
      row.byConstant(&b, a.re, a.im, &d, 1);
      row.byConstantInPlace(a.re, a.im, &s, 1);
      expect(d);
      expect(s);
    }
  }
}

TEST(Arithmetic, ComplexDoubles) {
  const Complex64f a = {1.5, -2.0};
  Complex64f d = {3.0, 0.25};
  EXPECT_EQ(ippsMulC_64fc_I(1.5, -2.0, &d, 1), 0);
  EXPECT_EQ(ippsAdd_64fc_I(&a, &d, 1), 0);
  EXPECT_EQ(ippsAdd_64fc(&a, &d, &d, 1), 0);
  EXPECT_EQ(ippsSub_64fc(&a, &d, &d, 1), 0);
  EXPECT_EQ(ippsMul_64fc(&a, &d, &d, 1), 0);
  EXPECT_EQ(d.re, 1.5 * 6.5 - 2.0 * 7.625);
  EXPECT_EQ(d.im, 1.5 * -7.625 - 2.0 * 6.5);
}

// A product that is not rounded before it is added shows in what is left of 1 + 2^-52 squared.
TEST(Arithmetic, NoProductOfDoublesIsFusedWithItsSum) {
  const double a = 1.0 + 0x1p-52;
  double sum = -(1.0 + 0x1p-51);
  EXPECT_EQ(ippsAddProduct_64f(&a, &a, &sum, 1), 0);
  EXPECT_EQ(sum, 0.0);
  const Complex64f one = {a, 1.0};
  Complex64f product = {a, 1.0 + 0x1p-51};
  EXPECT_EQ(ippsMul_64fc(&one, &product, &product, 1), 0);
  EXPECT_EQ(product.re, 0.0);
}

TEST(Arithmetic, ShortCutsOfDoublesAndInPlaceTouchNothing) {
  const double signalling = std::bit_cast<double>(0x7ff4000000000001U);
  double s[] = {-0.0, std::numeric_limits<double>::infinity()};
  EXPECT_EQ(ippsAddC_64f_I(0.0, s, 2), 0);
  EXPECT_TRUE(std::signbit(s[0]));
  EXPECT_EQ(ippsMulC_64f(s, 0.0, s, 2), 0);
  EXPECT_EQ(s[1], 0.0);
  std::memcpy(s, &signalling, sizeof(signalling));
  EXPECT_EQ(ippsMulC_64f_I(1.0, s, 2), 0);
  EXPECT_EQ(std::memcmp(s, &signalling, sizeof(signalling)), 0);
  EXPECT_EQ(ippsMulC_64f_I(0.0, s, 1), 0);
  EXPECT_EQ(s[0], 0.0);
  float f = -0.0F;
  EXPECT_EQ(ippsAddC_32f_I(0.0F, &f, 1), 0);
  EXPECT_TRUE(std::signbit(f));
}

TEST(Arithmetic, MagnitudesSquaresAndProductsAdded) {
  Values magnitudes = {-0.0F, -kInfinity, -1.5F, 2.0F, std::bit_cast<float>(0xffc12345U)};
  EXPECT_EQ(ippsAbs_32f_I(magnitudes.data(), 5), 0);
  EXPECT_EQ(Bits(magnitudes),
            Bits(Values{0.0F, kInfinity, 1.5F, 2.0F, std::bit_cast<float>(0x7fc12345U)}));
  double magnitude = -0.0;
  EXPECT_EQ(ippsAbs_64f_I(&magnitude, 1), 0);
  EXPECT_FALSE(std::signbit(magnitude));
  const double negative = -1.1;
  EXPECT_EQ(ippsAbs_64f(&negative, &magnitude, 1), 0);
  EXPECT_EQ(magnitude, 1.1);

  // 0.1f squared needs 48 bits.
  Values squares = {0.1F, -3.0F, 1.0e30F};
  const Values expected = {static_cast<float>(static_cast<double>(0.1F) * 0.1F), 9.0F, kInfinity};
  Values inPlace = squares;
  EXPECT_EQ(ippsSqr_32f(squares.data(), squares.data(), 3), 0);
  EXPECT_EQ(ippsSqr_32f_I(inPlace.data(), 3), 0);
  EXPECT_EQ(Bits(squares), Bits(expected));
  EXPECT_EQ(Bits(inPlace), Bits(expected));
  double square = 0.0;
  EXPECT_EQ(ippsSqr_64f(&negative, &square, 1), 0);
  EXPECT_EQ(ippsSqr_64f_I(&magnitude, 1), 0);
  EXPECT_EQ(square, -1.1 * -1.1);
  EXPECT_EQ(magnitude, square);

  // 1 + 2^-13 squared is 1 + 2^-12 + 2^-26: rounded on the way it would end in 0.
  const float a = 1.0F + 0x1p-13F;
  float sum = -1.0F - 0x1p-12F;
  EXPECT_EQ(ippsAddProduct_32f(&a, &a, &sum, 1), 0);
  EXPECT_EQ(sum, 0x1p-26F);
  const double wide = 3.0;
  double wideSum = 1.0;
  EXPECT_EQ(ippsAddProduct_64f(&wide, &wide, &wideSum, 1), 0);
  EXPECT_EQ(wideSum, 10.0);
  const int16_t least = -32768;
  float product = 0.0F;
  EXPECT_EQ(ippsMul_16s32f(&least, &least, &product, 1), 0);
  EXPECT_EQ(product, 1073741824.0F);
}

}  // namespace
