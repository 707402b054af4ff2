// Two-band filter bank: its definition to the bit at every offset, however the stream is cut.
#include "primitives/filters/wavelet.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>

#include "primitives/filters/wavelet_state.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/misplaced_vector.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;
using Values = std::vector<float>;

struct Band {
  Values taps;
  int32_t offset;

  int32_t Length() const { return static_cast<int32_t>(taps.size()); }
};

struct FreeState {
  void operator()(WaveletForward16s* state) const { EXPECT_EQ(ippsWTFwdFree_16s32f(state), 0); }
  void operator()(WaveletInverse16s* state) const { EXPECT_EQ(ippsWTInvFree_32f16s(state), 0); }
};
using Forward = std::unique_ptr<WaveletForward16s, FreeState>;
using Inverse = std::unique_ptr<WaveletInverse16s, FreeState>;

template <typename Owner, typename SetUp>
Owner MakeWith(SetUp setUp, const Band& low, const Band& high) {
  typename Owner::pointer state = nullptr;
  EXPECT_EQ(setUp(&state, MisplacedVector(low.taps).Data(), low.Length(), low.offset,
                  MisplacedVector(high.taps).Data(), high.Length(), high.offset),
            0);
  return Owner(state);
}
Forward MakeForward(const Band& low, const Band& high) {
  return MakeWith<Forward>(ippsWTFwdInitAlloc_16s32f, low, high);
}
Inverse MakeInverse(const Band& low, const Band& high) {
  return MakeWith<Inverse>(ippsWTInvInitAlloc_32f16s, low, high);
}

struct Bands {
  Values low;
  Values high;
};

using Pieces = std::vector<std::size_t>;

Bands Split(const Forward& state, const Samples& x, const Pieces& pieces) {
  MisplacedVector source(x);
  MisplacedVector low(Values(x.size() / 2));
  MisplacedVector high(Values(x.size() / 2));
  std::size_t first = 0;
  for (const std::size_t count : pieces) {
    EXPECT_EQ(ippsWTFwd_16s32f(source.Data() + 2 * first, low.Data() + first, high.Data() + first,
                               static_cast<int32_t>(count), state.get()),
              0);
    first += count;
  }
  return {low.Content(), high.Content()};
}

Samples Join(const Inverse& state, const Bands& bands, const Pieces& pieces) {
  MisplacedVector low(bands.low);
  MisplacedVector high(bands.high);
  MisplacedVector d(Samples(2 * bands.low.size()));
  std::size_t first = 0;
  for (const std::size_t count : pieces) {
    EXPECT_EQ(ippsWTInv_32f16s(low.Data() + first, high.Data() + first, static_cast<int32_t>(count),
                               d.Data() + 2 * first, state.get()),
              0);
    first += count;
  }
  return d.Content();
}

/// The sum of t[j] * x(place - j), from the oldest on; of what is outside, zeros.
template <typename Signal>
double Convolved(const Values& taps, const std::vector<Signal>& x, std::ptrdiff_t place) {
  double sum = 0;
  for (std::size_t j = taps.size(); j-- > 0;) {
    const std::ptrdiff_t at = place - static_cast<std::ptrdiff_t>(j);
    const bool isInside = at >= 0 && at < static_cast<std::ptrdiff_t>(x.size());
    sum += taps[j] * static_cast<double>(isInside ? x[static_cast<std::size_t>(at)] : Signal{0});
  }
  return sum;
}

Values SplitByDefinition(const Band& band, const Samples& x) {
  Values y;
  for (std::size_t k = 0; k < x.size() / 2; ++k)
    y.push_back(
        StoredAsFloat(Convolved(band.taps, x, 2 * static_cast<std::ptrdiff_t>(k) - band.offset)));
  return y;
}

std::vector<double> Contribution(const Band& band, const Values& s) {
  Values u(2 * s.size());
  for (std::size_t k = 0; k < s.size(); ++k)
    u[2 * k] = s[k];
  const int32_t delay = band.offset == -1 ? 1 : band.offset;
  std::vector<double> z;
  for (std::size_t m = 0; m < u.size(); ++m)
    z.push_back(Convolved(band.taps, u, static_cast<std::ptrdiff_t>(m) - delay));
  return z;
}

Samples JoinByDefinition(const Band& low, const Band& high, const Bands& bands) {
  const std::vector<double> fromLow = Contribution(low, bands.low);
  const std::vector<double> fromHigh = Contribution(high, bands.high);
  Samples x;
  for (std::size_t m = 0; m < fromLow.size(); ++m) {
    const double rounded = StoredAsFloat(fromLow[m]);
    x.push_back(StoredAsSample(rounded + fromHigh[m], 0));
  }
  return x;
}

Pieces RandomPieces(RandomElements& random, std::size_t total) {
  Pieces pieces;
  while (total > 0) {
    pieces.push_back(RandomLength(random, std::min<std::size_t>(total, 9)));
    total -= pieces.back();
  }
  return pieces;
}

// Of no short fractions, below a third of the scale.
Values RandomThirds(RandomElements& random, std::size_t count, float scale = 1) {
  Values values(count);
  for (float& value : values)
    value = scale * static_cast<float>(random.Next<int16_t>()) / 98304;
  return values;
}

void ExpectDefinition(RandomElements& random, const Band& low, const Band& high, std::size_t count,
                      const Pieces& pieces) {
  const Samples x = RandomSamples(random.Bits(), 2 * count);
  const Bands split = Split(MakeForward(low, high), x, pieces);
  ASSERT_EQ(Bits(split.low), Bits(SplitByDefinition(low, x)));
  ASSERT_EQ(Bits(split.high), Bits(SplitByDefinition(high, x)));

  const Bands bands = {RandomThirds(random, count, 10000), RandomThirds(random, count, 10000)};
  ASSERT_EQ(Join(MakeInverse(low, high), bands, pieces), JoinByDefinition(low, high, bands));
}

TEST(Wavelet, IsItsDefinitionAtEveryLengthAndOffsetHoweverItIsCut) {
  RandomElements random(1, false);
  for (std::size_t length = 1; length <= 40; ++length) {
    const Values highTaps = RandomThirds(random, RandomLength(random, 40));
    const Values lowTaps = RandomThirds(random, length);
    for (int32_t offset = -1; offset <= 41; ++offset) {
      const Band low = {lowTaps, offset};
      const Band high = {highTaps, static_cast<int32_t>(random.Bits() % 12) - 1};
      const std::size_t count = RandomLength(random, 90);
      SCOPED_TRACE(testing::Message() << length << " taps, offset " << offset << ", high band "
                                      << highTaps.size() << ", " << high.offset);
      ExpectDefinition(random, low, high, count, {count});
      ExpectDefinition(random, low, high, count, RandomPieces(random, count));
    }
  }
}

TEST(Wavelet, BlocksLeaveNoSeam) {
  RandomElements random(2, false);
  // Taps and delays shorter and longer than a block of 1024 samples.
  for (const std::size_t length : {3U, 8U, 1025U}) {
    for (const int32_t offset : {-1, 0, 5, 1023, 1024, 2050}) {
      const Band low = {RandomThirds(random, length), offset};
      const Band high = {RandomThirds(random, 2), 2050 - offset};
      SCOPED_TRACE(testing::Message() << length << " taps, offset " << offset);
      for (const std::size_t count : {511U, 512U, 513U, 1025U})
        ExpectDefinition(random, low, high, count, {count});
      ExpectDefinition(random, low, high, 1000, {1, 7, 512, 480});
    }
  }
}

TEST(Wavelet, RoundsTheLowBandThenTheSumThenTheSample) {
  // The third output is t[0] s[1] + t[2] s[0].
  const auto third = [](const Values& lowTaps, const Bands& bands) {
    return Join(MakeInverse({lowTaps, 0}, {{1, 0, 0x1p-24F}, 0}), bands, {2})[2];
  };
  // 0.5 and 2^-30 become the tie 0.5 where the low band is rounded.
  EXPECT_EQ(third({0.5F, 0, 0x1p-30F}, {{1, 1}, {0, 0}}), 0);
  // 1.5 + 2^-24 - 1 is above a tie, but a float beside 1.5 would have lost that.
  EXPECT_EQ(third({1, 0, 0}, {{0, -1}, {1, 1.5F}}), 1);
  EXPECT_EQ(third({30000, 0, 0}, {{0, 1}, {0, 30000}}), 32767);
  // A NaN is the lowest sample. It meets the taps at even indices only.
  EXPECT_EQ(Join(MakeInverse({{1}, 0}, {{1}, 0}), {{0}, {kNaN}}, {1}), (Samples{-32768, 0}));
}

template <typename State, typename SetUp>
void ExpectSetUpRefuses(SetUp setUp) {
  const Values taps = {1, 1};
  constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
  const std::size_t before = LiveBlockCount();
  auto* const untouched = reinterpret_cast<State*>(&setUp);
  State* state = untouched;
  const float* const t = taps.data();
  EXPECT_EQ(setUp(nullptr, t, 0, 0, nullptr, 0, 0), -8);
  EXPECT_EQ(setUp(&state, nullptr, 0, 0, t, 2, 0), -8);
  EXPECT_EQ(setUp(&state, t, 0, 0, nullptr, 2, 0), -6);
  EXPECT_EQ(setUp(&state, t, 2, -2, nullptr, 0, 0), -8);
  EXPECT_EQ(setUp(&state, t, 2, -2, t, kLowest, 0), -6);
  EXPECT_EQ(setUp(&state, t, 2, -2, t, 2, 0), -35);
  EXPECT_EQ(setUp(&state, t, 2, 0, t, 2, kLowest), -35);
  EXPECT_EQ(state, untouched);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(setUp(&state, t, 2, 3, t, 2, 0), -9);
  }
  EXPECT_EQ(state, nullptr);
  state = untouched;
  EXPECT_EQ(setUp(&state, t, 2, std::numeric_limits<int32_t>::max(), t, 2, 0), -9);
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(LiveBlockCount(), before);
}

TEST(Wavelet, SetUpRefusesInOrderAndLeavesNothing) {
  ExpectSetUpRefuses<WaveletForward16s>(ippsWTFwdInitAlloc_16s32f);
  ExpectSetUpRefuses<WaveletInverse16s>(ippsWTInvInitAlloc_32f16s);
}

/// refused() while each field in turn holds what no sound state has.
template <typename State, typename Refused>
void DamageCommonFields(State* state, Refused refused) {
  const auto damage = [&](auto* field, auto damaged) {
    const auto sound = *field;
    *field = damaged;
    refused();
    *field = sound;
  };
  damage(&state->magic, 0);
  damage(&state->low, nullptr);
  damage(&state->high, nullptr);
  damage(&state->work, nullptr);
  for (const int32_t length : {0, -1})
    damage(&state->workLength, length);
  for (auto* const channel : {state->low, state->high}) {
    for (auto* const ring : {channel->delay, &channel->history}) {
      damage(&ring->data, nullptr);
      damage(&ring->length, 0);
      for (const int32_t position : {-1, ring->length})
        damage(&ring->position, position);
    }
  }
  for (const int32_t bit : {-1, 2}) {
    if constexpr (std::is_same_v<State, WaveletForward16s>) {
      damage(&state->low->oddStart, bit);
      damage(&state->high->reversedTaps, nullptr);
    } else {
      damage(&state->low->phase, bit);
      damage(&state->high->evenTaps, nullptr);
      damage(&state->high->oddTaps, nullptr);
    }
  }
}

TEST(Wavelet, RefusesInOrderForeignAndDamagedStates) {
  const Band band = {{1, 2}, 2};
  const Forward forward = MakeForward(band, band);
  const Inverse inverse = MakeInverse(band, band);
  auto* const foreignForward = reinterpret_cast<WaveletForward16s*>(inverse.get());
  auto* const foreignInverse = reinterpret_cast<WaveletInverse16s*>(forward.get());
  std::array<int16_t, 4> x = {1, 2, 3, 4};
  std::array<float, 2> low = {5, 6};
  std::array<float, 2> high = {7, 8};
  const auto split = [&](WaveletForward16s* state) {
    return ippsWTFwd_16s32f(x.data(), low.data(), high.data(), 2, state);
  };
  const auto join = [&](WaveletInverse16s* state) {
    return ippsWTInv_32f16s(low.data(), high.data(), 2, x.data(), state);
  };
  EXPECT_EQ(ippsWTFwd_16s32f(nullptr, nullptr, nullptr, 0, nullptr), -8);
  EXPECT_EQ(ippsWTFwd_16s32f(nullptr, nullptr, nullptr, 0, foreignForward), -17);
  EXPECT_EQ(ippsWTFwd_16s32f(nullptr, low.data(), high.data(), 0, forward.get()), -8);
  EXPECT_EQ(ippsWTFwd_16s32f(x.data(), nullptr, high.data(), 0, forward.get()), -8);
  EXPECT_EQ(ippsWTFwd_16s32f(x.data(), low.data(), nullptr, 0, forward.get()), -8);
  EXPECT_EQ(ippsWTFwd_16s32f(x.data(), low.data(), high.data(), 0, forward.get()), -6);
  EXPECT_EQ(ippsWTInv_32f16s(nullptr, nullptr, 0, nullptr, nullptr), -8);
  EXPECT_EQ(ippsWTInv_32f16s(nullptr, nullptr, 0, nullptr, foreignInverse), -17);
  EXPECT_EQ(ippsWTInv_32f16s(nullptr, high.data(), 0, x.data(), inverse.get()), -8);
  EXPECT_EQ(ippsWTInv_32f16s(low.data(), nullptr, 0, x.data(), inverse.get()), -8);
  EXPECT_EQ(ippsWTInv_32f16s(low.data(), high.data(), 0, nullptr, inverse.get()), -6);
  EXPECT_EQ(ippsWTInv_32f16s(low.data(), high.data(), 1, nullptr, inverse.get()), -8);
  EXPECT_EQ(ippsWTFwdFree_16s32f(nullptr), -8);
  EXPECT_EQ(ippsWTInvFree_32f16s(nullptr), -8);
  EXPECT_EQ(ippsWTFwdFree_16s32f(foreignForward), -17);
  EXPECT_EQ(ippsWTInvFree_32f16s(foreignInverse), -17);
  DamageCommonFields(forward.get(), [&] {
    EXPECT_EQ(split(forward.get()), -17);
    EXPECT_EQ(ippsWTFwdFree_16s32f(forward.get()), -17);
  });
  DamageCommonFields(inverse.get(), [&] {
    EXPECT_EQ(join(inverse.get()), -17);
    EXPECT_EQ(ippsWTInvFree_32f16s(inverse.get()), -17);
  });
  EXPECT_EQ(x, (std::array<int16_t, 4>{1, 2, 3, 4}));
  EXPECT_EQ(low, (std::array<float, 2>{5, 6}));
  EXPECT_EQ(high, (std::array<float, 2>{7, 8}));
  // Nothing of this went into the streams: both are still silent before their first value.
  EXPECT_EQ(split(forward.get()), 0);
  EXPECT_EQ(low, (std::array<float, 2>{0, 1}));
  EXPECT_EQ(join(inverse.get()), 0);
  EXPECT_EQ(x, (std::array<int16_t, 4>{0, 0, 0, 0}));
}

}  // namespace
}  // namespace zr::test
