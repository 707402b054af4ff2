// Roots, exponentials, logarithms and polar parts: the edges that tell the forms apart, and groups
// of exponentials. How accurate they are, accuracy/math_accuracy.cpp tests.
#include "primitives/math/elementary_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/element_words.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/ulps.h"

namespace zr::test {
namespace {

using primitives::LoadWord;

using Floats = std::vector<float>;
using Doubles = std::vector<double>;

constexpr double kWideInfinity = std::numeric_limits<double>::infinity();
constexpr double kWideNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kSmallest = std::numeric_limits<float>::denorm_min();
constexpr float kLargest = std::numeric_limits<float>::max();

template <typename Element>
int32_t Length(const std::vector<Element>& values) {
  return static_cast<int32_t>(values.size());
}

TEST(SquareRoots, DifferAtTheEdges) {
  constexpr double kInf = kWideInfinity;
  constexpr double kNegativeNaN = -kWideNaN;
  const struct {
    double x;
    double ofFloat;
    double ofFloatInPlace;
    double ofDouble;
  } rows[] = {{2.25, 1.5, 1.5, 1.5},
              {0.0, 0.0, 0.0, 0.0},
              {-0.0, 0.0, -0.0, -0.0},
              {-4.0, kNegativeNaN, kNegativeNaN, kNegativeNaN},
              {-kInf, kNegativeNaN, kNegativeNaN, kNegativeNaN},
              {kWideNaN, 0.0, kNegativeNaN, kNegativeNaN},
              {kInf, kInf, kInf, kInf},
              {0x1p-148, 0x1p-74, 0x1p-74, 0x1p-74}};
  for (const auto& row : rows) {
    const auto expect = [&row](auto primitive, auto x, double expected) {
      // A warning outlives the ordinary element behind it.
      decltype(x) elements[] = {x, 9};
      const auto root = static_cast<decltype(x)>(expected);
      EXPECT_EQ(primitive(elements), std::isnan(root) ? 3 : 0) << row.x;
      EXPECT_EQ(LoadWord(elements), LoadWord(&root)) << row.x;
      EXPECT_EQ(elements[1], 3) << row.x;
    };
    const auto single = static_cast<float>(row.x);
    expect([](float* s) { return ippsSqrt_32f(s, s, 2); }, single, row.ofFloat);
    expect([](float* s) { return ippsSqrt_32f_I(s, 2); }, single, row.ofFloatInPlace);
    expect([](double* s) { return ippsSqrt_64f(s, s, 2); }, row.x, row.ofDouble);
    expect([](double* s) { return ippsSqrt_64f_I(s, 2); }, row.x, row.ofDouble);
  }
}

TEST(Logarithm, FirstExceptionalElementDecides) {
  const auto otherNaN = std::bit_cast<float>(0x7fc12345U);
  const struct {
    Floats source;
    std::vector<uint32_t> expected;
    int32_t status;
  } rows[] = {{{0.0F, -1.0F}, {0xff800000, 0xffc00000}, 7},
              {{-1.0F, 0.0F}, {0xffc00000, 0xff800000}, 8},
              {{1.0F, -0.0F, 0.0F}, {0, 0xffc00000, 0xff800000}, 8},
              {{-otherNaN, 0.0F}, {0xffc00000, 0xff800000}, 8},
              {{-kInfinity, -kSmallest}, {0xffc00000, 0xffc00000}, 8},
              {{otherNaN, kInfinity}, {0x7fc00000, 0x7f800000}, 0},
              {{kSmallest, kLargest}, {Bits(-103.2789299F), Bits(88.72283905F)}, 0},
              // Nearly in the middle between two floats.
              {{0x1.22d57p-65F}, {Bits(-44.9269943F)}, 0}};
  for (const auto& row : rows) {
    Floats result(row.source.size());
    EXPECT_EQ(ippsLn_32f(row.source.data(), result.data(), Length(row.source)), row.status);
    EXPECT_EQ(Bits(result), row.expected);
  }
}

TEST(Exponential, EndsOfItsRangeHangOnTheLength) {
  const struct {
    float x;
    float alone;
    float ofFour;
  } singles[] = {{0.0F, 1.0F, 1.0F},
                 {-kSmallest, 1.0F, 1.0F},
                 {100.0F, kInfinity, kInfinity},
                 {88.722839F, kInfinity, kInfinity},
                 {88.722832F, 0x1.ffff08p127F, 0x1.ffff08p127F},
                 {-87.336544F, 8388646 * kSmallest, 8388646 * kSmallest},
                 {-87.3365479F, 8388582 * kSmallest, 0.0F},
                 {-100.0F, 27 * kSmallest, 0.0F},
                 {-104.0F, 0.0F, 0.0F},
                 {kInfinity, kInfinity, kInfinity},
                 {-kInfinity, 0.0F, 0.0F}};
  const auto expect = [](auto outOfPlace, auto inPlace, const auto& row) {
    auto alone = row.x;
    std::vector ofFour(4, row.x);
    EXPECT_EQ(outOfPlace(&row.x, &alone, 1), 0);
    EXPECT_EQ(inPlace(ofFour.data(), 4), 0);
    EXPECT_EQ(LoadWord(&alone), LoadWord(&row.alone)) << row.x;
    EXPECT_EQ(ofFour, std::vector(4, row.ofFour)) << row.x;
  };
  for (const auto& row : singles)
    expect(&ippsExp_32f, &ippsExp_32f_I, row);
  const struct {
    double x;
    double alone;
    double ofFour;
  } doubles[] = {{0.0, 1.0, 1.0},
                 {-0x1p-1074, 1.0, 1.0},
                 {709.79, kWideInfinity, kWideInfinity},
                 {709.7822265625, 0x1.ffc045693009dp1023, kWideInfinity},
                 {-708.39599609375, 0x1.001bb0d6e2626p-1022, 0.0},
                 {-720.0, 41132809365 * 0x1p-1074, 0.0},
                 {-746.0, 0.0, 0.0},
                 {kWideInfinity, kWideInfinity, kWideInfinity},
                 {-kWideInfinity, 0.0, 0.0}};
  for (const auto& row : doubles)
    expect(&ippsExp_64f, &ippsExp_64f_I, row);
}

template <typename Element, typename Word>
void ExpectWordsOfFour(int32_t (*exponentials)(Element*, int32_t), std::vector<Word> words,
                       const std::vector<Word>& expected) {
  ASSERT_EQ(exponentials(reinterpret_cast<Element*>(words.data()), 4), 0);
  EXPECT_EQ(words, expected);
}

TEST(Exponential, NaNsInLongVectorsAreMadeQuietByTheirBits) {
  ExpectWordsOfFour<float, uint32_t>(&ippsExp_32f_I,
                                     {0x7fc12345, 0xffc12345, 0x7f800001, 0xff800001},
                                     {0x7fc00000, 0xffc00000, 0x7f800000, 0});
  ExpectWordsOfFour<double, uint64_t>(
      &ippsExp_64f_I,
      {0x7ff8000000000001, 0xfff8000000000001, 0x7ff0000000000001, 0xfff0000000000001},
      {0x7ff8000000000000, 0xfff8000000000000, 0x7ff0000000000000, 0});
  float alone = -kNaN;
  EXPECT_EQ(ippsExp_32f_I(&alone, 1), 0);
  EXPECT_TRUE(std::isnan(alone));
}

// Whatever stands between them, ordinary elements form groups from the last to the first, and those
// that are left are computed alone.
TEST(Exponential, GroupsGoFromTheLastToTheFirst) {
  RandomElements random(5, false);
  int differingRoutes = 0;
  for (int32_t n = 1; n < 60; ++n) {
    Doubles source;
    std::vector<std::size_t> ordinary;
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
      const bool isOrdinary = random.Bits() % 4 != 0;
      source.push_back(isOrdinary ? Uniform(&random, -708.0, 708.0) : -800.0);
      if (isOrdinary) ordinary.push_back(i);
    }
    Doubles expected(source.size(), 0.0);
    for (; ordinary.size() >= 4; ordinary.resize(ordinary.size() - 4)) {
      const std::size_t* const places = &*(ordinary.end() - 4);
      Doubles group = {source[places[0]], source[places[1]], source[places[2]], source[places[3]]};
      ASSERT_EQ(ippsExp_64f_I(group.data(), 4), 0);
      for (std::size_t k = 0; k < 4; ++k)
        expected[places[k]] = group[k];
    }
    for (const std::size_t place : ordinary) {
      Doubles grouped(4, source[place]);
      ASSERT_EQ(ippsExp_64f_I(grouped.data(), 4), 0);
      ASSERT_EQ(ippsExp_64f(&source[place], &expected[place], 1), 0);
      if (grouped[0] != expected[place]) ++differingRoutes;
    }
    ASSERT_EQ(ippsExp_64f_I(source.data(), n), 0);
    EXPECT_EQ(source, expected) << n;
  }
  EXPECT_GT(differingRoutes, 0);  // Else the routes could be exchanged unnoticed.
}

TEST(Polar, KeepsTheWidthAndTheSigns) {
  constexpr float kPi = 3.14159265358979F;
  const struct {
    Complex32f x;
    float magnitude;
    float phase;
    float power;
  } rows[] = {{{3.0F, 4.0F}, 5.0F, 0.927295218F, 25.0F},
              {{1e30F, 1e30F}, 1.41421358365e30F, kPi / 4, kInfinity},
              {{-1e-30F, 1e-30F}, 1.41421356686e-30F, 2.35619449F, 0.0F},
              {{kSmallest, 0.0F}, kSmallest, 0.0F, 0.0F},
              {{kLargest, -kSmallest}, kLargest, -0.0F, kInfinity},
              {{-1.0F, 0.0F}, 1.0F, kPi, 1.0F},
              {{-1.0F, -0.0F}, 1.0F, -kPi, 1.0F},
              {{0.0F, -0.0F}, 0.0F, -0.0F, 0.0F},
              {{-0.0F, 0.0F}, 0.0F, kPi, 0.0F},
              {{-0.0F, -2.0F}, 2.0F, -kPi / 2, 4.0F},
              {{kInfinity, -kInfinity}, kInfinity, -kPi / 4, kInfinity},
              {{-kInfinity, kInfinity}, kInfinity, 2.35619449F, kInfinity},
              {{-kInfinity, -1.0F}, kInfinity, -kPi, kInfinity},
              {{7.0F, kInfinity}, kInfinity, kPi / 2, kInfinity}};
  for (const auto& row : rows) {
    const auto expect = [&row](int32_t (*primitive)(const Complex32f*, float*, int32_t),
                               float expected) {
      float result = 9.0F;
      EXPECT_EQ(primitive(&row.x, &result, 1), 0);
      EXPECT_EQ(Bits(result), Bits(expected)) << row.x.re << ' ' << row.x.im << ' ' << result;
    };
    expect(&ippsMagn_32fc, row.magnitude);
    expect(&ippsPhase_32fc, row.phase);
    expect(&ippsPowerSpectr_32fc, row.power);
  }
  const Complex32f notANumber = {1.0F, kNaN};
  float phase = 9.0F;
  EXPECT_EQ(ippsPhase_32fc(&notANumber, &phase, 1), 0);
  EXPECT_TRUE(std::isnan(phase));
  // Each square leaves the range, or loses bits, by itself.
  const Complex64f wide[] = {{1e200, 1.0}, {0x1.8p-537, 0x1.8p-537}, {3.0, -4.0}};
  double powers[3] = {};
  EXPECT_EQ(ippsPowerSpectr_64fc(wide, powers, 3), 0);
  EXPECT_EQ(powers[0], kWideInfinity);
  EXPECT_EQ(powers[1], 4 * 0x1p-1074);
  EXPECT_EQ(powers[2], 25.0);
}

}  // namespace
}  // namespace zr::test
