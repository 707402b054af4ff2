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
                  int32_t scaleFactor, int32_t expectedStatus = 0) {
  GuardedBuffer aBytes(a.size() * sizeof(int16_t), 1);
  GuardedBuffer bBytes(b.size() * sizeof(int16_t), 3);
  GuardedBuffer dBytes(static_cast<std::size_t>(count) * sizeof(int16_t), 5);
  std::memcpy(aBytes.Data(), a.data(), aBytes.Size());
  std::memcpy(bBytes.Data(), b.data(), bBytes.Size());
  EXPECT_EQ(
      ippsCrossCorr_16s_Sfs(reinterpret_cast<const int16_t*>(aBytes.Data()), Length(a),
                            reinterpret_cast<const int16_t*>(bBytes.Data()), Length(b),
                            reinterpret_cast<int16_t*>(dBytes.Data()), count, lowLag, scaleFactor),
      expectedStatus);
  EXPECT_TRUE(dBytes.IsGuardIntact());
  Samples d(static_cast<std::size_t>(count));
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
    const double sum = ExactSum(a, b, lowLag + static_cast<int64_t>(n));
    const auto place = testing::Message() << Length(a) << " and " << Length(b) << ", lag "
                                          << lowLag + static_cast<int64_t>(n);
    if (isTransformed) {
      const double scaled = std::clamp(std::ldexp(sum, -scaleFactor), -32768.0, 32767.0);
      ASSERT_LE(std::fabs(d[n] - scaled), 0.5 + bound) << place;
    } else {
      ASSERT_EQ(d[n], StoredAsSample(sum, scaleFactor)) << place;
    }
  }
}

TEST(Correlation, AllLagsOfShortSignals) {
  for (std::size_t len1 = 1; len1 <= 24; ++len1) {
    for (std::size_t len2 = 1; len2 <= 24; ++len2) {
      const Samples a = RandomSamples(len1, len1);
      const Samples b = RandomSamples(100 + len2, len2);
      const auto lags = static_cast<int32_t>(len1 + len2 + 3);
      ExpectExactSums(a, b, -1 - Length(a), lags, 17);
      // From each lag on, so that groups of four begin and end anywhere.
      for (int32_t skip = 0; skip < lags; ++skip)
        ExpectExactSums(a, b, skip - 1 - Length(a), std::min(lags - skip, 1 + skip % 7), 17);
    }
  }
}

TEST(Correlation, BothMethodsOverLongSignals) {
  RandomElements random(1, false);
  for (const auto& [len1, len2] : {std::pair{3000U, 3000U},
                                   {2900U, 1111U},
                                   {700U, 2999U},
                                   {384U, 1U},
                                   {513U, 512U},
                                   {513U, 513U}}) {
    const Samples a = RandomSamples(len1, len1);
    const Samples b = RandomSamples(len2 + 1, len2);
    const auto lags = static_cast<int32_t>(len1 + len2 + 20);
    ExpectExactSums(a, b, -10 - Length(a), lags, 24);
    for (int cut = 0; cut < 6; ++cut) {
      const auto skip = static_cast<int32_t>(random.Bits() % static_cast<uint32_t>(lags));
      const int32_t count = std::min(lags - skip, cut % 2 == 0 ? 300 : 1500);
      ExpectExactSums(a, b, skip - 10 - Length(a), count, 24);
    }
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

TEST(Correlation, ScalesRoundsAndSaturates) {
  struct Row {
    Samples a;
    Samples b;
    int32_t scaleFactor;
    int16_t expected;
    const char* what;
  };
  const std::vector<Row> rows = {
      {{5}, {1}, 1, 2, "a tie goes to even"},
      {{-7}, {1}, 1, -4, "a negative tie goes to even"},
      {{-32768, -32768}, {-32768, -32768}, 16, 32767, "2^31 saturates"},
      {{-32768, -32768}, {32767, 32767}, 15, -32768, "negative saturation"},
      {{-32768, 1}, {-32768, 1}, 30, 1, "the sum is a float before it is scaled"},
      {{1}, {1}, kLowest, 32767, "lowest factor"},
      {{-32768}, {-32768}, kHighest, 0, "highest factor"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Correlate(row.a, row.b, 0, 1, row.scaleFactor), Samples{row.expected}) << row.what;
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
  const std::size_t before = LiveBlockCount();
  constexpr int16_t kUnwritten = -23131;  // As a guarded buffer begins.
  for (const std::size_t length : {20U, 3000U}) {
    const Samples a = RandomSamples(1, length);
    const int32_t overlapping = 2 * Length(a) - 1;
    Samples expected(static_cast<std::size_t>(overlapping) + 5, kUnwritten);
    std::fill_n(expected.begin(), 2, int16_t{0});
    std::fill(expected.end() - 3, expected.end(), int16_t{0});
    std::size_t failures = 0;
    for (std::size_t n = 1;; ++n) {
      const std::size_t count = AllocationCount();
      const FailingAllocation failing(n);
      Samples d(expected.size(), kUnwritten);
      const int32_t status = ippsCrossCorr_16s_Sfs(a.data(), Length(a), a.data(), Length(a),
                                                   d.data(), overlapping + 5, -1 - Length(a), 20);
      ASSERT_EQ(LiveBlockCount(), before);
      if (AllocationCount() - count < n) {
        EXPECT_EQ(status, 0);
        break;
      }
      ASSERT_EQ(status, -9) << "allocation " << n;
      ASSERT_EQ(d, expected) << "allocation " << n;
      ++failures;
    }
    EXPECT_GT(failures, 0U);
  }
}

}  // namespace
}  // namespace zr::test
