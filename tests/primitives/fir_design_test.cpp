// Lowpass design: tones, windows and taps against their formulas.
#include "primitives/filters/fir_design.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <vector>

#include "primitives/filters/tone.h"
#include "primitives/filters/window.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

using primitives::ApplyWindow;
using primitives::GenerateTone;
using primitives::Window;
using Taps = std::vector<double>;

constexpr double kPi = std::numbers::pi;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// cos(2 pi fraction / 2^64), the angle reduced to an eighth of a turn in integers.
double CosineOfFraction(uint64_t fraction) {
  const uint64_t quarter = (fraction + (uint64_t{1} << 61)) >> 62;
  const auto offset = static_cast<int64_t>(fraction - (quarter << 62));
  const double angle = std::ldexp(2.0 * kPi * static_cast<double>(offset), -64);
  const double magnitude = quarter % 2 == 0 ? std::cos(angle) : std::sin(angle);
  return quarter % 4 == 1 || quarter % 4 == 2 ? -magnitude : magnitude;
}

// Relative to each entry: those next to a zero of the tone have to be as right as all others, at
// frequencies that fill a double and at places far out.
TEST(FirDesign, TonesAreRightToTheirLastPlaces) {
  // Times 2^-63. In units of half a sample, whole turns then fall out of 64 bits by themselves.
  for (const uint64_t numerator :
       {uint64_t{1}, uint64_t{3}, uint64_t{1} << 41, uint64_t{0x10000000000001} << 9,
        uint64_t{0x1999999999999b} << 8, uint64_t{0x15555555555555} << 9,
        uint64_t{0x1fffffffffffff} << 8, uint64_t{0x1fffffffffffff} << 9}) {
    const double frequency = std::ldexp(static_cast<double>(numerator), -63);
    for (const uint64_t startInHalves : {0U, 1U, 2U, 4194301U, 4294900001U}) {
      const double start = 0.5 * static_cast<double>(startInHalves);
      for (const uint64_t quarters : {0U, 1U, 3U}) {
        Taps tone(3000);
        EXPECT_EQ(GenerateTone({2.0, frequency, start, 0.25 * static_cast<double>(quarters)},
                               tone.data(), 3000),
                  0);
        for (std::size_t n = 0; n < tone.size(); ++n) {
          const double expected =
              2.0 *
              CosineOfFraction(numerator * (2 * uint64_t{n} + startInHalves) + (quarters << 62));
          ASSERT_NEAR(tone[n], expected, std::fabs(expected) * 0x1p-50)
              << numerator << " from " << startInHalves << " at " << n;
        }
      }
    }
  }
}

TEST(FirDesign, TonesRefuseInOrder) {
  Taps kept = {9.0};
  double* const d = kept.data();
  EXPECT_EQ(GenerateTone({0.0, 0.5, 0.0, 1.0}, nullptr, 0), -8);
  EXPECT_EQ(GenerateTone({0.0, 0.5, 0.0, 1.0}, d, 0), -6);
  for (const double magnitude : {0.0, -1.0, kNaN})
    EXPECT_EQ(GenerateTone({magnitude, 0.5, 0.0, 1.0}, d, 1), -46);
  for (const double frequency : {-0.1, 0.5, kNaN})
    EXPECT_EQ(GenerateTone({1.0, frequency, 0.0, 1.0}, d, 1), -45);
  for (const double phase : {-0.1, 1.0, kNaN})
    EXPECT_EQ(GenerateTone({1.0, 0.0, 0.0, phase}, d, 1), -44);
  EXPECT_EQ(kept, Taps{9.0});
}

double WindowWeight(int32_t window, std::size_t i, std::size_t n) {
  const double turns = static_cast<double>(i) / static_cast<double>(n - 1);
  const double c1 = std::cos(2.0 * kPi * turns);
  const double c2 = std::cos(4.0 * kPi * turns);
  const double alpha = -std::pow(0.5 / std::cos(kPi / static_cast<double>(n - 1)), 2);
  switch (window) {
    case 0:
      return 1.0 - std::fabs(2.0 * turns - 1.0);
    case 1:
      return (alpha + 1.0) / 2.0 - 0.5 * c1 - alpha / 2.0 * c2;
    case 2:
      return 0.54 - 0.46 * c1;
    case 3:
      return 0.5 - 0.5 * c1;
    default:
      return 1.0;
  }
}

TEST(FirDesign, WindowsFollowTheirFormulas) {
  for (int32_t window = -1; window <= 4; ++window) {
    for (const std::size_t n : {5U, 6U, 7U, 8U, 100U, 101U, 1000U, 30000U}) {
      Taps weights(n, 1.0);
      EXPECT_EQ(ApplyWindow(static_cast<Window>(window), weights.data(), static_cast<int32_t>(n)),
                0);
      // What turning the cosine on from tap to tap may lose, as the header tells.
      const double turningError = n <= 1000 ? 1e-12 : 1e-9;
      for (std::size_t i = 0; i < n; ++i) {
        ASSERT_NEAR(weights[i], WindowWeight(window, i, n), turningError)
            << window << " of " << n << " at " << i;
        ASSERT_EQ(weights[i], weights[n - 1 - i]);
      }
    }
  }
  Taps kept(4, 9.0);
  EXPECT_EQ(ApplyWindow(Window::Hann, nullptr, 4), -8);
  EXPECT_EQ(ApplyWindow(Window::Hann, kept.data(), 4), -6);
  EXPECT_EQ(kept, Taps(4, 9.0));
}

Taps Design(double rFreq, std::size_t tapsLen, int32_t winType, int32_t doNormal) {
  Taps taps(tapsLen);
  GuardedBuffer bytes = Misplaced(taps, 3);
  EXPECT_EQ(ippsFIRGenLowpass_64f(rFreq, reinterpret_cast<double*>(bytes.Data()),
                                  static_cast<int32_t>(tapsLen), winType, doNormal),
            0);
  EXPECT_TRUE(bytes.IsGuardIntact());
  std::memcpy(taps.data(), bytes.Data(), bytes.Size());
  return taps;
}

double IdealResponse(double rFreq, double distance) {
  if (distance == 0.0) return 2.0 * rFreq;
  return std::sin(2.0 * kPi * rFreq * distance) / (kPi * distance);
}

void ExpectDesign(double rFreq, std::size_t tapsLen, int32_t winType) {
  SCOPED_TRACE(testing::Message() << rFreq << ' ' << tapsLen << ' ' << winType);
  const Taps taps = Design(rFreq, tapsLen, winType, 0);
  const Taps normal = Design(rFreq, tapsLen, winType, 1);
  const double middle = 0.5 * static_cast<double>(tapsLen - 1);
  const std::size_t centre = tapsLen / 2;
  double sum = 0.0;
  for (std::size_t i = 0; i < tapsLen; ++i) {
    const double ideal = IdealResponse(rFreq, static_cast<double>(i) - middle);
    ASSERT_NEAR(taps[i], ideal * WindowWeight(winType, i, tapsLen), 2.0 * rFreq * 1e-12) << i;
    ASSERT_EQ(taps[i], taps[tapsLen - 1 - i]) << i;
    // A gain is one factor for all.
    ASSERT_NEAR(normal[i], taps[i] / taps[centre] * normal[centre], std::fabs(normal[i]) * 1e-15);
    sum += normal[i];
  }
  EXPECT_NEAR(sum, 1.0, 1e-13);
}

TEST(FirDesign, TapsAreTheWindowedIdealResponse) {
  for (const double rFreq : {1e-300, 1e-5, 0.1, 0.25, 0.3, 0.4999}) {
    for (const std::size_t tapsLen : {5U, 6U, 7U, 50U, 51U, 1000U}) {
      for (int32_t winType = -1; winType <= 4; ++winType)
        ExpectDesign(rFreq, tapsLen, winType);
    }
  }
}

TEST(FirDesign, AHalfDesignsTheLimit) {
  EXPECT_EQ(Design(0.5, 7, 4, 0), (Taps{0, 0, 0, 1, 0, 0, 0}));
  EXPECT_EQ(Design(0.5, 7, 2, 1), (Taps{0, 0, 0, 1, 0, 0, 0}));
  const Taps justBelow = Design(std::nextafter(0.5, 0.0), 8, 1, 0);
  const Taps limit = Design(0.5, 8, 1, 0);
  for (std::size_t i = 0; i < limit.size(); ++i)
    EXPECT_NEAR(limit[i], justBelow[i], 1e-14);
}

TEST(FirDesign, RefusesInOrderAndWritesNothing) {
  std::array<double, 5> d = {1, 2, 3, 4, 5};
  const auto kept = d;
  EXPECT_EQ(ippsFIRGenLowpass_64f(kNaN, nullptr, 4, 0, 0), -8);
  EXPECT_EQ(ippsFIRGenLowpass_64f(0.25, d.data(), 4, 0, 0), -6);
  for (const double rFreq : {0.0, -0.1, 0.5000001, kNaN})
    EXPECT_EQ(ippsFIRGenLowpass_64f(rFreq, d.data(), 5, 0, 0), -6) << rFreq;
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(ippsFIRGenLowpass_64f(0.25, d.data(), 5, 0, 0), -8);
  }
  EXPECT_EQ(d, kept);
  const std::size_t before = LiveBlockCount();
  EXPECT_EQ(ippsFIRGenLowpass_64f(0.25, d.data(), 5, 4, 0), 0);
  EXPECT_EQ(LiveBlockCount(), before);
}

}  // namespace
}  // namespace zr::test
