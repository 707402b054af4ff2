// Adaptive filter: its own formula to the bit across every cut, and what it learns.
#include "primitives/filters/lms.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "tests/common/test_memory.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;

struct FreeState {
  void operator()(Lms32f16s* state) const { EXPECT_EQ(ippsFIRLMSFree32f_16s(state), 0); }
};
using StatePointer = std::unique_ptr<Lms32f16s, FreeState>;

StatePointer Make(const std::vector<float>& taps, const Samples& delayLine = {},
                  int32_t index = 0) {
  Lms32f16s* state = nullptr;
  const int16_t* const line = delayLine.empty() ? nullptr : delayLine.data();
  EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, taps.data(), static_cast<int32_t>(taps.size()), line,
                                       index),
            0);
  return StatePointer(state);
}

Samples Filter(Lms32f16s* state, const Samples& source, const Samples& reference, float mu) {
  Samples d(source.size());
  EXPECT_EQ(ippsFIRLMS32f_16s(source.data(), reference.data(), d.data(),
                              static_cast<int32_t>(source.size()), mu, state),
            0);
  return d;
}

std::vector<float> TapsOf(Lms32f16s* state, std::size_t count) {
  std::vector<float> taps(count);
  EXPECT_EQ(ippsFIRLMSGetTaps32f_16s(state, taps.data()), 0);
  return taps;
}

TEST(Lms, FiltersLearnsAndSaturates) {
  struct Row {
    std::vector<float> taps;
    Samples source;
    Samples reference;
    float mu;
    Samples expected;
    std::vector<float> learnt;
    const char* what;
  };
  const std::vector<Row> rows = {
      {{1}, {5, -32768, 32767}, {0, 0, 0}, 0, {5, -32768, 32767}, {1}, "a tap of one"},
      {{1, 2, 4}, {1, 10, 100}, {9, 9, 9}, 0, {1, 12, 124}, {1, 2, 4}, "a plain FIR filter"},
      {{0.75F}, {1, 3, -1, -3}, {0, 0, 0, 0}, 0, {0, 2, 0, -2}, {0.75F}, "truncation"},
      {{0}, {512}, {300}, 0x1p-19F, {0}, {300.0F / 512}, "r / x in one step"},
      {{0}, {512}, {300}, -0x1p-19F, {0}, {-300.0F / 512}, "away from it"},
      {{4}, {16384}, {0}, 0x1p-29F, {32767}, {0}, "the error before the upper limit"},
      {{-4}, {16384}, {0}, 0x1p-29F, {-32768}, {0}, "the error before the lower limit"},
      {{0.75F}, {1}, {0}, 0.5F, {0}, {0}, "the error before truncation"},
      {{kNaN}, {1}, {0}, 0, {-32768}, {kNaN}, "a NaN"},
  };
  for (const Row& row : rows) {
    const StatePointer state = Make(row.taps);
    EXPECT_EQ(Filter(state.get(), row.source, row.reference, row.mu), row.expected) << row.what;
    const std::vector<float> learnt = TapsOf(state.get(), row.taps.size());
    if (std::isnan(row.learnt[0])) {
      EXPECT_TRUE(std::isnan(learnt[0])) << row.what;
    } else {
      EXPECT_EQ(learnt, row.learnt) << row.what;
    }
  }
}

TEST(Lms, DelayLineIsARingThatBeginsAnywhere) {
  // Before the first sample came 10, and 30 before it; 20, which is older, is not heard.
  const StatePointer state = Make({1.0F, 0.5F, 16.0F}, {10, 20, 30}, 1);
  EXPECT_EQ(Filter(state.get(), {1, 2, 3}, {0, 0, 0}, 0), (Samples{486, 162, 20}));
  for (const int32_t index : {0, 1, 2}) {
    EXPECT_EQ(Filter(Make({1, 2, 4}, {}, index).get(), {1, 10, 100, 0}, {0, 0, 0, 0}, 0),
              (Samples{1, 12, 124, 240}));
  }
  Lms32f16s* untaught = nullptr;
  ASSERT_EQ(ippsFIRLMSInitAlloc32f_16s(&untaught, nullptr, 3, nullptr, 0), 0);
  const StatePointer owner(untaught);
  EXPECT_EQ(TapsOf(untaught, 3), (std::vector<float>{0, 0, 0}));
}

// The formula on everything that was heard, taps in their natural order.
class Formula {
 public:
  /// heard: as many samples as there are taps, the newest at the end.
  Formula(const std::vector<float>& taps, const Samples& heard)
      : taps_(taps), heard_(heard.begin(), heard.end()) {}

  int16_t Next(int16_t x, int16_t reference, float mu) {
    heard_.push_back(x);
    double y = 0;
    for (std::size_t j = taps_.size(); j-- > 0;)
      y += taps_[j] * Heard(j);
    const double s = (reference - y) * 2 * mu;
    for (std::size_t j = 0; j < taps_.size(); ++j)
      taps_[j] = StoredAsFloat(taps_[j] + s * Heard(j));
    return static_cast<int16_t>(std::trunc(std::clamp(y, -32768.0, 32767.0)));
  }
  const std::vector<float>& Taps() const { return taps_; }

 private:
  double Heard(std::size_t before) const { return heard_[heard_.size() - 1 - before]; }

  std::vector<float> taps_;
  std::vector<double> heard_;
};

TEST(Lms, FollowsItsFormulaToTheBitHoweverItIsCut) {
  RandomElements random(1, false);
  for (const std::size_t tapsLen : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 16U, 31U, 80U, 129U}) {
    std::vector<float> taps(tapsLen);
    for (float& tap : taps)
      tap = static_cast<float>(random.Next<int16_t>()) / 30011;
    const Samples ring = RandomSamples(random.Bits(), tapsLen);
    const std::size_t index = RandomLength(random, tapsLen) - 1;
    Samples heard = ring;
    std::rotate(heard.begin(), heard.begin() + static_cast<std::ptrdiff_t>(index), heard.end());
    Formula formula(taps, heard);
    const StatePointer state = Make(taps, ring, static_cast<int32_t>(index));
    const StatePointer inPlace = Make(taps, ring, static_cast<int32_t>(index));
    EXPECT_EQ(Bits(TapsOf(state.get(), tapsLen)), Bits(taps));
    for (int call = 0; call < 40; ++call) {
      const std::size_t count = RandomLength(random, 2 * tapsLen);
      const Samples source = RandomSamples(random.Bits(), count);
      const Samples reference = RandomSamples(random.Bits(), count);
      const float mu = static_cast<float>(call % 8 - 1) * 3e-11F / static_cast<float>(tapsLen);
      const Samples result = Filter(state.get(), source, reference, mu);
      for (std::size_t n = 0; n < count; ++n) {
        ASSERT_EQ(result[n], formula.Next(source[n], reference[n], mu))
            << tapsLen << " taps, sample " << n << " of call " << call;
      }
      ASSERT_EQ(Bits(TapsOf(state.get(), tapsLen)), Bits(formula.Taps())) << tapsLen;

      Samples overwritten = source;
      EXPECT_EQ(ippsFIRLMS32f_16s(overwritten.data(), reference.data(), overwritten.data(),
                                  static_cast<int32_t>(count), mu, inPlace.get()),
                0);
      EXPECT_EQ(overwritten, result);
    }
  }
}

TEST(Lms, ConvergesToTheSystemThatMadeTheReference) {
  // Eighths as taps and multiples of 8 as samples: the reference is exact.
  constexpr std::size_t kTaps = 16;
  const std::vector<int32_t> eighths = RandomIntegers(1, kTaps, 2);
  const std::vector<int32_t> noise = RandomIntegers(2, 6000, 1000);
  Samples source;
  Samples reference;
  for (std::size_t n = 0; n < noise.size(); ++n) {
    source.push_back(static_cast<int16_t>(8 * noise[n]));
    int32_t sum = 0;
    for (std::size_t j = 0; j < kTaps && j <= n; ++j)
      sum += eighths[j] * noise[n - j];
    reference.push_back(static_cast<int16_t>(sum));
  }
  const StatePointer state = Make(std::vector<float>(kTaps));
  const Samples result = Filter(state.get(), source, reference, 3e-10F);
  const std::vector<float> learnt = TapsOf(state.get(), kTaps);
  for (std::size_t j = 0; j < kTaps; ++j)
    EXPECT_NEAR(learnt[j], eighths[j] / 8.0, 1e-6) << j;
  for (std::size_t n = noise.size() - 100; n < noise.size(); ++n)
    EXPECT_LE(std::abs(result[n] - reference[n]), 1) << n;  // Truncation.
}

TEST(Lms, VectorsStandAtAnyAddress) {
  const std::vector<float> taps = {0.5F, -0.25F, 0.75F};
  const Samples ring = {100, 200, 300};
  const Samples source = RandomSamples(1, 11);
  const Samples reference = RandomSamples(2, 11);
  const StatePointer aligned = Make(taps, ring, 2);
  const Samples expected = Filter(aligned.get(), source, reference, 1e-10F);
  const std::vector<float> learnt = TapsOf(aligned.get(), taps.size());

  GuardedBuffer tapsBytes = Misplaced(taps, 1);
  GuardedBuffer ringBytes = Misplaced(ring, 1);
  GuardedBuffer sourceBytes = Misplaced(source, 3);
  GuardedBuffer referenceBytes = Misplaced(reference, 1);
  GuardedBuffer outputBytes = Misplaced(Samples(source.size()), 5);
  GuardedBuffer learntBytes = Misplaced(taps, 3);
  Lms32f16s* state = nullptr;
  ASSERT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, reinterpret_cast<const float*>(tapsBytes.Data()), 3,
                                       reinterpret_cast<const int16_t*>(ringBytes.Data()), 2),
            0);
  const StatePointer owner(state);
  EXPECT_EQ(ippsFIRLMS32f_16s(reinterpret_cast<const int16_t*>(sourceBytes.Data()),
                              reinterpret_cast<const int16_t*>(referenceBytes.Data()),
                              reinterpret_cast<int16_t*>(outputBytes.Data()), 11, 1e-10F, state),
            0);
  EXPECT_EQ(ippsFIRLMSGetTaps32f_16s(state, reinterpret_cast<float*>(learntBytes.Data())), 0);
  EXPECT_EQ(outputBytes.Content(), Misplaced(expected, 0).Content());
  EXPECT_EQ(learntBytes.Content(), Misplaced(learnt, 0).Content());
  EXPECT_TRUE(outputBytes.IsGuardIntact() && learntBytes.IsGuardIntact());
}

TEST(Lms, RefusesInOrderAndWritesNothing) {
  const Samples source = {1, 2};
  Samples d = {8, 9};
  std::array<float, 2> taps = {3, 4};
  alignas(16) std::array<uint8_t, 256> bytes{};
  auto* const foreign = reinterpret_cast<Lms32f16s*>(bytes.data());
  const StatePointer owner = Make({1.0F});
  Lms32f16s* state = owner.get();
  constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();

  EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(nullptr, nullptr, 0, nullptr, -1), -8);
  EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, nullptr, 0, nullptr, -1), -6);
  EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, nullptr, kLowest, nullptr, kLowest), -6);
  for (const int32_t index : {-1, 2, kLowest, std::numeric_limits<int32_t>::max()})
    EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, taps.data(), 2, nullptr, index), -11) << index;
  EXPECT_EQ(state, owner.get());
  EXPECT_EQ(ippsFIRLMS32f_16s(nullptr, source.data(), d.data(), 0, 0, state), -8);
  EXPECT_EQ(ippsFIRLMS32f_16s(source.data(), nullptr, d.data(), 0, 0, state), -8);
  EXPECT_EQ(ippsFIRLMS32f_16s(source.data(), source.data(), nullptr, 0, 0, state), -8);
  EXPECT_EQ(ippsFIRLMS32f_16s(source.data(), source.data(), d.data(), 0, 0, nullptr), -8);
  EXPECT_EQ(ippsFIRLMS32f_16s(source.data(), source.data(), d.data(), 0, 0, foreign), -6);
  EXPECT_EQ(ippsFIRLMS32f_16s(source.data(), source.data(), d.data(), 2, 0, foreign), -17);
  EXPECT_EQ(ippsFIRLMSGetTaps32f_16s(nullptr, taps.data()), -8);
  EXPECT_EQ(ippsFIRLMSGetTaps32f_16s(foreign, nullptr), -8);
  EXPECT_EQ(ippsFIRLMSGetTaps32f_16s(foreign, taps.data()), -17);
  EXPECT_EQ(ippsFIRLMSFree32f_16s(nullptr), 0);
  EXPECT_EQ(d, (Samples{8, 9}));
  EXPECT_EQ(taps, (std::array<float, 2>{3, 4}));
}

TEST(Lms, SetUpThatFailsLeavesNothing) {
  std::size_t live = LiveBlockCount();
  auto* state = reinterpret_cast<Lms32f16s*>(&live);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, nullptr, 5, nullptr, 0), -9);
  }
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(LiveBlockCount(), live);
  // Nor does a state that is damaged.
  StatePointer made = Make({1.0F});
  std::memset(static_cast<void*>(made.get()), 0, sizeof(uint32_t));
  made.reset();
  EXPECT_EQ(LiveBlockCount(), live);
}

}  // namespace
}  // namespace zr::test
