// IIR filter: cases from mathematics, its own formula to the bit, the transfer function within a
// bound.
#include "primitives/filters/iir.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>

#include "tests/common/test_memory.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/extended_precision.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/misplaced_vector.h"

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

/// No delay elements are passed as null.
template <typename State, typename SetUp>
Owner<State> MakeWith(SetUp setUp, const std::vector<float>& taps,
                      const std::vector<float>& delay) {
  State* state = nullptr;
  MisplacedVector elements(delay.empty() ? taps : delay);
  EXPECT_EQ(setUp(&state, MisplacedVector(taps).Data(), OrderOf(taps),
                  delay.empty() ? nullptr : elements.Data()),
            0);
  return Owner<State>(state);
}
Owner<Iir32f16s> Make(const std::vector<float>& taps, const std::vector<float>& delay = {}) {
  return MakeWith<Iir32f16s>(ippsIIRInitAlloc32f_16s, taps, delay);
}
Owner<Iir32s16s> MakeOfIntegers(const std::vector<float>& taps, const std::vector<float>& delay) {
  return MakeWith<Iir32s16s>(ippsIIRInitAlloc32s_16s32f, taps, delay);
}

template <typename State, typename Run>
Samples FilterWith(Run run, const Owner<State>& state, const Samples& source, int32_t scaleFactor) {
  MisplacedVector d(source);
  EXPECT_EQ(run(MisplacedVector(source).Data(), d.Data(), static_cast<int32_t>(source.size()),
                state.get(), scaleFactor),
            0);
  return d.Content();
}
Samples Filter(const Owner<Iir32f16s>& state, const Samples& source, int32_t scaleFactor) {
  return FilterWith(ippsIIR32f_16s_Sfs, state, source, scaleFactor);
}
Samples Filter(const Owner<Iir32s16s>& state, const Samples& source, int32_t scaleFactor) {
  return FilterWith(ippsIIR32s_16s_Sfs, state, source, scaleFactor);
}
Samples FilterInPlace(const Owner<Iir32f16s>& state, const Samples& source, int32_t scaleFactor) {
  const auto inPlace = [](const int16_t*, int16_t* d, int32_t n, Iir32f16s* filter, int32_t scale) {
    return ippsIIR32f_16s_ISfs(d, n, filter, scale);
  };
  return FilterWith(inPlace, state, source, scaleFactor);
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
      {{1, 1}, {5, 20000, -20000}, -1, {10, 32767, -32768}, "twice"},
      {{1, 1}, {7, -7}, 128, {7, -7}, "128 counts as 0"},
      {{1, 1}, {5, -5}, 129, {3, -3}, "129 counts as 1"},
      {{1, 1}, {7, -7}, -129, {14, -14}, "-129 counts as -1"},
      {{1, 1}, {7, -7}, kLowest, {7, -7}, "the lowest counts as 0"},
      {{0x1p126F, 1}, {7, -7}, kHighest, {0, 0}, "the highest counts as 127, which is 0"},
      {{0x1p126F, 1}, {7, -7}, 126, {7, -7}, "126"},
      {{0x1p-127F, 1}, {7, -7}, -127, {7, -7}, "-127"},
      {{kNaN, 1}, {7}, 0, {-32768}, "a NaN"},
      // What is left of an exact product minus the float next to it.
      {{-kLarge, kLarge, 1, 0}, {3, 3, 3, 3}, 0, {-32768, -1, -1, -1}, "a rounding for each"},
      {{-kLarge, kLarge, 0, 1, 0, 0}, {3, 3, 3, 3}, 0, {-32768, 0, -1, 0}, "one for a pair"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Filter(Make(row.taps), row.source, row.scaleFactor), row.expected) << row.what;
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
    const auto filter = Make(taps, delay);
    const auto inPlace = Make(taps, delay);
    const auto ofIntegers = MakeOfIntegers(taps, delay);
    const auto expectSame = [&](const Samples& source, int32_t scaleFactor) {
      const Samples result = Filter(filter, source, scaleFactor);
      EXPECT_EQ(FilterInPlace(inPlace, source, scaleFactor), result);
      EXPECT_EQ(Filter(ofIntegers, source, scaleFactor), result);
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
  const auto single = Make({1, kLarge, 0, 1, kLarge, 0}, {0, 5});
  EXPECT_EQ(Filter(single, {1}, 0), (Samples{1}));
  EXPECT_EQ(Filter(single, {0}, 0), (Samples{5}));
  const auto pair = Make({1, kLarge, kLarger, 0, 1, kLarge, kLarger, 0}, {0, 0, 7});
  EXPECT_EQ(Filter(pair, {1, 1}, 0), (Samples{1, 1}));
  EXPECT_EQ(Filter(pair, {0}, 0), (Samples{7}));
}

using Wide = std::vector<long double>;

/// y[n] = the sum of b[k] x[n-k] less that of a[k] y[n-k] for k above 0, in the widest arithmetic.
Wide DirectForm(const Wide& b, const Wide& a, const Wide& x) {
  const ExtendedPrecision widest;
  Wide y;
  for (std::size_t n = 0; n < x.size(); ++n) {
    long double sum = 0;
    for (std::size_t k = 0; k < b.size() && k <= n; ++k)
      sum += b[k] * x[n - k];
    for (std::size_t k = 1; k < a.size() && k <= n; ++k)
      sum -= a[k] * y[n - k];
    y.push_back(sum);
  }
  return y;
}

/// The denominator of so many resonators. Its coefficients are floats.
Wide Resonators(int32_t count) {
  Wide a = {1};
  for (int32_t i = 0; i < count; ++i) {
    const double radius = 0.5 + 0.05 * i;
    a.resize(a.size() + 2);
    a = DirectForm({1, -2 * radius * std::cos(0.4 + 0.7 * i), radius * radius}, {1}, a);
  }
  for (long double& coefficient : a)
    coefficient = StoredAsFloat(static_cast<double>(coefficient));
  return a;
}

TEST(Iir, StaysNearTheTransferFunctionHoweverItIsCut) {
  // Delay elements are below 2^16 here, so that each rounding is off by 2^-9 at most. Times the
  // order and the sum over the response of 1 / A, which is 3.1, 3.9 and 1.4, it is below this.
  constexpr double kBound = 0x1p-5;
  for (const int32_t count : {1, 2, 4}) {
    const Wide a = Resonators(count);
    const Wide b(a.size(), 0.125L);
    std::vector<float> taps(b.begin(), b.end());
    taps.insert(taps.end(), a.begin(), a.end());
    const Samples source = RandomSamples(static_cast<uint64_t>(count), 5000);
    const Wide exact = DirectForm(b, a, {source.begin(), source.end()});
    RandomElements random(1, false);
    // Cuts at even places are none.
    const Samples whole = Filter(Make(taps), source, 1);
    for (const bool isCutAnywhere : {false, true}) {
      const auto state = Make(taps);
      Samples pieces;
      while (pieces.size() < source.size()) {
        const std::size_t length =
            isCutAnywhere ? RandomLength(random, 7) : 2 * RandomLength(random, 4);
        const auto from = source.begin() + static_cast<std::ptrdiff_t>(pieces.size());
        const std::size_t taken = std::min(length, source.size() - pieces.size());
        const Samples d = Filter(state, {from, from + static_cast<std::ptrdiff_t>(taken)}, 1);
        pieces.insert(pieces.end(), d.begin(), d.end());
      }
      if (!isCutAnywhere) {
        EXPECT_EQ(pieces, whole);
      }
      for (std::size_t n = 0; n < source.size(); ++n) {
        const auto y = static_cast<double>(std::clamp(exact[n] / 2, -32768.0L, 32767.0L));
        ASSERT_LE(std::fabs(pieces[n] - y), 0.5 + kBound) << count << " resonators, sample " << n;
      }
    }
  }
}

TEST(Iir, DelayElementsAreGivenSetAndCleared) {
  EXPECT_EQ(Filter(Make({0, 0, 0, 1, 0, 0}, {5, 7}), {1, 1, 1}, 0), (Samples{5, 7, 0}));

  const std::vector<float> taps = {1, 2, 3, 4, 1, -0.5F, 0.25F, 0.125F};
  const std::vector<float> begun = {400.5F, -3000.25F, 80.0F};
  const Samples source = RandomSamples(1, 20);
  const auto used = Make(taps);
  const Samples fromSilence = Filter(used, source, 4);
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(used.get(), nullptr), 0);
  EXPECT_EQ(Filter(used, source, 4), fromSilence);
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(used.get(), MisplacedVector(begun).Data()), 0);
  EXPECT_EQ(Filter(used, source, 4), Filter(Make(taps, begun), source, 4));
}

template <typename State, typename SetUp, typename Free>
void ExpectLifeToRefuse(SetUp setUp, Free free, void* foreign) {
  const std::size_t before = LiveBlockCount();
  std::vector<float> taps = {1, 2, 3, 1, 5, 6};
  auto* const untouched = reinterpret_cast<State*>(&taps);
  State* state = untouched;
  EXPECT_EQ(setUp(nullptr, taps.data(), -1, nullptr), -8);
  EXPECT_EQ(setUp(&state, nullptr, -1, nullptr), -8);
  EXPECT_EQ(setUp(&state, taps.data(), -1, nullptr), -25);
  EXPECT_EQ(state, untouched);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(setUp(&state, taps.data(), 2, nullptr), -9);
  }
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(free(nullptr), -8);
  EXPECT_EQ(free(static_cast<State*>(foreign)), -17);
  for (const float zero : {0.0F, -0.0F}) {
    const std::array<float, 2> elements = {5, -7};
    taps[3] = zero;
    EXPECT_EQ(setUp(&state, taps.data(), 2, elements.data()), -10);
    const Owner<State> owner(state);
    if constexpr (std::is_same_v<State, Iir32f16s>) {
      EXPECT_EQ(Filter(owner, {9, 9, 9}, 0), (Samples{5, -7, 0}));
    }
  }
  EXPECT_EQ(LiveBlockCount(), before);
}

template <typename State, typename Run>
void ExpectRunToRefuse(Run run, State* state, void* foreign) {
  Samples source = {1, 2};
  Samples d = {8, 9};
  auto* const wrong = static_cast<State*>(foreign);
  EXPECT_EQ(run(nullptr, d.data(), 0, state, 0), -8);
  EXPECT_EQ(run(source.data(), nullptr, 0, state, 0), -8);
  EXPECT_EQ(run(source.data(), d.data(), 0, nullptr, 0), -8);
  EXPECT_EQ(run(source.data(), d.data(), 0, wrong, 0), -6);
  EXPECT_EQ(run(source.data(), d.data(), 2, wrong, 0), -17);
  EXPECT_EQ(d, (Samples{8, 9}));
}

TEST(Iir, RefusesInOrderAndLeavesNothingButWhatTheCallerFrees) {
  const auto floats = Make({1, 1});
  const auto integers = MakeOfIntegers({1, 1}, {});
  const auto forFloatData = MakeWith<Iir32f>(ippsIIRInitAlloc_32f, {1, 1}, {});
  ExpectLifeToRefuse<Iir32f16s>(ippsIIRInitAlloc32f_16s, ippsIIRFree32f_16s, integers.get());
  ExpectLifeToRefuse<Iir32s16s>(ippsIIRInitAlloc32s_16s32f, ippsIIRFree32s_16s, floats.get());
  ExpectLifeToRefuse<Iir32f>(ippsIIRInitAlloc_32f, ippsIIRFree_32f, floats.get());
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(nullptr, nullptr), -8);
  EXPECT_EQ(ippsIIRSetDlyLine32f_16s(reinterpret_cast<Iir32f16s*>(integers.get()), nullptr), -17);
  ExpectRunToRefuse(ippsIIR32f_16s_Sfs, floats.get(), integers.get());
  ExpectRunToRefuse(ippsIIR32f_16s_Sfs, floats.get(), forFloatData.get());
  ExpectRunToRefuse(ippsIIR32s_16s_Sfs, integers.get(), floats.get());
  Samples d = {8, 9};
  EXPECT_EQ(ippsIIR32f_16s_ISfs(nullptr, 0, floats.get(), 0), -8);
  EXPECT_EQ(ippsIIR32f_16s_ISfs(d.data(), 0, nullptr, 0), -8);
  auto* const wrong = reinterpret_cast<Iir32f16s*>(integers.get());
  EXPECT_EQ(ippsIIR32f_16s_ISfs(d.data(), 0, wrong, 0), -6);
  EXPECT_EQ(ippsIIR32f_16s_ISfs(d.data(), 2, wrong, 0), -17);
  EXPECT_EQ(d, (Samples{8, 9}));
}

}  // namespace
}  // namespace zr::test
