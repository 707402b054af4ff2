// Adaptive filter: its own formula to the bit across every cut, and what it learns.
#include "primitives/filters/lms.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "tests/common/test_memory.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/misplaced_vector.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;

struct FreeState {
  void operator()(Lms32f16s* state) const { EXPECT_EQ(ippsFIRLMSFree32f_16s(state), 0); }
};
using StatePointer = std::unique_ptr<Lms32f16s, FreeState>;

/// An empty ring is passed as null.
StatePointer Make(const std::vector<float>& taps, const Samples& ring = {}, int32_t index = 0) {
  Lms32f16s* state = nullptr;
  MisplacedVector line(ring.empty() ? Samples{0} : ring);
  EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, MisplacedVector(taps).Data(),
                                       static_cast<int32_t>(taps.size()),
                                       ring.empty() ? nullptr : line.Data(), index),
            0);
  return StatePointer(state);
}

Samples Filter(const StatePointer& state, const Samples& source, const Samples& reference, float mu,
               bool isInPlace = false) {
  MisplacedVector s(source);
  MisplacedVector apart(source);
  MisplacedVector<int16_t>& d = isInPlace ? s : apart;
  EXPECT_EQ(ippsFIRLMS32f_16s(s.Data(), MisplacedVector(reference).Data(), d.Data(),
                              static_cast<int32_t>(source.size()), mu, state.get()),
            0);
  return d.Content();
}

std::vector<float> TapsOf(const StatePointer& state, std::size_t count) {
  MisplacedVector taps(std::vector<float>(count, -1));
  EXPECT_EQ(ippsFIRLMSGetTaps32f_16s(state.get(), taps.Data()), 0);
  return taps.Content();
}

TEST(Lms, LearnsARatioInOneStep) {
  for (const auto& [step, ratio] :
       {std::pair{0x1p-19F, 300.0F / 512}, {-0x1p-19F, -300.0F / 512}}) {
    const StatePointer state = Make({0});
    EXPECT_EQ(Filter(state, {512}, {300}, step), Samples{0});
    EXPECT_EQ(TapsOf(state, 1), std::vector<float>{ratio});
  }
  // What is no number comes out as the lowest sample.
  EXPECT_EQ(Filter(Make({kNaN}), {1}, {0}, 0), Samples{-32768});
}

TEST(Lms, DelayLineIsARingThatBeginsAnywhere) {
  // Before the first sample came 10, and 30 before it; 20, which is older, is not heard.
  EXPECT_EQ(Filter(Make({1.0F, 0.5F, 16.0F}, {10, 20, 30}, 1), {1, 2, 3}, {0, 0, 0}, 0),
            (Samples{486, 162, 20}));
  for (const int32_t index : {0, 1, 2}) {
    EXPECT_EQ(Filter(Make({1, 2, 4}, {}, index), {1, 10, 100, 0}, {0, 0, 0, 0}, 0),
              (Samples{1, 12, 124, 240}));
  }
  Lms32f16s* untaught = nullptr;
  EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&untaught, nullptr, 3, nullptr, 0), 0);
  EXPECT_EQ(TapsOf(StatePointer(untaught), 3), (std::vector<float>{0, 0, 0}));
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
    EXPECT_EQ(Bits(TapsOf(state, tapsLen)), Bits(taps));
    for (int call = 0; call < 40; ++call) {
      const std::size_t count = RandomLength(random, 2 * tapsLen);
      const Samples source = RandomSamples(random.Bits(), count);
      const Samples reference = RandomSamples(random.Bits(), count);
      const float mu = static_cast<float>(call % 8 - 1) * 3e-11F / static_cast<float>(tapsLen);
      const bool isInPlace = random.Bits() % 2 == 0;
      Samples expected;
      for (std::size_t n = 0; n < count; ++n)
        expected.push_back(formula.Next(source[n], reference[n], mu));
      ASSERT_EQ(Filter(state, source, reference, mu, isInPlace), expected) << tapsLen << " taps";
      ASSERT_EQ(Bits(TapsOf(state, tapsLen)), Bits(formula.Taps())) << tapsLen << " taps";
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
  const Samples result = Filter(state, source, reference, 3e-10F);
  const std::vector<float> learnt = TapsOf(state, kTaps);
  for (std::size_t j = 0; j < kTaps; ++j)
    EXPECT_NEAR(learnt[j], eighths[j] / 8.0, 1e-6) << j;
  for (std::size_t n = noise.size() - 100; n < noise.size(); ++n)
    EXPECT_LE(std::abs(result[n] - reference[n]), 1) << n;  // Truncation.
}

TEST(Lms, RefusesInOrderAndLeavesNothing) {
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

  const std::size_t live = LiveBlockCount();
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(ippsFIRLMSInitAlloc32f_16s(&state, nullptr, 5, nullptr, 0), -9);
  }
  EXPECT_EQ(state, nullptr);
  // A state that is damaged is freed like any other.
  StatePointer damaged = Make({1.0F});
  std::memset(static_cast<void*>(damaged.get()), 0, sizeof(uint32_t));
  damaged.reset();
  EXPECT_EQ(LiveBlockCount(), live);
}

}  // namespace
}  // namespace zr::test
