// FIR filter: both ways against exact sums, across every cut of a stream.
#include "primitives/filters/fir.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "primitives/memory.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/guarded_buffer.h"

namespace zr::test {
namespace {

struct FreeState {
  void operator()(Fir32f16s* state) const { EXPECT_EQ(ippsFIRFree32f_16s(state), 0); }
};
using StatePointer = std::unique_ptr<Fir32f16s, FreeState>;

StatePointer MakeState(const std::vector<float>& taps, const int16_t* delayLine) {
  Fir32f16s* state = nullptr;
  const auto length = static_cast<int32_t>(taps.size());
  EXPECT_EQ(ippsFIRInitAlloc32f_16s(&state, taps.data(), length, delayLine), 0);
  return StatePointer(state);
}

using Samples = std::vector<int16_t>;

std::size_t TransformLength(std::size_t tapsLen) {
  return std::bit_ceil(tapsLen + 1) * 2;
}

Samples Filter(Fir32f16s* state, const Samples& source, int32_t scaleFactor) {
  Samples d(source.size());
  const auto count = static_cast<int32_t>(source.size());
  EXPECT_EQ(ippsFIR32f_16s_Sfs(source.data(), d.data(), count, state, scaleFactor), 0);
  return d;
}

/// A filter whose taps are integers times 2^-10, what it has heard, and what it has to say.
class ExactFilter {
 public:
  ExactFilter(uint64_t seed, std::size_t tapsLen)
      : integers_(RandomIntegers(seed, tapsLen, 512)), heard_(RandomSamples(seed + 1, tapsLen)) {
    for (const int32_t integer : integers_)
      taps_.push_back(std::ldexp(static_cast<float>(integer), -10));
    const Samples newestFirst(heard_.rbegin(), heard_.rend());
    state_ = MakeState(taps_, newestFirst.data());
  }

  /// The next samples of the stream. Sums that are formed directly have one result to the bit. A
  /// transform may take a result over a tie where its own rounding does.
  void Run(const Samples& source, int32_t scaleFactor) {
    const Samples result = Filter(state_.get(), source, scaleFactor);
    const bool isDirect = source.size() < 512 || taps_.size() < 64;
    const std::size_t start = heard_.size();
    heard_.insert(heard_.end(), source.begin(), source.end());
    const double bound = std::ldexp(RoundingOfTransform(), -scaleFactor);
    for (std::size_t n = 0; n < source.size(); ++n) {
      const double sum = SumAt(start + n);
      const auto place = testing::Message()
                         << taps_.size() << " taps, sample " << n << " of " << source.size();
      if (isDirect) {
        ASSERT_EQ(result[n], StoredAsSample(sum, scaleFactor)) << place;
      } else {
        const double scaled = std::clamp(std::ldexp(sum, -scaleFactor), -32768.0, 32767.0);
        ASSERT_LE(std::fabs(result[n] - scaled), 0.5 + bound) << place;
      }
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
  std::vector<float> taps_;
  Samples heard_;
  StatePointer state_;
};

TEST(Fir, EveryCallLengthAroundEveryBoundary) {
  for (const std::size_t tapsLen :
       {1U, 2U, 3U, 4U, 5U, 8U, 63U, 64U, 127U, 128U, 511U, 2046U, 2048U, 2500U}) {
    const std::size_t ofBlock = TransformLength(tapsLen) + 1 - tapsLen;
    const std::size_t split = (tapsLen + 3) / 4 * 4 + 1;
    ExactFilter filter(tapsLen, tapsLen);
    uint64_t seed = 100;
    for (const std::size_t length : {std::size_t{1},
                                     std::size_t{3},
                                     tapsLen - 1,
                                     tapsLen,
                                     tapsLen + 1,
                                     split - 1,
                                     split,
                                     split + 1,
                                     split + 6,
                                     std::size_t{511},
                                     std::size_t{512},
                                     ofBlock,
                                     ofBlock + 1,
                                     std::size_t{2},
                                     2 * ofBlock,
                                     2 * ofBlock + 1,
                                     std::size_t{2047},
                                     std::size_t{2048},
                                     std::size_t{2049},
                                     std::size_t{5}}) {
      if (length > 0) filter.Run(RandomSamples(++seed, length), 4);
    }
  }
}

TEST(Fir, StreamsCutAtRandomEqualExactSums) {
  RandomElements random(1, false);
  for (const std::size_t tapsLen : {5U, 70U, 200U}) {
    ExactFilter filter(tapsLen, tapsLen);
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
    const StatePointer state = MakeState({integers.begin(), integers.end()}, nullptr);
    Samples source = RandomSamples(2, row.count);
    std::fill_n(source.begin(), 8, int16_t{0});
    const Samples d = Filter(state.get(), source, -10);
    const bool isRounded =
        std::any_of(d.begin(), d.begin() + 8, [](int16_t sample) { return sample != 0; });
    EXPECT_EQ(isRounded, row.isTransformed) << row.tapsLen << " taps, " << row.count;
  }
}

TEST(Fir, ScalesRoundsAndSaturates) {
  struct Row {
    std::vector<float> taps;
    Samples source;
    int32_t scaleFactor;
    Samples expected;
    const char* what;
  };
  constexpr float kHuge = 0x1p60F;
  const std::vector<Row> rows = {
      {{1.0F}, {-32768, 0, 32767}, 0, {-32768, 0, 32767}, "one tap of one"},
      {{1.0F}, {1, 3, 5, -1, -3}, 1, {0, 2, 2, 0, -2}, "ties go to even"},
      {{1.0F}, {1, 16384, -16384, -16385}, -1, {2, 32767, -32768, -32768}, "saturation"},
      {{1.0F, 1.0F}, {1, 1}, std::numeric_limits<int32_t>::min(), {32767, 32767}, "lowest factor"},
      {{1.0F}, {32767}, std::numeric_limits<int32_t>::max(), {0}, "highest factor"},
      // 16777217 is between two floats, and what it is rounded to is on a tie.
      {{16777216.0F, 1.0F}, {1, 1}, 25, {0, 0}, "the sum is a float before it is scaled"},
      {{1.0F, -kHuge, kHuge}, {1, 1, 1, 1}, 0, {1, -32768, 1, 1}, "sums run from the oldest"},
      {{std::numeric_limits<float>::quiet_NaN()}, {1}, 0, {-32768}, "a NaN"},
  };
  for (const Row& row : rows) {
    const StatePointer state = MakeState(row.taps, nullptr);
    EXPECT_EQ(Filter(state.get(), row.source, row.scaleFactor), row.expected) << row.what;
  }
}

TEST(Fir, DelayLineIsGivenSetAndCleared) {
  const std::vector<float> taps = {1.0F, 10.0F, 100.0F};
  const std::array<int16_t, 3> newestFirst = {5, 7, 9};
  const StatePointer state = MakeState(taps, newestFirst.data());
  EXPECT_EQ(Filter(state.get(), {1, 2}, 0), (Samples{751, 512}));
  EXPECT_EQ(ippsFIRSetDlyLine32f_16s(state.get(), nullptr), 0);
  EXPECT_EQ(Filter(state.get(), {1, 2}, 0), (Samples{1, 12}));
  EXPECT_EQ(ippsFIRSetDlyLine32f_16s(state.get(), newestFirst.data()), 0);
  EXPECT_EQ(Filter(state.get(), {1}, 0), (Samples{751}));
}

TEST(Fir, VectorsStandAtAnyAddress) {
  for (const std::size_t tapsLen : {6U, 64U}) {
    for (const std::size_t count : {5U, 40U, 600U}) {
      const auto integers = RandomIntegers(1, tapsLen, 512);
      const std::vector<float> taps(integers.begin(), integers.end());
      const Samples heard = RandomSamples(2, tapsLen);
      const Samples source = RandomSamples(3, count);
      const StatePointer aligned = MakeState(taps, heard.data());
      const Samples expected = Filter(aligned.get(), source, 14);

      GuardedBuffer tapsBytes(tapsLen * sizeof(float), 1);
      GuardedBuffer heardBytes(tapsLen * sizeof(int16_t), 1);
      GuardedBuffer sourceBytes(count * sizeof(int16_t), 3);
      GuardedBuffer outputBytes(count * sizeof(int16_t), 5);
      std::memcpy(tapsBytes.Data(), taps.data(), tapsBytes.Size());
      std::memcpy(heardBytes.Data(), heard.data(), heardBytes.Size());
      std::memcpy(sourceBytes.Data(), source.data(), sourceBytes.Size());
      Fir32f16s* state = nullptr;
      ASSERT_EQ(ippsFIRInitAlloc32f_16s(&state, reinterpret_cast<const float*>(tapsBytes.Data()),
                                        static_cast<int32_t>(tapsLen),
                                        reinterpret_cast<const int16_t*>(heardBytes.Data())),
                0);
      const StatePointer owner(state);
      EXPECT_EQ(ippsFIR32f_16s_Sfs(reinterpret_cast<const int16_t*>(sourceBytes.Data()),
                                   reinterpret_cast<int16_t*>(outputBytes.Data()),
                                   static_cast<int32_t>(count), state, 14),
                0);
      Samples result(count);
      std::memcpy(result.data(), outputBytes.Data(), outputBytes.Size());
      EXPECT_EQ(result, expected) << tapsLen << " taps, " << count << " samples";
      EXPECT_TRUE(outputBytes.IsGuardIntact());
    }
  }
}

TEST(Fir, RefusesInOrderAndWritesNothing) {
  const std::array<float, 2> taps = {1.0F, 2.0F};
  const std::array<int16_t, 2> source = {1, 2};
  std::array<int16_t, 2> d = {8, 9};
  alignas(16) std::array<uint8_t, 256> bytes{};
  auto* const foreign = reinterpret_cast<Fir32f16s*>(bytes.data());
  const StatePointer owner = MakeState({1.0F}, nullptr);
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
  EXPECT_EQ(d, (std::array<int16_t, 2>{8, 9}));
  EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 256);
}

TEST(Fir, SetUpThatFailsLeavesNothing) {
  const std::size_t before = LiveBlockCount();
  for (const std::size_t tapsLen : {4U, 64U, 1500U}) {
    const std::vector<float> taps(tapsLen, 1.0F);
    int32_t status = -9;
    for (std::size_t n = 1; status != 0; ++n) {
      ASSERT_EQ(status, -9);
      auto* state = reinterpret_cast<Fir32f16s*>(&status);
      const FailingAllocation failing(n);
      status = ippsFIRInitAlloc32f_16s(&state, taps.data(), static_cast<int32_t>(tapsLen), nullptr);
      ASSERT_EQ(state == nullptr, status != 0) << tapsLen << " taps, allocation " << n;
      if (status == 0) ippsFIRFree32f_16s(state);
    }
    EXPECT_EQ(LiveBlockCount(), before);
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
