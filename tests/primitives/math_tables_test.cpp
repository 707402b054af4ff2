// Tables and fits that are computed while compiling, against the C library's functions in long
// double and against rows that are known, and the reduction of large angles.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "primitives/math/binary_logarithm_table.h"
#include "primitives/math/decimal_logarithm_table.h"
#include "primitives/math/logarithm_fits.h"
#include "primitives/math/powers_of_two.h"
#include "primitives/math/reciprocal_tables.h"
#include "primitives/math/sine_and_cosine.h"
#include "tests/primitives/ulps.h"

namespace zr::primitives {
namespace {

using test::ExtendedPrecision;

constexpr auto kPowers128 = MakePowersOfTwo<128>();
constexpr auto kRelativePowers64 = MakePowersOfTwoWithRelativeTails<64>();
constexpr auto kDecimal = MakeDecimalLogarithmTable();
constexpr auto kBinary = MakeBinaryLogarithmTable();
constexpr auto kFirst = MakeFirstReciprocals();
constexpr auto kSecond = MakeSecondReciprocals();
constexpr auto kThird = MakeThirdReciprocals();
constexpr auto kFits = FitLogarithms();

constexpr double kNotKnown = std::numeric_limits<double>::quiet_NaN();

template <typename Row>
void ExpectRow(const Row& row, double factor, double head = kNotKnown, double tail = kNotKnown) {
  EXPECT_EQ(row.factor, factor);
  EXPECT_TRUE(std::isnan(head) || row.logarithm.head == head) << factor;
  EXPECT_TRUE(std::isnan(tail) || row.logarithm.tail == tail) << factor;
}

TEST(MathTables, HoldTheRowsThatAreKnown) {
  ExpectRow(kDecimal.rows[0], 0.43359375, 0.0, 0.0);
  ExpectRow(kDecimal.rows[1], 0.42681884765625, 0.006839424531790428, -1.4849618834365666e-12);
  ExpectRow(kDecimal.rows[64], 0.216796875, 0.3010299956640665, -8.532344317057107e-14);
  ExpectRow(kBinary.rows[0], 1.442694902420044, 0.0);
  ExpectRow(kBinary.rows[1], 1.439882516860962, 0.0028151292353868484);
  ExpectRow(kBinary.rows[256], 0.9617966413497925, -0.4150373935699463);
  ExpectRow(kBinary.rows[512], 0.721347451210022, 0.0);
  ExpectRow(kFirst.rows[0], 1.0);
  ExpectRow(kFirst.rows[16], 0.666656494140625, -0.4150154853314234, -1.564570207123908e-13);
  ExpectRow(kFirst.rows[32], 0.5, 0.0);
  ExpectRow(kSecond.rows[1], 0.998046875);
  ExpectRow(kSecond.rows[16], 1.015869140625);
  ExpectRow(kThird.rows[0], 1.442694902420044);
  ExpectRow(kThird.rows[1], 1.4426507949829102);
  EXPECT_EQ(kRelativePowers64.rows[0].tail, 0.0);
  EXPECT_EQ(kRelativePowers64.rows[1].head, 1.0108892860517005);
  EXPECT_EQ(kRelativePowers64.rows[1].tail, -1.507066976926039e-17);
}

TEST(MathTables, HoldPowersOfTwo) {
  const ExtendedPrecision scope;
  for (uint32_t j = 0; j < 128; ++j) {
    const DoubleLength& row = kPowers128.rows[j];
    const long double power = std::exp2(static_cast<long double>(j) / 128);
    EXPECT_EQ(row.head, static_cast<double>(power)) << j;
    EXPECT_NEAR(static_cast<double>((row.head - power) + row.tail), 0.0, 0x1p-62) << j;
    if (j % 2 != 0) continue;
    const DoubleLength& relative = kRelativePowers64.rows[j / 2];
    EXPECT_EQ(relative.head, row.head) << j;
    EXPECT_NEAR(relative.tail * row.head, row.tail, 0x1p-105) << j;
  }
}

// Logarithms of scale / factor, less 1 from a row on. Heads are multiples of headUnit, so that sums
// of them are exact.
template <typename Table>
void ExpectLogarithms(const Table& table, double scale, long double (*logarithmOf)(long double),
                      uint32_t firstLessOne, double headUnit) {
  // A long double holds 11 bits of a tail behind a double.
  constexpr double kTolerance = 0x1p-62;
  const ExtendedPrecision scope;
  for (uint32_t j = 0; j < std::size(table.rows); ++j) {
    const auto& row = table.rows[j];
    const long double exact =
        logarithmOf(static_cast<long double>(scale) / row.factor) - (j < firstLessOne ? 0 : 1);
    const long double sum = static_cast<long double>(row.logarithm.head) + row.logarithm.tail;
    EXPECT_NEAR(static_cast<double>(sum - exact), 0.0, kTolerance) << j;
    const double headUnits = row.logarithm.head / headUnit;
    EXPECT_EQ(headUnits, std::trunc(headUnits)) << j;
  }
}

TEST(MathTables, HoldLogarithms) {
  const auto decimal = [](long double x) { return std::log10(x); };
  const auto binary = [](long double x) { return std::log2(x); };
  ExpectLogarithms(kDecimal, kDecimalScale, decimal, 65, 0x1p-43);
  ExpectLogarithms(kBinary, kBinaryScale, binary, 256, 0x1p-30);
  ExpectLogarithms(kFirst, 1.0, binary, 16, 0x1p-40);
  ExpectLogarithms(kSecond, 1.0, binary, 33, 0x1p-40);
  ExpectLogarithms(kThird, kReciprocalScale, binary, 129, 0x1p-40);
  for (uint32_t j = 0; j < kDecimalLogarithmRows; ++j)
    EXPECT_NEAR(kDecimal.rows[j].factor * (64 + j) / 64, kDecimalScale, kDecimalScale * 0x1p-10);
  for (uint32_t j = 0; j < kBinaryLogarithmRows; ++j)
    EXPECT_NEAR(kBinary.rows[j].factor * (512 + j) / 512, kBinaryScale, 0x1p-22) << j;
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
      const double magnitude = std::ldexp(test::Uniform(&random, 1.0, 2.0), exponent);
      const double x = i % 2 == 0 ? magnitude : -magnitude;
      const SineAndCosine both = SineAndCosineOf(x);
      const long double wide = x;
      const ExtendedPrecision scope;  // For both references: compilers join the calls.
      EXPECT_LE(test::Ulps(both.sine, [=] { return std::sin(wide); }), 0.53) << x;
      EXPECT_LE(test::Ulps(both.cosine, [=] { return std::cos(wide); }), 0.53) << x;
    }
  }
}

}  // namespace
}  // namespace zr::primitives
