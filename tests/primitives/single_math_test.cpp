// Sines, logarithms and powers of floats against the C library's functions in long double; the
// elements that are out of the ordinary; and the ends of the short ways.
#include "primitives/math/single_math.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "primitives/math/exceptional_elements.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/extended_precision.h"
#include "tests/primitives/random_elements.h"

namespace {

using zr::test::Bits;
using zr::test::ExtendedPrecision;
using zr::test::kInfinity;
using zr::test::kNaN;
using zr::test::RandomElements;

constexpr bool kIsX87 = FLT_EVAL_METHOD != 0;
constexpr float kDomainNaN = std::bit_cast<float>(0xffc00000U);

using OfOne = int32_t (*)(const float*, float*, int32_t);
using OfTwo = int32_t (*)(const float*, const float*, float*, int32_t);

// Bits, but of NaNs only that it is one; the domain error's has its own.
bool IsSame(float result, float expected) {
  if (Bits(expected) == Bits(kDomainNaN) || !std::isnan(expected))
    return Bits(result) == Bits(expected);
  return std::isnan(result);
}

float Neighbour(float x, int32_t steps) {
  return std::bit_cast<float>(Bits(x) + static_cast<uint32_t>(steps));
}

TEST(SingleMath, ElementsOutOfTheOrdinary) {
  const struct {
    OfOne function;
    float argument;
    float expected;
    int32_t status;
  } rows[] = {{&ippsSin_32f, 0.0F, 0.0F, 0},
              {&ippsSin_32f, -0.0F, -0.0F, 0},
              {&ippsSin_32f, kInfinity, kDomainNaN, 19},
              {&ippsSin_32f, -kInfinity, kDomainNaN, 19},
              {&ippsSin_32f, kNaN, kNaN, 0},
              {&ippsSin_32f, Neighbour(0.0F, 1), Neighbour(0.0F, 1), 0},
              {&ippsCos_32f, -0.0F, 1.0F, 0},
              {&ippsCos_32f, -kInfinity, kDomainNaN, 19},
              {&ippsCos_32f, -kNaN, kNaN, 0},
              {&ippsTan_32f, 0.0F, 0.0F, 0},
              {&ippsTan_32f, -0.0F, -0.0F, 0},
              {&ippsTan_32f, Neighbour(-0.0F, 1), Neighbour(-0.0F, 1), 0},
              {&ippsTan_32f, kInfinity, kDomainNaN, 19},
              {&ippsTan_32f, kNaN, kNaN, 0},
              {&ippsLog10_32f, 0.0F, -kInfinity, 18},
              {&ippsLog10_32f, -0.0F, -kInfinity, 18},
              {&ippsLog10_32f, -1.0F, kDomainNaN, 19},
              {&ippsLog10_32f, Neighbour(-0.0F, 1), kDomainNaN, 19},
              {&ippsLog10_32f, -kInfinity, kDomainNaN, 19},
              {&ippsLog10_32f, kInfinity, kInfinity, 0},
              {&ippsLog10_32f, kNaN, kNaN, 0},
              {&ippsLog10_32f, -kNaN, kNaN, 0},
              {&ippsLog10_32f, 1.0F, 0.0F, 0},
              {&ippsLog10_32f, 10.0F, 1.0F, 0},
              {&ippsLog10_32f, 1000.0F, 3.0F, 0},
              {&ippsLog10_32f, 1.0e10F, 10.0F, 0},
              {&ippsLog10_32f, Neighbour(0.0F, 1), -44.8534698F, 0}};
  for (const auto& row : rows) {
    // Beside an ordinary element, which is computed all the same.
    const float arguments[] = {row.argument, 1.0F};
    float results[] = {9.0F, 9.0F};
    float alone = 9.0F;
    EXPECT_EQ(row.function(arguments, results, 2), row.status) << row.argument;
    EXPECT_EQ(row.function(arguments + 1, &alone, 1), 0);
    EXPECT_TRUE(IsSame(results[0], row.expected)) << row.argument << ": " << results[0];
    EXPECT_EQ(Bits(results[1]), Bits(alone));
  }
}

TEST(SingleMath, TheLastExceptionalElementDecides) {
  const float arguments[] = {0.0F, -1.0F, 0.0F, 5.0F};
  float results[4];
  EXPECT_EQ(ippsLog10_32f(arguments, results, 2), 19);
  EXPECT_EQ(ippsLog10_32f(arguments + 1, results, 3), 18);
}

// Special powers are the same in both functions.
TEST(SingleMath, PowersOutOfTheOrdinary) {
  const float inf = kInfinity;
  const float tiny = Neighbour(0.0F, 1);
  const struct {
    float x;
    float y;
    float expected;
    int32_t status = 0;
  } rows[] = {{kNaN, 0.0F, 1.0F},
              {-inf, -0.0F, 1.0F},
              {1.0F, kNaN, 1.0F},
              {1.0F, -inf, 1.0F},
              {1.0F, 1.0e38F, 1.0F},
              {0.1F, 1.0F, 0.1F},
              {-tiny, 1.0F, -tiny},
              {-inf, 1.0F, -inf},
              {2.0F, kNaN, kNaN},
              {-1.0F, kNaN, kNaN},
              {kNaN, 2.0F, kNaN},
              {inf, 0.5F, inf},
              {inf, inf, inf},
              {inf, -0.5F, 0.0F},
              {-inf, 3.0F, -inf},
              {-inf, 2.0F, inf},
              {-inf, 2.5F, inf},
              {-inf, inf, inf},
              {-inf, -3.0F, -0.0F},
              {-inf, -4.0F, 0.0F},
              {-inf, -0.5F, 0.0F},
              {-inf, -inf, 0.0F},
              {-1.0F, inf, 1.0F},
              {-1.0F, -inf, 1.0F},
              {-1.5F, inf, inf},
              {1.5F, -inf, 0.0F},
              {0.5F, inf, 0.0F},
              {-0.5F, -inf, inf},
              {-0.0F, inf, 0.0F},
              {0.0F, -inf, inf, 19},
              {-0.0F, -inf, inf, 19},
              {-4.0F, -1.0F, -0.25F},
              {-tiny, -1.0F, -inf},
              {-0.0F, -1.0F, -inf, 19},
              {-8.0F, 0.5F, kDomainNaN, 19},
              {-tiny, 1.5F, kDomainNaN, 19},
              {-2.0F, 4194303.5F, kDomainNaN, 19},
              {-0.0F, 3.0F, -0.0F},
              {-0.0F, 0.5F, 0.0F},
              {-0.0F, 16777216.0F, 0.0F},
              {-0.0F, -3.0F, -inf, 19},
              {-0.0F, -2.5F, inf, 19},
              {0.0F, 3.0F, 0.0F},
              {0.0F, -1.0F, inf, 19},
              {-1.0F, 8388607.0F, -1.0F},
              {-1.0F, 16777215.0F, -1.0F},
              {-1.0F, 16777216.0F, 1.0F},
              {-8.0F, 3.0F, -512.0F},
              {2.0F, 10.0F, 1024.0F},
              {tiny, 0.5F, 0x1.6a09e6p-75F},
              {2.0F, -149.0F, tiny},
              {2.0F, -151.0F, 0.0F},
              {2.0F, 128.0F, inf},
              {-2.0F, 129.0F, -inf},
              {-2.0F, -151.0F, -0.0F},
              // Products of exponent and logarithm that no low word holds.
              {2.0F, 1.0e30F, inf},
              {2.0F, -1.0e30F, 0.0F},
              {2.0F, 0x1p26F, inf},
              {2.0F, -0x1p26F, 0.0F},
              {0.5F, 3.0e38F, 0.0F},
              {Neighbour(1.0F, -1), -3.0e38F, inf},
              {3.0e38F, 600.0F, inf},
              {3.0e38F, -16.0F, 0.0F},
              {3.0F, tiny, 1.0F}};
  for (const auto function : {&ippsPow_32f, &ippsPowAccurate_32f}) {
    for (const auto& row : rows) {
      // At any place in a group of four, and alone.
      for (int32_t length = 1; length <= 9; ++length) {
        std::vector<float> x(9, 1.5F);
        std::vector<float> y(9, 2.0F);
        std::vector<float> results(9, 9.0F);
        x[length - 1] = row.x;
        y[length - 1] = row.y;
        EXPECT_EQ(function(x.data(), y.data(), results.data(), length), row.status);
        EXPECT_TRUE(IsSame(results[length - 1], row.expected))
            << row.x << " to " << row.y << ": " << results[length - 1];
        for (int32_t i = 0; i + 1 < length; ++i)
          EXPECT_EQ(results[i], 2.25F);
      }
    }
  }
}

TEST(SingleMath, ReciprocalsOfNegativesAreQuotients) {
  constexpr int32_t kCount = 1000;
  RandomElements random(4, false);
  std::vector<float> x(kCount);
  std::vector<float> expected(kCount);
  const std::vector<float> y(kCount, -1.0F);
  for (int32_t i = 0; i < kCount; ++i) {
    x[i] = -std::fabs(random.Next<float>()) - 0.25F;
    expected[i] = static_cast<float>(1.0 / static_cast<double>(x[i]));
  }
  for (const auto function : {&ippsPow_32f, &ippsPowAccurate_32f}) {
    std::vector<float> results(kCount);
    EXPECT_EQ(function(x.data(), y.data(), results.data(), kCount), 0);
    EXPECT_EQ(Bits(results), Bits(expected));
  }
}

// In units of the last place of a float at the reference.
double ErrorInUlps(float result, long double reference) {
  const int exponent = reference == 0 ? -126 : std::max(std::ilogb(reference), -126);
  return static_cast<double>(std::ldexp(std::fabs(result - reference), 23 - exponent));
}

TEST(SingleMath, FunctionsAreAsAccurateAsTheirPolynomials) {
  const struct {
    const char* name;
    OfOne function;
    long double (*reference)(long double);
    double bound;
    bool isOfNegatives;
  } rows[] = {
      {"sin", &ippsSin_32f, [](long double x) { return std::sin(x); }, 0.81, true},
      {"cos", &ippsCos_32f, [](long double x) { return std::cos(x); }, 0.81, true},
      {"tan", &ippsTan_32f, [](long double x) { return std::tan(x); }, 0.95, true},
      {"log10", &ippsLog10_32f, [](long double x) { return std::log10(x); }, 0.5001, false}};
  // Every binade, 64 floats of each, and a closer look at the ordinary ones.
  std::vector<float> arguments;
  RandomElements random(1, false);
  for (uint32_t word = 1; word < 0x7f800000;
       word += (word >> 23 > 100 && word >> 23 < 160) ? 0x1fff : 0x1ffff)
    arguments.push_back(std::bit_cast<float>(word | (random.Bits() % 2 == 0 ? 0 : 0x80000000)));
  const auto n = static_cast<int32_t>(arguments.size());
  for (const auto& row : rows) {
    if (!row.isOfNegatives)
      for (float& argument : arguments)
        argument = std::fabs(argument);
    std::vector<float> results(arguments.size());
    EXPECT_EQ(row.function(arguments.data(), results.data(), n), 0);
    const ExtendedPrecision scope;
    for (int32_t i = 0; i < n; ++i)
      ASSERT_LE(ErrorInUlps(results[i], row.reference(arguments[i])), row.bound)
          << row.name << " of " << arguments[i];
  }
}

TEST(SingleMath, PowersAreAsAccurateAsTheirLogarithms) {
  constexpr int32_t kPairs = 40000;
  RandomElements random(2, false);
  std::vector<float> x(kPairs);
  std::vector<float> y(kPairs);
  for (int32_t i = 0; i < kPairs; ++i) {
    // A base anywhere or close to 1, and a power that a float holds.
    const auto uniform = [&random] { return static_cast<double>(random.Bits() >> 11) * 0x1p-53; };
    x[i] = std::bit_cast<float>(static_cast<uint32_t>(random.Bits() % 0x7f800000));
    if (i % 2 == 0)
      x[i] =
          Neighbour(1.0F, static_cast<int32_t>(random.Bits() % (2U << (i % 23))) - (1 << (i % 23)));
    if (x[i] == 0.0F || x[i] == 1.0F) x[i] = 2.0F;
    y[i] = static_cast<float>((uniform() * 276.0 - 148.0) / std::log2(static_cast<double>(x[i])));
  }
  std::vector<float> fast(kPairs);
  std::vector<float> accurate(kPairs);
  EXPECT_EQ(ippsPow_32f(x.data(), y.data(), fast.data(), kPairs), 0);
  EXPECT_EQ(ippsPowAccurate_32f(x.data(), y.data(), accurate.data(), kPairs), 0);
  const ExtendedPrecision scope;
  for (int32_t i = 0; i < kPairs; ++i) {
    const long double power =
        std::pow(static_cast<long double>(x[i]), static_cast<long double>(y[i]));
    ASSERT_LE(ErrorInUlps(accurate[i], power), 0.5001) << x[i] << " to " << y[i];
    // The exponent multiplies the error of the fast logarithm: that of its fit, relative beside 1,
    // and a few last bits of a sum of numbers below 4. The quadratic adds its own.
    const double logarithm = std::fabs(std::log2(static_cast<double>(x[i])));
    const double errorOfFit = logarithm < 1.0 / 178 ? 4.7e-10 * logarithm : 6.5e-13;
    const double error = 7.0e-9 + 0.6931 * std::fabs(y[i]) * (errorOfFit + 1.4e-15);
    ASSERT_LE(ErrorInUlps(fast[i], power), 0.5 + error * 0x1p24) << x[i] << " to " << y[i];
  }
}

// Rounding that the caller has set shows in the short ways; the long ones set their own.
class Rounding {
 public:
  explicit Rounding(uint32_t mode) {
    if (kIsX87) {
      FpSetControlWord(mode << 10 | 0x300, 0xf00);
    } else {
      FpSetMxcsrRounding(mode << 13);
    }
  }
  ~Rounding() {
    FpRestoreControlWord(controlWord_);
    if (!kIsX87) FpRestoreMxcsr(mxcsr_);
  }
  Rounding(const Rounding&) = delete;
  Rounding& operator=(const Rounding&) = delete;

  static uint32_t Control() { return kIsX87 ? FpGetControlWord() : FpGetMxcsr() & 0x7fc0; }

 private:
  const uint32_t controlWord_ = FpGetControlWord();
  const uint32_t mxcsr_ = kIsX87 ? 0 : FpGetMxcsr();
};

TEST(SingleMath, LongWaysBeginBehindTheirBoundsAndRestoreTheControl) {
  constexpr uint32_t kDown = 1;
  constexpr uint32_t kUp = 2;
  const struct {
    const char* name;
    OfOne function;
    float lastOfShortWay;
  } rows[] = {{"sin", &ippsSin_32f, 1000000.0F},
              {"cos", &ippsCos_32f, 500000.0F},
              {"tan", &ippsTan_32f, 128000.0F}};
  for (const auto& row : rows) {
    for (const float sign : {1.0F, -1.0F}) {
      const auto spread = [&row](float x) {
        float nearest = 0.0F;
        float results[2] = {};
        row.function(&x, &nearest, 1);
        for (const uint32_t mode : {kDown, kUp}) {
          const Rounding rounding(mode);
          const uint32_t before = Rounding::Control();
          row.function(&x, &results[mode - kDown], 1);
          EXPECT_EQ(Rounding::Control(), before);
        }
        const uint32_t difference = Bits(results[1]) - Bits(results[0]);
        EXPECT_TRUE(difference != 0 || Bits(results[0]) == Bits(nearest)) << x;
        return difference;
      };
      EXPECT_NE(spread(sign * row.lastOfShortWay), 0U) << row.name;
      EXPECT_EQ(spread(sign * Neighbour(row.lastOfShortWay, 1)), 0U) << row.name;
    }
  }
}

uint32_t ExceptionFlags() {
  return (kIsX87 ? FpGetStatusWord() : FpGetMxcsr()) & 0x3f;
}

void ClearExceptionFlags() {
  FpGetAndClearStatusWord();
  if (!kIsX87) FpSetMxcsr(0, 0x3f);
}

TEST(SingleMath, ErrorsRaiseTheirFlags) {
  const struct {
    int32_t status;
    uint32_t flag;
  } rows[] = {{19, 0x1}, {18, 0x4}, {12, 0x8}, {17, 0x10}};
  uint32_t expected = 0;
  ClearExceptionFlags();
  for (const auto& row : rows) {
    zr::primitives::RaiseFlagOf(row.status);
    expected |= row.flag;
    EXPECT_EQ(ExceptionFlags() & 0x1d, expected) << row.status << " clears none";
  }
  ClearExceptionFlags();
  const float arguments[] = {0.0F, 2.0F};
  float results[2];
  EXPECT_EQ(ippsLog10_32f(arguments, results, 2), 18);
  EXPECT_EQ(ExceptionFlags() & 0x1d, 0x4U);
  ClearExceptionFlags();
}

}  // namespace
