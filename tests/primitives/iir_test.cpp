// IIR filter: cases from mathematics, its own formula to the bit, the transfer function within a
// bound.
#include "primitives/filters/iir.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "tests/common/test_memory.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;

struct FreeState {
  void operator()(Iir32f* state) const { EXPECT_EQ(ippsIIRFree_32f(state), 0); }
  void operator()(Iir32f16s* state) const { EXPECT_EQ(ippsIIRFree32f_16s(state), 0); }
  void operator()(Iir32s16s* state) const { EXPECT_EQ(ippsIIRFree32s_16s(state), 0); }
};
template <typename State>
using Owner = std::unique_ptr<State, FreeState>;

int32_t OrderOf(const std::vector<float>& taps) {
  return static_cast<int32_t>(taps.size() / 2) - 1;
}

template <typename State, typename SetUp>
Owner<State> MakeWith(SetUp setUp, const std::vector<float>& taps, const float* delay) {
  State* state = nullptr;
  EXPECT_EQ(setUp(&state, taps.data(), OrderOf(taps), delay), 0);
  return Owner<State>(state);
}
Owner<Iir32f16s> Make(const std::vector<float>& taps, const float* delay = nullptr) {
  return MakeWith<Iir32f16s>(ippsIIRInitAlloc32f_16s, taps, delay);
}

Samples Filter(Iir32f16s* state, const Samples& source, int32_t scaleFactor) {
  Samples d(source.size());
  const auto count = static_cast<int32_t>(source.size());
  EXPECT_EQ(ippsIIR32f_16s_Sfs(source.data(), d.data(), count, state, scaleFactor), 0);
  return d;
}

TEST(Iir, FiltersScalesRoundsAndSaturates) {
  struct Row {
    std::vector<float> taps;
    Samples source;
    int32_t scaleFactor;
    Samples expected;
    const char* what;
  };
  constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
  constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
  constexpr float kLarge = 16777215.0F;  // Times 3 it is 50331645, one above a float.
  const std::vector<Row> rows = {
      {{2, 1}, {1, -5, 20000, -20000}, 0, {2, -10, 32767, -32768}, "a gain"},
      {{1, 2}, {3, -3, 1, -1, 2}, 0, {2, -2, 1, -1, 1}, "ties go away from zero"},
      {{3, -4}, {2, -2, 1, -1}, 0, {-2, 2, -1, 1}, "a0 divides, -0.75 is rounded"},
      {{1, 0, 1, -0.5F}, {1000, 0, 0, 0, 0, 0}, 0, {1000, 500, 250, 125, 63, 31}, "order 1"},
      {{1, 0, 0, 1, 0, -0.5F},
       {1000, 8, 0, 0, 0, 0, 0, 0, 0},
       0,
       {1000, 8, 500, 4, 250, 2, 125, 1, 63},
       "order 2"},
      {{0, 0, 1, 0, 1, 0, 0, 2},
       {1000, 100, 10, 1, 0, 0},
       0,
       {0, 0, 1000, 100, 10, -1999},
       "order 3: the input 2 before minus twice the output 3 before"},
      {{1, 1}, {5, -5}, 1, {3, -3}, "half"},
      {{1, 1}, {5, 20000, -20000}, -1, {10, 32767, -32768}, "twice"},
      {{1, 1}, {7, -7}, 128, {7, -7}, "128 counts as 0"},
      {{1, 1}, {7, -7}, -128, {7, -7}, "-128 counts as 0"},
      {{1, 1}, {6, -6}, 129, {3, -3}, "129 counts as 1"},
      {{1, 1}, {7, -7}, -129, {14, -14}, "-129 counts as -1"},
      {{1, 1}, {7, -7}, kLowest, {7, -7}, "the lowest counts as 0"},
      {{0x1p126F, 1}, {7, -7}, kHighest, {0, 0}, "the highest counts as 127, which is 0"},
      {{0x1p126F, 1}, {7, -7}, 127, {0, 0}, "127 steps down lead to 0"},
      {{0x1p126F, 1}, {7, -7}, 126, {7, -7}, "126"},
      {{0x1p-127F, 1}, {7, -7}, -127, {7, -7}, "-127"},
      {{std::numeric_limits<float>::quiet_NaN(), 1}, {7}, 0, {-32768}, "a NaN"},
      // What is left of an exact product minus the float next to it.
      {{-kLarge, kLarge, 1, 0},
       {3, 3, 3, 3, 3},
       0,
       {-32768, -1, -1, -1, -1},
       "order 1 rounds its delay element after each sample"},
      {{-kLarge, kLarge, 0, 1, 0, 0},
       {3, 3, 3, 3, 3},
       0,
       {-32768, 0, -1, 0, -1},
       "order 2 rounds its delay elements once for a pair"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Filter(Make(row.taps).get(), row.source, row.scaleFactor), row.expected) << row.what;
  }
}

// The formula, with coefficients and delay elements that are 0 behind the order: no end of a sum is
// a special case.
class Formula {
 public:
  Formula(const std::vector<float>& taps, const std::vector<float>& delay)
      : order_(delay.size()), b_(order_ + 2), a_(order_ + 2), delay_(delay) {
    const double reciprocal = 1.0 / static_cast<double>(taps[order_ + 1]);
    for (std::size_t k = 0; k <= order_; ++k) {
      b_[k] = StoredAsFloat(taps[k] * reciprocal);
      a_[k] = StoredAsFloat(taps[order_ + 1 + k] * reciprocal);
    }
    delay_.resize(order_ + 2);
  }

  std::vector<double> Run(const Samples& x) {
    std::vector<double> y(x.size());
    for (std::size_t n = 0; n < x.size();) {
      y[n] = b_[0] * x[n] + delay_[0];
      const bool isPair = order_ >= 2 && n + 1 < x.size();
      if (isPair) y[n + 1] = b_[0] * x[n + 1] + (Fed(1, x[n], y[n]) + delay_[1]);
      for (std::size_t k = 0; k < order_; ++k) {
        double sum = Fed(k + 1, x[isPair ? n + 1 : n], y[isPair ? n + 1 : n]);
        if (isPair) sum = sum + b_[k + 2] * x[n] - a_[k + 2] * y[n];
        delay_[k] = StoredAsFloat(sum + delay_[isPair ? k + 2 : k + 1]);
      }
      n += isPair ? 2 : 1;
    }
    return y;
  }

  /// The sample that brings the output nearest to 0. What is left of it has the last bits of the
  /// delay element: in units of a quarter of the last one, with the scale factor that is told.
  int16_t Probe(int32_t* scaleFactor) const {
    *scaleFactor = std::ilogb(delay_[0]) - 23 - 2;
    return static_cast<int16_t>(std::clamp(-delay_[0] / b_[0], -32768.0, 32767.0));
  }

 private:
  double Fed(std::size_t k, double x, double y) const { return b_[k] * x - a_[k] * y; }

  std::size_t order_;
  std::vector<double> b_;
  std::vector<double> a_;
  std::vector<float> delay_;
};

int16_t RoundedHalfAway(double y, int32_t scaleFactor) {
  return static_cast<int16_t>(
      std::round(std::clamp(std::ldexp(y, -scaleFactor), -32768.0, 32767.0)));
}

/// The three ways into one filter.
class EveryWay {
 public:
  EveryWay(const std::vector<float>& taps, const std::vector<float>& delay)
      : floats_(Make(taps, delay.data())),
        inPlace_(Make(taps, delay.data())),
        integers_(MakeWith<Iir32s16s>(ippsIIRInitAlloc32s_16s32f, taps, delay.data())) {}

  Samples Run(const Samples& source, int32_t scaleFactor) {
    Samples d = Filter(floats_.get(), source, scaleFactor);
    const auto count = static_cast<int32_t>(source.size());
    Samples overwritten = source;
    EXPECT_EQ(ippsIIR32f_16s_ISfs(overwritten.data(), count, inPlace_.get(), scaleFactor), 0);
    EXPECT_EQ(overwritten, d);
    Samples ofIntegers(source.size());
    EXPECT_EQ(
        ippsIIR32s_16s_Sfs(source.data(), ofIntegers.data(), count, integers_.get(), scaleFactor),
        0);
    EXPECT_EQ(ofIntegers, d);
    return d;
  }

 private:
  Owner<Iir32f16s> floats_;
  Owner<Iir32f16s> inPlace_;
  Owner<Iir32s16s> integers_;
};

/// A stable filter, whatever the signs.
std::vector<float> RandomStableTaps(RandomElements& random, std::size_t order) {
  const auto number = [&random] { return static_cast<float>(random.Bits() % 65537) / 32768 - 1; };
  std::vector<float> taps(2 * order + 2);
  for (std::size_t k = 0; k <= order; ++k) {
    taps[k] = number();
    taps[order + 1 + k] = 0.9F * number() / static_cast<float>(order + 1);
  }
  taps[0] = 1.0F + number() / 2;
  taps[order + 1] = 1.0F + number() / 16;
  return taps;
}

TEST(Iir, FollowsItsFormulaToTheBit) {
  RandomElements random(1, false);
  int32_t told = 0;
  for (const std::size_t order : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 17U, 64U}) {
    const std::vector<float> taps = RandomStableTaps(random, order);
    std::vector<float> delay(order);
    for (float& element : delay)
      element = static_cast<float>(random.Next<int16_t>()) / 3;
    Formula formula(taps, delay);
    EveryWay filters(taps, delay);
    const auto expectSame = [&](const Samples& source, int32_t scaleFactor) {
      const Samples result = filters.Run(source, scaleFactor);
      const std::vector<double> y = formula.Run(source);
      for (std::size_t n = 0; n < source.size(); ++n) {
        ASSERT_EQ(result[n], RoundedHalfAway(y[n], scaleFactor))
            << "order " << order << ", sample " << n << " of " << source.size();
        if (source.size() == 1 && result[n] > -32768 && result[n] < 32767) ++told;
      }
    };
    for (int call = 0; call < 50; ++call) {
      const auto scaleFactor = static_cast<int32_t>(random.Bits() % 3);
      Samples source = RandomSamples(random.Bits(), 1 + RandomLength(random, 9));
      for (int16_t& sample : source)
        sample /= 4;  // What is in the delay elements stays within reach of a probe.
      expectSame(source, scaleFactor);
      if (order == 0) continue;
      int32_t probing = 0;
      const int16_t probe = formula.Probe(&probing);
      expectSame({probe}, probing);
    }
  }
  EXPECT_GT(told, 400);  // Probes that were not saturated, of 550.
}

TEST(Iir, SumsRunInTheirOrder) {
  // Large products that cancel: what is added between them is lost, what comes after them stays.
  constexpr float kLarge = 0x1p60F;
  constexpr float kLarger = 0x1p70F;
  const std::array<float, 2> newest = {0, 5};
  const auto single = Make({1, kLarge, 0, 1, kLarge, 0}, newest.data());
  EXPECT_EQ(Filter(single.get(), {1}, 0), (Samples{1}));
  EXPECT_EQ(Filter(single.get(), {0}, 0), (Samples{5}));
  const std::array<float, 3> oldest = {0, 0, 7};
  const auto pair = Make({1, kLarge, kLarger, 0, 1, kLarge, kLarger, 0}, oldest.data());
  EXPECT_EQ(Filter(pair.get(), {1, 1}, 0), (Samples{1, 1}));
  EXPECT_EQ(Filter(pair.get(), {0}, 0), (Samples{7}));
}

/// A filter of the given number of resonators, and its outputs in the widest arithmetic.
class Resonators {
 public:
  explicit Resonators(int32_t count) : a_{1.0} {
    for (int32_t i = 0; i < count; ++i) {
      const double radius = 0.5 + 0.05 * i;
      a_ = Product(a_, {1.0, -2.0 * radius * std::cos(0.4 + 0.7 * i), radius * radius});
    }
    for (double& coefficient : a_)
      coefficient = StoredAsFloat(coefficient);
  }

  std::vector<float> Taps() const {
    std::vector<float> taps(a_.size(), 0.125F);
    taps.insert(taps.end(), a_.begin(), a_.end());
    return taps;
  }

  struct Outputs {
    std::vector<long double> y;
    long double largestElement = 0;
  };
  Outputs Run(const std::vector<double>& source, long double b) const {
    const std::size_t order = a_.size() - 1;
    Outputs outputs;
    std::vector<long double> delay(order + 1);
    for (const double x : source) {
      const long double y = b * x + delay[0];
      for (std::size_t k = 0; k < order; ++k) {
        delay[k] = b * x - a_[k + 1] * y + delay[k + 1];
        outputs.largestElement = std::max(outputs.largestElement, std::fabs(delay[k]));
      }
      outputs.y.push_back(y);
    }
    return outputs;
  }

  /// How far the rounding of delay elements may take an output: each is off by half a unit at most,
  /// and what is fed into an element comes out weighted by the response of 1 / A.
  double RoundingBound(long double largestElement) const {
    std::vector<long double> past(a_.size());
    long double sum = 0;
    for (int n = 0; n < 1000; ++n) {
      long double y = n == 0 ? 1 : 0;
      for (std::size_t k = 1; k < a_.size(); ++k)
        y -= a_[k] * past[k];
      past.insert(past.begin() + 1, y);
      past.pop_back();
      sum += std::fabs(y);
    }
    const auto order = static_cast<long double>(a_.size() - 1);
    return static_cast<double>(order * 0x1p-24L * largestElement * sum);
  }

 private:
  static std::vector<double> Product(const std::vector<double>& p, const std::vector<double>& q) {
    std::vector<double> product(p.size() + q.size() - 1);
    for (std::size_t i = 0; i < p.size(); ++i)
      for (std::size_t j = 0; j < q.size(); ++j)
        product[i + j] += p[i] * q[j];
    return product;
  }

  std::vector<double> a_;
};

TEST(Iir, StaysNearTheTransferFunctionHoweverItIsCut) {
  for (const int32_t count : {1, 2, 4}) {
    const Resonators resonators(count);
    const Samples source = RandomSamples(static_cast<uint64_t>(count), 5000);
    const auto exact = resonators.Run({source.begin(), source.end()}, 0.125L);
    const double bound = resonators.RoundingBound(exact.largestElement);
    ASSERT_LT(bound, 0.2);
    RandomElements random(1, false);
    // Cuts at even places are none.
    const Samples whole = Filter(Make(resonators.Taps()).get(), source, 1);
    for (const bool isCutAnywhere : {false, true}) {
      const auto state = Make(resonators.Taps());
      Samples pieces;
      while (pieces.size() < source.size()) {
        const std::size_t length =
            isCutAnywhere ? RandomLength(random, 7) : 2 * RandomLength(random, 4);
        const auto from = source.begin() + static_cast<std::ptrdiff_t>(pieces.size());
        const std::size_t taken = std::min(length, source.size() - pieces.size());
        const Samples piece(from, from + static_cast<std::ptrdiff_t>(taken));
        const Samples d = Filter(state.get(), piece, 1);
        pieces.insert(pieces.end(), d.begin(), d.end());
      }
      if (!isCutAnywhere) {
        EXPECT_EQ(pieces, whole);
      }
      for (std::size_t n = 0; n < source.size(); ++n) {
        const auto y = static_cast<double>(std::clamp(exact.y[n] / 2, -32768.0L, 32767.0L));
        ASSERT_LE(std::fabs(pieces[n] - y), 0.5 + bound) << count << " resonators, sample " << n;
      }
    }
  }
}

TEST(Iir, DelayElementsAreGivenSetAndCleared) {
  const std::array<float, 2> elements = {5.0F, 7.0F};
  const auto state = Make({0, 0, 0, 1, 0, 0}, elements.data());
  EXPECT_EQ(Filter(state.get(), {1, 1, 1}, 0), (Samples{5, 7, 0}));

  const std::vector<float> taps = {1, 2, 3, 4, 1, -0.5F, 0.25F, 0.125F};
  const Samples source = RandomSamples(1, 20);
  const auto used = Make(taps);
  const Samples fromSilence = Filter(used.get(), source, 4);
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(used.get(), nullptr), 0);
  EXPECT_EQ(Filter(used.get(), source, 4), fromSilence);
  const std::array<float, 3> begun = {400.5F, -3000.25F, 80.0F};
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(used.get(), begun.data()), 0);
  EXPECT_EQ(Filter(used.get(), source, 4), Filter(Make(taps, begun.data()).get(), source, 4));
}

TEST(Iir, VectorsStandAtAnyAddress) {
  const std::vector<float> taps = {1, 2, 3, 4, 1.5F, -0.5F, 0.25F, 0.125F};
  const std::vector<float> delay = {400.5F, -3000.25F, 80.0F};
  const Samples source = RandomSamples(1, 11);
  const Samples expected = Filter(Make(taps, delay.data()).get(), source, 3);

  GuardedBuffer tapsBytes = Misplaced(taps, 1);
  GuardedBuffer delayBytes = Misplaced(delay, 3);
  GuardedBuffer sourceBytes = Misplaced(source, 1);
  GuardedBuffer outputBytes = Misplaced(Samples(source.size()), 5);
  Iir32f16s* state = nullptr;
  const auto* const at = reinterpret_cast<const float*>(delayBytes.Data());
  ASSERT_EQ(
      ippsIIRInitAlloc32f_16s(&state, reinterpret_cast<const float*>(tapsBytes.Data()), 3, at), 0);
  const Owner<Iir32f16s> owner(state);
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(state, at), 0);
  EXPECT_EQ(ippsIIR32f_16s_Sfs(reinterpret_cast<const int16_t*>(sourceBytes.Data()),
                               reinterpret_cast<int16_t*>(outputBytes.Data()),
                               static_cast<int32_t>(source.size()), state, 3),
            0);
  EXPECT_EQ(outputBytes.Content(), Misplaced(expected, 0).Content());
  EXPECT_TRUE(outputBytes.IsGuardIntact());
}

TEST(Iir, RefusesInOrderAndWritesNothing) {
  const std::vector<float> taps = {1, 1};
  const Samples source = {1, 2};
  Samples d = {8, 9};
  const auto owner = Make(taps);
  const auto ofIntegers = MakeWith<Iir32s16s>(ippsIIRInitAlloc32s_16s32f, taps, nullptr);
  const auto ofFloatData = MakeWith<Iir32f>(ippsIIRInitAlloc_32f, taps, nullptr);
  Iir32f16s* state = owner.get();
  auto* const foreign = reinterpret_cast<Iir32f16s*>(ofFloatData.get());
  auto* const otherKind = reinterpret_cast<Iir32f16s*>(ofIntegers.get());

  EXPECT_EQ(ippsIIRInitAlloc32f_16s(nullptr, taps.data(), -1, nullptr), -8);
  EXPECT_EQ(ippsIIRInitAlloc32f_16s(&state, nullptr, -1, nullptr), -8);
  EXPECT_EQ(ippsIIRInitAlloc32f_16s(&state, taps.data(), -1, nullptr), -25);
  EXPECT_EQ(state, owner.get());
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(nullptr, nullptr), -8);
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(otherKind, nullptr), -17);
  EXPECT_EQ(ippsIIR32f_16s_Sfs(nullptr, d.data(), 0, state, 0), -8);
  EXPECT_EQ(ippsIIR32f_16s_Sfs(source.data(), nullptr, 0, state, 0), -8);
  EXPECT_EQ(ippsIIR32f_16s_Sfs(source.data(), d.data(), 0, nullptr, 0), -8);
  EXPECT_EQ(ippsIIR32f_16s_ISfs(nullptr, 0, state, 0), -8);
  for (Iir32f16s* const wrong : {foreign, otherKind}) {
    EXPECT_EQ(ippsIIR32f_16s_Sfs(source.data(), d.data(), 0, wrong, 0), -6);
    EXPECT_EQ(ippsIIR32f_16s_Sfs(source.data(), d.data(), 2, wrong, 0), -17);
    EXPECT_EQ(ippsIIR32f_16s_ISfs(d.data(), 2, wrong, 0), -17);
    EXPECT_EQ(ippsIIRFree32f_16s(wrong), -17);
  }
  auto* const wrong = reinterpret_cast<Iir32s16s*>(state);
  EXPECT_EQ(ippsIIR32s_16s_Sfs(source.data(), d.data(), 0, wrong, 0), -6);
  EXPECT_EQ(ippsIIR32s_16s_Sfs(source.data(), d.data(), 2, wrong, 0), -17);
  EXPECT_EQ(ippsIIRFree32s_16s(wrong), -17);
  EXPECT_EQ(ippsIIRFree_32f(reinterpret_cast<Iir32f*>(state)), -17);
  EXPECT_EQ(ippsIIRFree32f_16s(nullptr), -8);
  EXPECT_EQ(ippsIIRFree32s_16s(nullptr), -8);
  EXPECT_EQ(ippsIIRFree_32f(nullptr), -8);
  EXPECT_EQ(d, (Samples{8, 9}));
}

template <typename State, typename SetUp>
void ExpectFailuresToLeaveNothing(SetUp setUp) {
  const std::size_t before = LiveBlockCount();
  const std::array<float, 2> elements = {5, -7};
  std::array<float, 6> taps = {1, 2, 3, 1, 5, 6};
  auto* state = reinterpret_cast<State*>(&taps);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(setUp(&state, taps.data(), 2, elements.data()), -9);
  }
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(LiveBlockCount(), before);
  for (const float zero : {0.0F, -0.0F}) {
    taps[3] = zero;
    EXPECT_EQ(setUp(&state, taps.data(), 2, elements.data()), -10);
    ASSERT_NE(state, nullptr);
    const Owner<State> owner(state);
    if constexpr (std::is_same_v<State, Iir32f16s>) {
      EXPECT_EQ(Filter(state, {9, 9, 9}, 0), (Samples{5, -7, 0}));
    }
  }
  EXPECT_EQ(LiveBlockCount(), before);
}

TEST(Iir, SetUpThatFailsLeavesNothingButWhatTheCallerFrees) {
  ExpectFailuresToLeaveNothing<Iir32f16s>(ippsIIRInitAlloc32f_16s);
  ExpectFailuresToLeaveNothing<Iir32s16s>(ippsIIRInitAlloc32s_16s32f);
  ExpectFailuresToLeaveNothing<Iir32f>(ippsIIRInitAlloc_32f);
}

}  // namespace
}  // namespace zr::test
