// FIR filter: both ways against exact sums, across every cut of a stream.
#include "primitives/filters/fir.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "tests/common/test_memory.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;
using Taps = std::vector<float>;

struct FreeState {
  void operator()(Fir32f16s* state) const { EXPECT_EQ(ippsFIRFree32f_16s(state), 0); }
};
using StatePointer = std::unique_ptr<Fir32f16s, FreeState>;

/// Taps and delay line, if there is one, stand at odd addresses.
StatePointer MakeState(const Taps& taps, const Samples& newestFirst = {}) {
  const bool isSilent = newestFirst.empty();
  GuardedBuffer tapsBytes = Misplaced(taps, 1);
  GuardedBuffer lineBytes = Misplaced(isSilent ? Samples(1) : newestFirst, 3);
  const auto* const line = reinterpret_cast<const int16_t*>(lineBytes.Data());
  Fir32f16s* state = nullptr;
  EXPECT_EQ(ippsFIRInitAlloc32f_16s(&state, reinterpret_cast<const float*>(tapsBytes.Data()),
                                    static_cast<int32_t>(taps.size()), isSilent ? nullptr : line),
            0);
  return StatePointer(state);
}

/// The result, with guards around it, of samples at an odd address.
Samples Filter(const StatePointer& state, const Samples& source, int32_t scaleFactor) {
  GuardedBuffer sourceBytes = Misplaced(source, 3);
  GuardedBuffer outputBytes(sourceBytes.Size(), 5);
  EXPECT_EQ(ippsFIR32f_16s_Sfs(reinterpret_cast<const int16_t*>(sourceBytes.Data()),
                               reinterpret_cast<int16_t*>(outputBytes.Data()),
                               static_cast<int32_t>(source.size()), state.get(), scaleFactor),
            0);
  EXPECT_TRUE(outputBytes.IsGuardIntact());
  Samples d(source.size());
  std::memcpy(d.data(), outputBytes.Data(), outputBytes.Size());
  return d;
}

std::size_t TransformLength(std::size_t tapsLen) {
  return std::bit_ceil(tapsLen + 1) * 2;
}

/// A filter whose taps are integers times 2^-10, what it has heard, and what it has to say.
class ExactFilter {
 public:
  explicit ExactFilter(std::size_t tapsLen)
      : integers_(RandomIntegers(tapsLen, tapsLen, 512)),
        heard_(RandomSamples(tapsLen + 1, tapsLen)) {
    for (const int32_t integer : integers_)
      taps_.push_back(std::ldexp(static_cast<float>(integer), -10));
    state_ = MakeState(taps_, {heard_.rbegin(), heard_.rend()});
  }

  /// The next samples of the stream. Sums that are formed directly have one result to the bit. A
  /// transform may take a result over a tie where its own rounding does.
  void Run(const Samples& source, int32_t scaleFactor) {
    const Samples result = Filter(state_, source, scaleFactor);
    const bool isDirect = source.size() < 512 || taps_.size() < 64;
    const std::size_t start = heard_.size();
    heard_.insert(heard_.end(), source.begin(), source.end());
    const double bound = std::ldexp(RoundingOfTransform(), -scaleFactor);
    for (std::size_t n = 0; n < source.size(); ++n) {
      const double sum = SumAt(start + n);
      const double scaled = std::clamp(std::ldexp(sum, -scaleFactor), -32768.0, 32767.0);
      const bool isRight = isDirect ? result[n] == StoredAsSample(sum, scaleFactor)
                                    : std::fabs(result[n] - scaled) <= 0.5 + bound;
      ASSERT_TRUE(isRight) << taps_.size() << " taps, sample " << n << " of " << source.size()
                           << ": " << result[n] << " for " << scaled;
    }
  }

 private:
  /// Half a unit of single precision, of taps and a block of samples at full scale. The largest
  /// error seen is a quarter of it.
  double RoundingOfTransform() const {
    double square = 0.0;
    for (const double tap : taps_)
      square += tap * tap;
    return std::sqrt(square * static_cast<double>(TransformLength(taps_.size()))) * 0x1p-10;
  }
  double SumAt(std::size_t n) const {
    int64_t sum = 0;
    for (std::size_t j = 0; j < integers_.size(); ++j)
      sum += int64_t{integers_[j]} * heard_[n - j];
    return std::ldexp(static_cast<double>(sum), -10);
  }

  std::vector<int32_t> integers_;
  Taps taps_;
  Samples heard_;
  StatePointer state_;
};

TEST(Fir, EveryCallLengthAroundEveryBoundary) {
  for (const std::size_t tapsLen :
       {1U, 2U, 3U, 4U, 5U, 8U, 63U, 64U, 127U, 128U, 511U, 2046U, 2048U, 2500U}) {
    const std::size_t ofBlock = TransformLength(tapsLen) + 1 - tapsLen;
    const std::size_t split = (tapsLen + 3) / 4 * 4 + 1;
    ExactFilter filter(tapsLen);
    uint64_t seed = 100;
    const std::vector<std::size_t> lengths = {
        1,         3,    tapsLen - 1, tapsLen, tapsLen + 1, split - 1, split,       split + 1,
        split + 6, 511,  512,         ofBlock, ofBlock + 1, 2,         2 * ofBlock, 2 * ofBlock + 1,
        2047,      2048, 2049,        5};
    for (const std::size_t length : lengths) {
      if (length > 0) filter.Run(RandomSamples(++seed, length), 4);
    }
  }
}

TEST(Fir, StreamsCutAtRandomEqualExactSums) {
  RandomElements random(1, false);
  for (const std::size_t tapsLen : {5U, 70U, 200U}) {
    ExactFilter filter(tapsLen);
    // Short ones, which are exact, tell what each long one has left in the delay line.
    for (int call = 0; call < 40; ++call) {
      const std::size_t length = RandomLength(random, call % 2 == 0 ? 1500 : 30);
      filter.Run(RandomSamples(random.Bits(), length), 5);
    }
  }
}

// Direct sums of zeros are zeros. In the rounding of a transform they drown, and a low scale factor
// shows that.
TEST(Fir, TransformRunsFrom64TapsAnd512SamplesOn) {
  struct Row {
    std::size_t tapsLen;
    std::size_t count;
    bool isTransformed;
  };
  for (const Row& row : {Row{63, 2000, false}, Row{64, 511, false}, Row{64, 512, true}}) {
    const auto integers = RandomIntegers(1, row.tapsLen, 512);
    Samples source = RandomSamples(2, row.count);
    std::fill_n(source.begin(), 8, int16_t{0});
    const Samples d = Filter(MakeState({integers.begin(), integers.end()}), source, -10);
    const bool isRounded =
        std::any_of(d.begin(), d.begin() + 8, [](int16_t sample) { return sample != 0; });
    EXPECT_EQ(isRounded, row.isTransformed) << row.tapsLen << " taps, " << row.count;
  }
}

TEST(Fir, RoundsSumsToFloatsBeforeItScales) {
  // 16777217 is between two floats, and what it is rounded to is on a tie.
  EXPECT_EQ(Filter(MakeState({16777216.0F, 1.0F}), {1, 1}, 25), (Samples{0, 0}));
  // From the oldest sample on.
  constexpr float kHuge = 0x1p60F;
  EXPECT_EQ(Filter(MakeState({1.0F, -kHuge, kHuge}), {1, 1, 1, 1}, 0), (Samples{1, -32768, 1, 1}));
  EXPECT_EQ(Filter(MakeState({1.0F}), {1, 16384, -16385}, -1), (Samples{2, 32767, -32768}));
}

TEST(Fir, DelayLineIsGivenSetAndCleared) {
  const Samples newestFirst = {5, 7, 9};
  const StatePointer state = MakeState({1.0F, 10.0F, 100.0F}, newestFirst);
  EXPECT_EQ(Filter(state, {1, 2}, 0), (Samples{751, 512}));
  EXPECT_EQ(ippsFIRSetDlyLine32f_16s(state.get(), nullptr), 0);
  EXPECT_EQ(Filter(state, {1, 2}, 0), (Samples{1, 12}));
  EXPECT_EQ(ippsFIRSetDlyLine32f_16s(state.get(), newestFirst.data()), 0);
  EXPECT_EQ(Filter(state, {1}, 0), (Samples{751}));
}

TEST(Fir, RefusesInOrderAndWritesNothing) {
  const std::array<float, 2> taps = {1.0F, 2.0F};
  const Samples source = {1, 2};
  Samples d = {8, 9};
  alignas(16) std::array<uint8_t, 256> bytes{};
  auto* const foreign = reinterpret_cast<Fir32f16s*>(bytes.data());
  const StatePointer owner = MakeState({1.0F});
  Fir32f16s* state = owner.get();

  EXPECT_EQ(ippsFIRInitAlloc32f_16s(nullptr, taps.data(), 0, nullptr), -8);
  EXPECT_EQ(ippsFIRInitAlloc32f_16s(&state, nullptr, 0, nullptr), -8);
  EXPECT_EQ(ippsFIRInitAlloc32f_16s(&state, taps.data(), 0, nullptr), -26);
  EXPECT_EQ(state, owner.get());
  EXPECT_EQ(ippsFIRSetDlyLine32f_16s(nullptr, source.data()), -8);
  EXPECT_EQ(ippsFIRSetDlyLine32f_16s(foreign, source.data()), -17);
  EXPECT_EQ(ippsFIR32f_16s_Sfs(nullptr, d.data(), 0, state, 0), -8);
  EXPECT_EQ(ippsFIR32f_16s_Sfs(source.data(), nullptr, 0, state, 0), -8);
  EXPECT_EQ(ippsFIR32f_16s_Sfs(source.data(), d.data(), 0, nullptr, 0), -8);
  EXPECT_EQ(ippsFIR32f_16s_Sfs(source.data(), d.data(), 0, foreign, 0), -6);
  EXPECT_EQ(ippsFIR32f_16s_Sfs(source.data(), d.data(), 1, foreign, 0), -17);
  EXPECT_EQ(ippsFIRFree32f_16s(nullptr), -8);
  EXPECT_EQ(ippsFIRFree32f_16s(foreign), -17);
  EXPECT_EQ(d, (Samples{8, 9}));
  EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 256);
}

TEST(Fir, SetUpThatFailsLeavesNothing) {
  const std::size_t before = LiveBlockCount();
  for (const std::size_t tapsLen : {4U, 64U, 1500U}) {
    const Taps taps(tapsLen, 1.0F);
    int32_t status = -9;
    for (std::size_t n = 1; status != 0; ++n) {
      ASSERT_EQ(status, -9);
      auto* state = reinterpret_cast<Fir32f16s*>(&status);
      const FailingAllocation failing(n);
      status = ippsFIRInitAlloc32f_16s(&state, taps.data(), static_cast<int32_t>(tapsLen), nullptr);
      ASSERT_EQ(state == nullptr, status != 0) << tapsLen << " taps, allocation " << n;
      if (status == 0) ippsFIRFree32f_16s(state);
      EXPECT_EQ(LiveBlockCount(), before);
    }
  }
  // Sizes that no memory has, and a transform that none can be.
  const float tap = 1.0F;
  for (const auto& [tapsLen, status] :
       {std::pair{1 << 28, -9}, {1 << 29, -15}, {std::numeric_limits<int32_t>::max(), -15}}) {
    Fir32f16s* state = nullptr;
    EXPECT_EQ(ippsFIRInitAlloc32f_16s(&state, &tap, tapsLen, nullptr), status);
    EXPECT_EQ(LiveBlockCount(), before);
  }
}

}  // namespace
}  // namespace zr::test
