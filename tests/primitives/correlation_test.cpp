// Cross-correlation by both methods against exact sums.
#include "primitives/filters/correlation.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "tests/common/test_memory.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

int32_t Length(const Samples& samples) {
  return static_cast<int32_t>(samples.size());
}

/// The result, with guards around it, of signals at odd addresses.
Samples Correlate(const Samples& a, const Samples& b, int32_t lowLag, int32_t count,
                  int32_t scaleFactor) {
  GuardedBuffer aBytes = Misplaced(a, 1);
  GuardedBuffer bBytes = Misplaced(b, 3);
  Samples d(static_cast<std::size_t>(count));
  GuardedBuffer dBytes(d.size() * sizeof(int16_t), 5);
  EXPECT_EQ(
      ippsCrossCorr_16s_Sfs(reinterpret_cast<const int16_t*>(aBytes.Data()), Length(a),
                            reinterpret_cast<const int16_t*>(bBytes.Data()), Length(b),
                            reinterpret_cast<int16_t*>(dBytes.Data()), count, lowLag, scaleFactor),
      0);
  EXPECT_TRUE(dBytes.IsGuardIntact());
  std::memcpy(d.data(), dBytes.Data(), dBytes.Size());
  return d;
}

double ExactSum(const Samples& a, const Samples& b, int64_t lag) {
  int64_t sum = 0;
  const int64_t end = std::min<int64_t>(Length(a), Length(b) - lag);
  for (int64_t i = std::max<int64_t>(0, -lag); i < end; ++i)
    sum += int64_t{a[static_cast<std::size_t>(i)]} * b[static_cast<std::size_t>(i + lag)];
  return static_cast<double>(sum);
}

double Magnitude(const Samples& samples) {
  return std::sqrt(ExactSum(samples, samples, 0));
}

/// By the estimate of the work of the direct method.
bool IsTransformed(int64_t len1, int64_t len2, int64_t lowLag, int64_t count) {
  const int64_t first = std::max(lowLag, 1 - len1);
  const int64_t end = std::min(lowLag + count, len2);
  const auto shorter = static_cast<double>(std::min(len1, len2));
  const auto longer = static_cast<double>(std::max(len1, len2));
  return end > first && std::nearbyint(static_cast<double>(end - first) * shorter / longer) > 383.0;
}

void ExpectExactSums(const Samples& a, const Samples& b, int32_t lowLag, int32_t count,
                     int32_t scaleFactor) {
  const Samples d = Correlate(a, b, lowLag, count, scaleFactor);
  const bool isTransformed = IsTransformed(Length(a), Length(b), lowLag, count);
  // Half a unit of single precision, of the energies; the largest error seen is a third of it.
  const double bound = std::ldexp(Magnitude(a) * Magnitude(b), -25 - scaleFactor);
  for (std::size_t n = 0; n < d.size(); ++n) {
    const int64_t lag = lowLag + static_cast<int64_t>(n);
    const double sum = ExactSum(a, b, lag);
    const double scaled = std::clamp(std::ldexp(sum, -scaleFactor), -32768.0, 32767.0);
    const bool isRight = isTransformed ? std::fabs(d[n] - scaled) <= 0.5 + bound
                                       : d[n] == StoredAsSample(sum, scaleFactor);
    ASSERT_TRUE(isRight) << Length(a) << " and " << Length(b) << ", lag " << lag << ": " << d[n]
                         << " for " << scaled;
  }
}

/// With lags without overlap on both sides.
void ExpectAllLags(std::size_t len1, std::size_t len2, int32_t scaleFactor) {
  const auto lags = static_cast<int32_t>(len1 + len2 + 3);
  ExpectExactSums(RandomSamples(len1, len1), RandomSamples(len2 + 1, len2),
                  -1 - static_cast<int32_t>(len1), lags, scaleFactor);
}

TEST(Correlation, AllLagsOfAllLengths) {
  for (std::size_t length = 1; length <= 3000; ++length) {
    const std::size_t other = 1 + length * 17 % 61;  // Directly.
    ExpectAllLags(length, other, 21);
    ExpectAllLags(other, length, 21);
  }
  for (std::size_t length = 400; length <= 3000; length += 26) {
    ExpectAllLags(length, length, 24);
    ExpectAllLags(length, 3000 - length / 3, 24);
  }
}

// From each lag on, so that groups of four begin and end anywhere.
TEST(Correlation, AnyRunOfLags) {
  for (std::size_t len1 = 1; len1 <= 24; ++len1) {
    for (std::size_t len2 = 1; len2 <= 24; ++len2) {
      const Samples a = RandomSamples(len1, len1);
      const Samples b = RandomSamples(100 + len2, len2);
      const auto lags = static_cast<int32_t>(len1 + len2 + 3);
      for (int32_t skip = 0; skip < lags; ++skip)
        ExpectExactSums(a, b, skip - 1 - Length(a), std::min(lags - skip, 1 + skip % 7), 17);
    }
  }
  RandomElements random(1, false);
  const Samples a = RandomSamples(1, 2900);
  const Samples b = RandomSamples(2, 1111);
  for (int cut = 0; cut < 20; ++cut) {
    const auto skip = static_cast<int32_t>(random.Bits() % 4000);
    ExpectExactSums(a, b, skip - 10 - Length(a), cut % 2 == 0 ? 300 : 1500, 24);
  }
}

// The direct method leaves a sum of zeros alone. In the transform's rounding it drowns, and a low
// scale factor shows that.
TEST(Correlation, MethodSwitchesWhereTheEstimateRoundsAbove383) {
  struct Row {
    std::size_t len1;
    std::size_t len2;
    int32_t count;  // From the first lag with overlap on, or from two before it.
    bool isTransformed;
  };
  for (const Row& row :
       {Row{1024, 1024, 383, false}, Row{1024, 1024, 384, true}, Row{767, 1534, 766, false},
        Row{767, 1534, 767, true}, Row{1534, 767, 766, false}, Row{1534, 767, 767, true}}) {
    ASSERT_EQ(IsTransformed(static_cast<int64_t>(row.len1), static_cast<int64_t>(row.len2),
                            1 - static_cast<int64_t>(row.len1), row.count),
              row.isTransformed);
    const Samples a = RandomSamples(1, row.len1);
    Samples b = RandomSamples(2, row.len2);
    std::fill_n(b.begin(), 8, int16_t{0});
    for (const int32_t before : {0, 2}) {
      const Samples d = Correlate(a, b, 1 - Length(a) - before, row.count + before, -10);
      const bool isRounded = std::any_of(d.begin() + before, d.begin() + before + 8,
                                         [](int16_t sample) { return sample != 0; });
      EXPECT_EQ(isRounded, row.isTransformed) << row.len1 << " and " << row.len2;
    }
  }
}

TEST(Correlation, LagsWithoutOverlapAreZeroAndCostNothing) {
  const Samples a = RandomSamples(1, 5);
  const Samples b = RandomSamples(2, 7);
  const std::size_t before = AllocationCount();
  for (const int32_t lowLag : {kLowest, -4 - 9, 7, 8, kHighest - 3, kHighest}) {
    EXPECT_EQ(Correlate(a, b, lowLag, 9, -31), Samples(9, 0)) << lowLag;
  }
  EXPECT_EQ(AllocationCount(), before);
  ExpectExactSums(a, b, -4 - 8, 30, 16);
  EXPECT_EQ(Correlate({1}, b, 0, Length(b), 0), b);
}

TEST(Correlation, RoundsSumsToFloatsBeforeItScales) {
  EXPECT_EQ(Correlate({-32768, 1}, {-32768, 1}, 0, 1, 30), Samples{1});
  EXPECT_EQ(Correlate({5}, {1}, 0, 1, 1), Samples{2});
  EXPECT_EQ(Correlate({-32768, -32768}, {-32768, -32768}, 0, 1, 16), Samples{32767});
}

TEST(Correlation, RefusesInOrderAndWritesNothing) {
  const std::array<int16_t, 2> a = {1, 2};
  std::array<int16_t, 2> d = {8, 9};
  const int16_t* const s = a.data();
  EXPECT_EQ(ippsCrossCorr_16s_Sfs(nullptr, 0, s, 2, d.data(), 2, 0, 0), -8);
  EXPECT_EQ(ippsCrossCorr_16s_Sfs(s, 2, nullptr, 0, d.data(), 2, 0, 0), -8);
  EXPECT_EQ(ippsCrossCorr_16s_Sfs(s, 2, s, 2, nullptr, 0, 0, 0), -8);
  EXPECT_EQ(ippsCrossCorr_16s_Sfs(s, 0, s, 2, d.data(), 2, 0, 0), -6);
  EXPECT_EQ(ippsCrossCorr_16s_Sfs(s, 2, s, -1, d.data(), 2, 0, 0), -6);
  EXPECT_EQ(ippsCrossCorr_16s_Sfs(s, 2, s, 2, d.data(), 0, 9, 0), -6);
  EXPECT_EQ(d, (std::array<int16_t, 2>{8, 9}));
}

TEST(Correlation, WithoutMemoryOnlyLagsWithoutOverlapAreWritten) {
  const std::size_t live = LiveBlockCount();
  for (const std::size_t length : {20U, 3000U}) {
    const Samples a = RandomSamples(1, length);
    const int32_t count = 2 * Length(a) + 4;
    const Samples unwritten(static_cast<std::size_t>(count), 1);
    Samples expected = unwritten;
    std::fill_n(expected.begin(), 2, int16_t{0});
    std::fill(expected.end() - 3, expected.end(), int16_t{0});
    int32_t status = -9;
    for (std::size_t n = 1; status != 0; ++n) {
      const std::size_t before = AllocationCount();
      const FailingAllocation failing(n);
      Samples d = unwritten;
      status = ippsCrossCorr_16s_Sfs(a.data(), Length(a), a.data(), Length(a), d.data(), count,
                                     -1 - Length(a), 20);
      ASSERT_EQ(LiveBlockCount(), live);
      const bool hasFailed = AllocationCount() - before >= n;
      ASSERT_TRUE(hasFailed || n > 1);
      ASSERT_EQ(status, hasFailed ? -9 : 0) << "allocation " << n;
      if (hasFailed) {
        ASSERT_EQ(d, expected) << "allocation " << n;
      }
    }
  }
}

}  // namespace
}  // namespace zr::test
