// Tables and fits that are computed while compiling, against the C library's functions in long
// double and against rows that are known, and the reduction of large angles.
#include <gtest/gtest.h>

#include <cmath>

#include "primitives/math/binary_logarithm_table.h"
#include "primitives/math/decimal_logarithm_table.h"
#include "primitives/math/logarithm_fits.h"
#include "primitives/math/powers_of_two.h"
#include "primitives/math/sine_and_cosine.h"
#include "tests/primitives/extended_precision.h"
#include "tests/primitives/random_elements.h"

namespace zr::primitives {
namespace {

using test::ExtendedPrecision;

constexpr auto kPowers64 = MakePowersOfTwo<64>();
constexpr auto kPowers128 = MakePowersOfTwo<128>();
constexpr auto kDecimal = MakeDecimalLogarithmTable();
constexpr auto kBinary = MakeBinaryLogarithmTable();
constexpr auto kFits = FitLogarithms();

// A long double holds 11 bits of a tail behind a double, 43 behind 21 bits.
constexpr long double kBinaryTolerance = 0x1p-63L;
long double Sum(DoubleLength number) {
  return static_cast<long double>(number.head) + number.tail;
}

TEST(MathTables, HoldTheRowsThatAreKnown) {
  const struct {
    double row;
    double known;
  } rows[] = {{kPowers64.rows[1].head, 1.0108892860517005},
              {kDecimal.rows[0].factor, 0.43359375},
              {kDecimal.rows[0].logarithm.head, 0.0},
              {kDecimal.rows[0].logarithm.tail, 0.0},
              {kDecimal.rows[1].factor, 0.42681884765625},
              {kDecimal.rows[1].logarithm.head, 0.006839424531790428},
              {kDecimal.rows[1].logarithm.tail, -1.4849618834365666e-12},
              {kDecimal.rows[64].factor, 0.216796875},
              {kBinary.rows[0].factor, 1.442694902420044},
              {kBinary.rows[0].logarithm.head, 0.0},
              {kBinary.rows[1].factor, 1.439882516860962},
              {kBinary.rows[1].logarithm.head, 0.0028151292353868484},
              {kBinary.rows[256].factor, 0.9617966413497925},
              {kBinary.rows[256].logarithm.head, -0.4150373935699463},
              {kBinary.rows[512].factor, 0.721347451210022},
              {kBinary.rows[512].logarithm.head, 0.0}};
  for (const auto& row : rows)
    EXPECT_EQ(row.row, row.known);
}

TEST(MathTables, HoldWhatTheirRulesSay) {
  const ExtendedPrecision scope;
  for (uint32_t j = 0; j < 128; ++j) {
    const long double power = std::exp2(static_cast<long double>(j) / 128);
    EXPECT_EQ(kPowers128.rows[j].head, static_cast<double>(power)) << j;
    EXPECT_NEAR(static_cast<double>(Sum(kPowers128.rows[j]) - power), 0.0, 0x1p-62) << j;
    EXPECT_EQ(kPowers64.rows[j / 2].head, kPowers128.rows[j / 2 * 2].head) << j;
    EXPECT_EQ(kPowers64.rows[j / 2].tail, kPowers128.rows[j / 2 * 2].tail) << j;
  }
  for (uint32_t j = 0; j < kDecimalLogarithmRows; ++j) {
    const DecimalLogarithmRow& row = kDecimal.rows[j];
    const long double exact =
        std::log10(static_cast<long double>(kDecimalScale) / static_cast<long double>(row.factor));
    EXPECT_NEAR(static_cast<double>(Sum(row.logarithm) - exact), 0.0, 0x1p-63) << j;
    EXPECT_NEAR(row.factor * (64 + j) / 64, kDecimalScale, kDecimalScale * 0x1p-10) << j;
  }
  for (uint32_t j = 0; j < kBinaryLogarithmRows; ++j) {
    const BinaryLogarithmRow& row = kBinary.rows[j];
    const long double quotient = static_cast<long double>(kBinaryScale) / row.factor;
    const long double exact = std::log2(j < 256 ? quotient : quotient / 2);
    EXPECT_NEAR(static_cast<double>(Sum(row.logarithm) - exact), 0.0,
                static_cast<double>(kBinaryTolerance))
        << j;
    EXPECT_NEAR(row.factor * (512 + j) / 512, kBinaryScale, 0x1p-22) << j;
    EXPECT_EQ(std::bit_cast<uint64_t>(row.logarithm.head) & 0xffffffff, 0U) << j;
  }
}

long double ValueOf(const LogarithmFit& fit, long double m) {
  return (fit.constant + fit.quadratic * m * m) + m * (fit.cubic * m * m + fit.linear);
}

// The largest error of a fit on its row, in the first and the last one relative to what vanishes at
// that end.
long double ErrorOf(const LogarithmFit& fit, int32_t row) {
  constexpr int32_t kPoints = 1000;
  const ExtendedPrecision scope;
  long double largest = 0;
  for (int32_t i = 0; i <= kPoints; ++i) {
    const long double m =
        1 + (static_cast<long double>(row) + static_cast<long double>(i) / kPoints) / 256;
    const long double error = ValueOf(fit, m) - std::log2(m);
    const long double vanishing = row == 0 ? std::log2(m) : 1 - std::log2(m);
    if (row != 0 && row != kLogarithmFits - 1) {
      largest = std::max(largest, std::fabs(error));
    } else if (vanishing != 0) {
      largest = std::max(largest, std::fabs(error / vanishing));
    }
  }
  return largest;
}

TEST(MathTables, FitsAreAsGoodAsTheBestCubics) {
  const LogarithmFit first = {-2.642832113567301, 4.321761820781038, -2.157722341080857,
                              0.47879263386711995};
  const LogarithmFit middle = {-2.0581032118291467, 2.881641720509034, -0.9592991391922782,
                               0.14193368739837228};
  EXPECT_LE(ErrorOf(kFits.rows[0], 0), ErrorOf(first, 0));
  EXPECT_LE(ErrorOf(kFits.rows[128], 128), ErrorOf(middle, 128));
  for (int32_t row = 1; row < kLogarithmFits - 1; ++row) {
    // The best cubic's error, from the fourth derivative, and the rounding of the coefficients.
    const long double center = 1 + (static_cast<long double>(row) + 0.5L) / 256;
    const long double derivative = 6 * 1.4426950408889634L / std::pow(center, 4.0L);
    EXPECT_LE(ErrorOf(kFits.rows[row], row), derivative / 192 * 0x1p-36L * 1.001L + 0x1p-51L)
        << row;
  }
  EXPECT_LE(ErrorOf(kFits.rows[255], 255), 6.0e-11L);
  EXPECT_EQ(ValueOf(kFits.rows[0], 1), 0.0L);
  EXPECT_EQ(ValueOf(kFits.rows[255], 2), 1.0L);
}

TEST(LargeAngles, AreReducedRightInEveryBinade) {
  // No double comes closer to a multiple of pi / 2.
  const SineAndCosine closest = SineAndCosineOf(0x1.6ac5b262ca1ffp+849);
  EXPECT_EQ(closest.sine, 1.0);
  EXPECT_EQ(closest.cosine, -4.687165924254628e-19);
  test::RandomElements random(3, false);
  for (int32_t exponent = -40; exponent < 1024; ++exponent) {
    for (int32_t i = 0; i < 20; ++i) {
      const auto fraction = static_cast<double>(random.Bits() >> 11) * 0x1p-53;
      const double x = std::ldexp(1.0 + fraction, exponent) * (i % 2 == 0 ? 1 : -1);
      const SineAndCosine both = SineAndCosineOf(x);
      const ExtendedPrecision scope;
      const auto expectNear = [x](double result, long double reference) {
        const long double ulp = std::ldexp(1.0L, std::ilogb(reference) - 52);
        EXPECT_LE(std::fabs(result - reference) / ulp, 0.53L) << x;
      };
      expectNear(both.sine, std::sin(static_cast<long double>(x)));
      expectNear(both.cosine, std::cos(static_cast<long double>(x)));
    }
  }
}

}  // namespace
}  // namespace zr::primitives
