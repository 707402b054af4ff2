// Sines, logarithms and powers of floats: the elements that are out of the ordinary, powers of
// doubles with them; the ends of the short ways; and what errors do to the processor's flags. How
// accurate they are, accuracy/math_accuracy.cpp tests.
#include "primitives/math/single_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "primitives/element_words.h"
#include "primitives/integer_functions.h"
#include "primitives/math/double_math.h"
#include "primitives/math/elementary_functions.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/processor/floating_point_control.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/random_elements.h"

namespace {

using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;
using zr::test::RandomElements;

constexpr bool kIsX87 = FLT_EVAL_METHOD != 0;
constexpr float kDomainNaN = std::bit_cast<float>(0xffc00000U);

using OfOne = int32_t (*)(const float*, float*, int32_t);
template <typename Real>
using OfTwo = int32_t (*)(const Real*, const Real*, Real*, int32_t);

// By bits; any NaN is as good as any other, but for a domain error's.
template <typename Real>
bool IsSame(Real result, float expected) {
  if (std::isnan(expected) && !std::signbit(expected)) return std::isnan(result);
  const Real asReal = expected;
  return zr::primitives::LoadWord(&result) == zr::primitives::LoadWord(&asReal);
}

float Neighbour(float x, int32_t steps) {
  return std::bit_cast<float>(Bits(x) + static_cast<uint32_t>(steps));
}

TEST(SingleMath, ElementsOutOfTheOrdinary) {
  constexpr float kInf = kInfinity;
  constexpr float kDom = kDomainNaN;
  const float tiny = Neighbour(0.0F, 1);
  constexpr std::size_t kCount = 8;
  const float arguments[kCount] = {0, -0.0F, tiny, -tiny, kInf, -kInf, kNaN, -kNaN};
  const struct {
    OfOne function;
    float expected[kCount];
  } rows[] = {{&ippsSin_32f, {0, -0.0F, tiny, -tiny, kDom, kDom, kNaN, kNaN}},
              {&ippsCos_32f, {1, 1, 1, 1, kDom, kDom, kNaN, kNaN}},
              {&ippsTan_32f, {0, -0.0F, tiny, -tiny, kDom, kDom, kNaN, kNaN}},
              {&ippsLog10_32f, {-kInf, -kInf, -44.8534698F, kDom, kInf, kDom, kNaN, kNaN}}};
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < kCount; ++i) {
      // Beside an ordinary element, which is computed all the same.
      const float pair[] = {arguments[i], 1.0F};
      float results[] = {9.0F, 9.0F};
      float alone = 9.0F;
      const float expected = row.expected[i];
      const int32_t status = expected == -kInf ? 18 : Bits(expected) == Bits(kDom) ? 19 : 0;
      EXPECT_EQ(row.function(pair, results, 2), status) << pair[0];
      EXPECT_EQ(row.function(pair + 1, &alone, 1), 0);
      EXPECT_TRUE(IsSame(results[0], expected)) << pair[0] << ": " << results[0];
      EXPECT_EQ(Bits(results[1]), Bits(alone));
    }
  }
}

TEST(SingleMath, TheLastExceptionalElementDecides) {
  const float arguments[] = {0, -1, 0, 1, 10, 1000, 1.0e10F};
  float results[7];
  EXPECT_EQ(ippsLog10_32f(arguments, results, 2), 19);
  EXPECT_EQ(ippsLog10_32f(arguments + 1, results + 1, 6), 18);
  const std::vector<float> expected = {-kInfinity, kDomainNaN, -kInfinity, 0, 1, 3, 10};
  EXPECT_EQ(Bits({std::begin(results), std::end(results)}), Bits(expected));
}

template <typename Real>
void ExpectPower(OfTwo<Real> function, float base, float exponent, float expected) {
  const bool isPole = base == 0.0F && std::fabs(expected) == kInfinity;
  const int32_t status = isPole || Bits(expected) == Bits(kDomainNaN) ? 19 : 0;
  // At any place in a group of four, and alone.
  for (int32_t length = 1; length <= 9; ++length) {
    std::vector<Real> x(9, Real{1.5});
    std::vector<Real> y(9, Real{2});
    std::vector<Real> results(9, Real{9});
    x[length - 1] = base;
    y[length - 1] = exponent;
    EXPECT_EQ(function(x.data(), y.data(), results.data(), length), status);
    EXPECT_TRUE(IsSame(results[length - 1], expected))
        << base << " to " << exponent << ": " << results[length - 1];
    EXPECT_EQ(std::count(results.begin(), results.begin() + length - 1, Real{2.25}), length - 1);
  }
}

TEST(SingleMath, PowersOutOfTheOrdinary) {
  constexpr float kInf = kInfinity;
  constexpr float kDom = kDomainNaN;
  constexpr std::size_t kCount = 12;
  constexpr float kExponents[kCount] = {-kInf, -3, -2, -1, -0.5F, -0.0F, 0.5F, 1, 2, 3, kInf, kNaN};
  const struct {
    float base;
    float expected[kCount];
  } rows[] = {
      {kNaN, {kNaN, kNaN, kNaN, kNaN, kNaN, 1, kNaN, kNaN, kNaN, kNaN, kNaN, kNaN}},
      {-kInf, {0, -0.0F, 0, -0.0F, 0, 1, kInf, -kInf, kInf, -kInf, kInf, kNaN}},
      {-4, {0, -0x1p-6F, 0x1p-4F, -0.25F, kDom, 1, kDom, -4, 16, -64, kInf, kNaN}},
      {-1, {1, -1, 1, -1, kDom, 1, kDom, -1, 1, -1, 1, kNaN}},
      {-0.25F, {kInf, -64, 16, -4, kDom, 1, kDom, -0.25F, 0x1p-4F, -0x1p-6F, 0, kNaN}},
      {-0.0F, {kInf, -kInf, kInf, -kInf, kInf, 1, 0, -0.0F, 0, -0.0F, 0, kNaN}},
      {0, {kInf, kInf, kInf, kInf, kInf, 1, 0, 0, 0, 0, 0, kNaN}},
      {0.25F, {kInf, 64, 16, 4, 2, 1, 0.5F, 0.25F, 0x1p-4F, 0x1p-6F, 0, kNaN}},
      {1, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},
      {4, {0, 0x1p-6F, 0x1p-4F, 0.25F, 0.5F, 1, 2, 4, 16, 64, kInf, kNaN}},
      {kInf, {0, 0, 0, 0, 0, 1, kInf, kInf, kInf, kInf, kInf, kNaN}},
  };
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < kCount; ++i) {
      ExpectPower(&ippsPow_32f, row.base, kExponents[i], row.expected[i]);
      ExpectPower(&ippsPowAccurate_32f, row.base, kExponents[i], row.expected[i]);
      const bool isOneInDoubles = row.base == -1.0F && std::isnan(kExponents[i]);
      ExpectPower(&ippsPow_64f, row.base, kExponents[i], isOneInDoubles ? 1 : row.expected[i]);
    }
  }
}

TEST(SingleMath, PowersAtTheEndsOfTheirRanges) {
  const float tiny = Neighbour(0.0F, 1);
  // Among them the last odd numbers, the last number that is no integer, and products of exponent
  // and logarithm that no low word holds.
  const float rows[][3] = {{0.1F, 1, 0.1F},
                           {-tiny, 1, -tiny},
                           {-tiny, -1, -kInfinity},
                           {-tiny, 1.5F, kDomainNaN},
                           {tiny, 0.5F, 0x1.6a09e6p-75F},
                           {3, tiny, 1},
                           {-2, 4194303.5F, kDomainNaN},
                           {-1, 8388607, -1},
                           {-1, 16777215, -1},
                           {-1, 16777216, 1},
                           {-0.0F, 16777216, 0},
                           {2, -149, tiny},
                           {2, -151, 0},
                           {2, 128, kInfinity},
                           {-2, 129, -kInfinity},
                           {-2, -151, -0.0F},
                           {2, 1.0e30F, kInfinity},
                           {2, -1.0e30F, 0},
                           {2, 0x1p26F, kInfinity},
                           {2, -0x1p26F, 0},
                           {0.5F, 3.0e38F, 0},
                           {Neighbour(1, -1), -3.0e38F, kInfinity},
                           {3.0e38F, 600, kInfinity},
                           {3.0e38F, -16, 0}};
  for (const auto& [base, exponent, expected] : rows) {
    ExpectPower(&ippsPow_32f, base, exponent, expected);
    ExpectPower(&ippsPowAccurate_32f, base, exponent, expected);
  }
}

TEST(SingleMath, ThePowerMinusOneOfANegativeBaseIsAQuotient) {
  RandomElements random(2, false);
  const float minusOne = -1.0F;
  for (int32_t i = 0; i < 10000; ++i) {
    const float base = -std::bit_cast<float>(static_cast<uint32_t>(random.Bits() % 0x7f800000));
    if (base == 0.0F) continue;
    float result = 0.0F;
    EXPECT_EQ(ippsPow_32f(&base, &minusOne, &result, 1), 0);
    ASSERT_EQ(Bits(result), Bits(static_cast<float>(1.0 / static_cast<double>(base)))) << base;
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

TEST(SingleMath, RoutinesOfDoublePrecisionSetTheControlAndRestoreIt) {
  const OfOne functions[] = {&ippsExp_32f, &ippsLn_32f,
                             [](const float* a, float* d, int32_t n) {
                               const Complex32f number = {*a, 1.0F};
                               return ippsPhase_32fc(&number, d, n);
                             },
                             [](const float* a, float* d, int32_t n) {
                               auto element = static_cast<int32_t>(*a * 1000);
                               const int32_t status =
                                   ippsTenLogTen_32s_Sfs(&element, &element, n, -9);
                               *d = static_cast<float>(element);
                               return status;
                             }};
  for (const OfOne function : functions) {
    constexpr float kArgument = 0.75F;
    float nearest = 0.0F;
    EXPECT_EQ(function(&kArgument, &nearest, 1), 0);
    for (const uint32_t mode : {1U, 2U, 3U}) {
      const Rounding rounding(mode);
      const uint32_t before = Rounding::Control();
      float result = 0.0F;
      EXPECT_EQ(function(&kArgument, &result, 1), 0);
      EXPECT_EQ(Rounding::Control(), before);
      EXPECT_EQ(Bits(result), Bits(nearest));
    }
  }
}

/// Invalid, zero divide, overflow and underflow.
uint32_t ExceptionFlags() {
  return (kIsX87 ? FpGetStatusWord() : FpGetMxcsr()) & 0x1d;
}

void ClearExceptionFlags() {
  FpGetAndClearStatusWord();
  if (!kIsX87) FpSetMxcsr(0, 0x3f);
}

TEST(SingleMath, ErrorsRaiseTheirFlags) {
  uint32_t expected = 0;
  ClearExceptionFlags();
  for (const auto& [status, flag] : {std::pair{19, 0x1U}, {18, 0x4U}, {12, 0x8U}, {17, 0x10U}}) {
    zr::primitives::RaiseFlagOf(status);
    expected |= flag;
    EXPECT_EQ(ExceptionFlags(), expected) << status << " clears none";
  }
  ClearExceptionFlags();
  const float arguments[] = {0.0F, 2.0F};
  float results[2];
  EXPECT_EQ(ippsLog10_32f(arguments, results, 2), 18);
  EXPECT_EQ(ExceptionFlags(), 0x4U);
  ClearExceptionFlags();
}

}  // namespace
