// Changes of the sampling rate: the resampler against its prototype in the widest arithmetic, with
// no phases, steps and filters in between; sines that come out where they belong; streams.
#include "primitives/filters/resampling.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <numeric>
#include <utility>

#include "tests/common/test_memory.h"
#include "tests/primitives/bits.h"
#include "tests/primitives/extended_precision.h"
#include "tests/primitives/filter_signals.h"
#include "tests/primitives/misplaced_vector.h"

namespace zr::test {
namespace {

using Samples = std::vector<int16_t>;
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

TEST(SampleRate, ZerosArePutInAndSamplesLeftOut) {
  struct Row {
    Samples source;
    int32_t factor;
    int32_t phase;
    Samples up;  ///< Empty: more than can be counted.
    Samples down;
    int32_t phaseAfterDown;
  };
  const std::vector<Row> rows = {
      {{7, 8}, 3, 1, {0, 7, 0, 0, 8, 0}, {8}, 2},
      {{1, 2, 3, 4, 5}, 3, 1, {0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0, 5, 0}, {2, 5}, 2},
      {{1, 2, 3}, 1, 0, {1, 2, 3}, {1, 2, 3}, 0},
      {{1, 2, 3, 4}, 2, 0, {1, 0, 2, 0, 3, 0, 4, 0}, {1, 3}, 0},
      {{1}, 4, 3, {0, 0, 0, 1}, {}, 2},
      {{5, 6}, 1 << 30, 1, {}, {6}, (1 << 30) - 1},
      {{5, 6}, kHighest, 1, {}, {6}, kHighest - 1},
  };
  for (const Row& row : rows) {
    const auto srcLen = static_cast<int32_t>(row.source.size());
    MisplacedVector source(row.source);
    MisplacedVector d(Samples(1 + row.up.size(), -1));
    MisplacedVector dstLen(std::vector<int32_t>{-1});
    MisplacedVector phase(std::vector<int32_t>{row.phase});
    const int32_t status =
        ippsSampleUp_16s(source.Data(), srcLen, d.Data(), dstLen.Data(), row.factor, phase.Data());
    EXPECT_EQ(status, row.up.empty() ? -6 : 0);
    Samples up = row.up;
    up.push_back(-1);
    EXPECT_EQ(d.Content(), up);
    EXPECT_EQ(dstLen.Content()[0], status == 0 ? srcLen * row.factor : -1);
    EXPECT_EQ(phase.Content()[0], row.phase);

    EXPECT_EQ(ippsSampleDown_16s(source.Data(), srcLen, source.Data(), dstLen.Data(), row.factor,
                                 phase.Data()),
              0);
    Samples down = source.Content();
    down.resize(static_cast<std::size_t>(dstLen.Content()[0]));
    EXPECT_EQ(down, row.down);
    EXPECT_EQ(phase.Content()[0], row.phaseAfterDown);
  }
}

TEST(SampleRate, DecimationGoesOnFromCallToCall) {
  RandomElements random(1, false);
  const Samples source = RandomSamples(1, 1000);
  for (const std::size_t factor : {2U, 3U, 7U, 50U}) {
    int32_t phase = 1;
    Samples kept;
    for (std::size_t first = 0; first < source.size();) {
      const std::size_t count = std::min(RandomLength(random, 20), source.size() - first);
      Samples d(count);
      int32_t dstLen = 0;
      EXPECT_EQ(ippsSampleDown_16s(source.data() + first, static_cast<int32_t>(count), d.data(),
                                   &dstLen, static_cast<int32_t>(factor), &phase),
                0);
      kept.insert(kept.end(), d.begin(), d.begin() + dstLen);
      first += count;
    }
    Samples expected;
    for (std::size_t i = 1; i < source.size(); i += factor)
      expected.push_back(source[i]);
    EXPECT_EQ(kept, expected) << factor;
  }
}

TEST(SampleRate, RefusesInOrderAndWritesNothing) {
  using Function = int32_t (*)(const int16_t*, int32_t, int16_t*, int32_t*, int32_t, int32_t*);
  const Samples source = {1, 2};
  Samples d = {3, 4};
  int32_t dstLen = 5;
  int32_t phase = 9;
  for (const Function change : {ippsSampleUp_16s, ippsSampleDown_16s}) {
    EXPECT_EQ(change(nullptr, 0, d.data(), &dstLen, 0, &phase), -8);
    EXPECT_EQ(change(source.data(), 0, nullptr, &dstLen, 0, &phase), -8);
    EXPECT_EQ(change(source.data(), 0, d.data(), nullptr, 0, &phase), -8);
    EXPECT_EQ(change(source.data(), 0, d.data(), &dstLen, 0, nullptr), -8);
    EXPECT_EQ(change(source.data(), 0, d.data(), &dstLen, 0, &phase), -6);
    EXPECT_EQ(change(source.data(), 2, d.data(), &dstLen, 0, &phase), -31);
    EXPECT_EQ(change(source.data(), 2, d.data(), &dstLen, 9, &phase), -30);
    int32_t negative = -1;
    EXPECT_EQ(change(source.data(), 2, d.data(), &dstLen, 9, &negative), -30);
  }
  EXPECT_EQ(d, (Samples{3, 4}));
  EXPECT_EQ(dstLen, 5);
  EXPECT_EQ(phase, 9);
}

struct FreeState {
  void operator()(Resampler16s* state) const {
    EXPECT_EQ(ippsResamplePolyphaseFixedFree_16s(state), 0);
  }
};
using Resampler = std::unique_ptr<Resampler16s, FreeState>;

struct Design {
  int32_t inRate;
  int32_t outRate;
  int32_t len;
  float rolloff;
  float alpha;
  bool hasFloatTaps;

  int32_t Half() const { return (len + 3) / 4 * 2; }
  int64_t In() const { return inRate / std::gcd(inRate, outRate); }
  int64_t Out() const { return outRate / std::gcd(inRate, outRate); }

  Resampler Make() const {
    Resampler16s* state = nullptr;
    EXPECT_EQ(ippsResamplePolyphaseFixedInitAlloc_16s(&state, inRate, outRate, len, rolloff, alpha,
                                                      hasFloatTaps ? 2 : 0),
              0);
    return Resampler(state);
  }
};

struct Outputs {
  Samples samples;
  double time;
};

/// The run of len samples from the time on, with `before` samples of the source in front of it.
Outputs Resample(const Design& design, const Samples& source, int32_t before, int32_t len,
                 double time, float norm = 1.0F) {
  const Resampler state = design.Make();
  MisplacedVector d(Samples(2 + static_cast<std::size_t>(len * design.Out() / design.In())));
  MisplacedVector timeAfter(std::vector<double>{time});
  MisplacedVector count(std::vector<int32_t>{-1});
  EXPECT_EQ(ippsResamplePolyphaseFixed_16s(state.get(), MisplacedVector(source).Data() + before,
                                           len, d.Data(), norm, timeAfter.Data(), count.Data()),
            0);
  Samples samples = d.Content();
  samples.resize(static_cast<std::size_t>(count.Content()[0]));
  return {samples, timeAfter.Content()[0]};
}

/// The taps, as fractions of 1, by their distance in units of 1 / Out.
std::vector<long double> Prototype(const Design& design) {
  constexpr long double kPi = std::numbers::pi_v<long double>;
  const auto larger = static_cast<std::size_t>(std::max(design.In(), design.Out()));
  const auto end = static_cast<std::size_t>(
      std::floor(design.Half() * design.Out() + 0.5e-5L * static_cast<long double>(larger)));
  std::vector<long double> taps = {design.rolloff};
  for (std::size_t i = 1; i <= end; ++i) {
    const auto angle = static_cast<long double>(i) * kPi / static_cast<long double>(larger);
    const auto place = static_cast<long double>(i) / static_cast<long double>(end);
    const long double x = design.alpha * std::sqrt(1 - place * place);
    taps.push_back(std::sin(angle * design.rolloff) / angle * std::cyl_bessel_i(0.0L, x) /
                   std::cyl_bessel_i(0.0L, static_cast<long double>(design.alpha)));
  }
  long double sum = taps[0];
  for (std::size_t i = larger; i < taps.size(); i += larger)
    sum += 2 * taps[i];
  for (long double& tap : taps)
    tap /= sum;
  return taps;
}

/// What a run from a place in units of 1 / Out gives: each sample meets the tap of its distance.
std::vector<long double> ByPrototype(const Design& design, const Samples& source, int64_t place,
                                     std::size_t count) {
  const ExtendedPrecision widest;
  const std::vector<long double> taps = Prototype(design);
  const int64_t reach = design.Half() * design.Out();
  std::vector<long double> outputs;
  for (std::size_t n = 0; n < count; ++n, place += design.In()) {
    long double sum = 0;
    for (std::size_t i = 0; i < source.size(); ++i) {
      const int64_t distance = std::abs(static_cast<int64_t>(i) * design.Out() - place);
      if (distance > reach) continue;
      const long double tap = taps[static_cast<std::size_t>(distance)];
      sum += source[i] * (design.hasFloatTaps ? tap : std::round(tap * 16384) / 16384);
    }
    outputs.push_back(design.Out() < design.In() ? sum * design.Out() / design.In() : sum);
  }
  return outputs;
}

TEST(Resampling, IsItsPrototypeAtEveryPlace) {
  struct Row {
    Design design;
    double time;    ///< Behind `half` samples.
    int64_t start;  ///< Its nearest place behind the integer part of the time.
    double integerPart;
  };
  const std::vector<Row> rows = {
      {{44100, 22050, 16, 0.9F, 5.0F, false}, 0.0, 0, 0},
      {{8000, 16000, 16, 1.0F, 1.0F, false}, 20.5, 1, 20},
      {{8000, 16000, 13, 0.95F, 9.0F, true}, 20.999, 2, 20},
      {{44100, 48000, 24, 0.95F, 8.0F, true}, 3.25, 40, 3},
      {{44100, 48000, 24, 0.95F, 8.0F, false}, 7.003, 0, 7},
      {{48000, 44100, 17, 0.9F, 6.0F, true}, 0.997, 147, 0},
      {{3, 1, 1, 0.5F, 2.0F, false}, 5.75, 1, 5},
      {{1, 1, 6, 0.3F, 3.0F, true}, 2.25, 0, 2},
      {{7, 3, 9, 0.85F, 12.0F, false}, -4.5, 2, -5},
      {{3, 7, 33, 0.7F, 4.0F, true}, -0.01, 7, -1},
      {{65535, 1, 4, 1.0F, 1.0F, true}, 0.0, 0, 0},
  };
  for (const Row& row : rows) {
    const Design& design = row.design;
    SCOPED_TRACE(testing::Message() << design.inRate << " to " << design.outRate);
    const int32_t before = design.Half() + 5;
    const int32_t len = 90;
    Samples source = RandomSamples(1, static_cast<std::size_t>(before + 26 + len + design.Half()));
    for (int16_t& sample : source)
      sample = static_cast<int16_t>(sample / 2);
    const Outputs result = Resample(design, source, before, len, row.time);
    const auto whole = static_cast<int64_t>(row.integerPart);
    const int64_t start = whole * design.Out() + row.start;
    const int64_t end = (whole + len) * design.Out();
    const auto count = static_cast<std::size_t>((end - start + design.In() - 1) / design.In());
    ASSERT_EQ(result.samples.size(), count);
    const auto exact = ByPrototype(design, source, before * design.Out() + start, count);
    // Taps that are rounded to floats, each by half of 2^-24 or less, move an output by this.
    const double bound = design.hasFloatTaps ? 0.02 : 0.0001;
    for (std::size_t n = 0; n < count; ++n) {
      const auto y = static_cast<double>(std::clamp(exact[n], -32768.0L, 32767.0L));
      ASSERT_LE(std::fabs(result.samples[n] - y), 0.5 + bound) << n;
    }
    const double passed = static_cast<double>(count) * static_cast<double>(design.In());
    EXPECT_NEAR(result.time, row.time + passed / static_cast<double>(design.Out()), 1e-9);
  }
}

TEST(Resampling, ScalesRoundsAndSaturates) {
  // One phase at the full band: the filter is a single tap of 1.
  const Design identity = {1, 1, 4, 1.0F, 1.0F, false};
  const Samples source = {9, 9, 3, -3, 1, -1, 32767, -32768, 9, 9};
  struct Row {
    float norm;
    Samples expected;
  };
  const std::vector<Row> rows = {
      {1.0F, {3, -3, 1, -1, 32767, -32768}},
      {0.5F, {2, -2, 1, -1, 16384, -16384}},
      {-2.0F, {-6, 6, -2, 2, -32768, 32767}},
      {kNaN, {-32768, -32768, -32768, -32768, -32768, -32768}},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Resample(identity, source, 2, 6, 0.0, row.norm).samples, row.expected) << row.norm;
  // The place of the next output lies behind the run already.
  const Outputs none = Resample({1, 2, 4, 0.9F, 5.0F, true}, Samples(9), 4, 1, 0.8);
  EXPECT_EQ(none.samples, Samples());
  EXPECT_EQ(none.time, 0.8);
}

constexpr double kAmplitude = 30000;

/// The largest error over a sine of so many turns for a sample; it comes out with the gain.
double ErrorOfSine(const Design& design, double frequency, double gain) {
  constexpr int32_t kLen = 400;
  const auto sine = [=](double place) {
    return kAmplitude * std::sin(2 * std::numbers::pi * frequency * place);
  };
  const int32_t half = design.Half();
  Samples source;
  for (int32_t i = 0; i < kLen + 2 * half; ++i)
    source.push_back(static_cast<int16_t>(std::lround(sine(i))));
  const Samples result = Resample(design, source, 0, kLen, half + 0.0).samples;
  double largest = 0;
  for (std::size_t n = 0; n < result.size(); ++n) {
    const double place = half + static_cast<double>(n) * design.inRate / design.outRate;
    largest = std::max(largest, std::fabs(result[n] - gain * sine(place)));
  }
  return largest;
}

// Ripple, images and what is left of the stopband are all of them errors of a sine. With an alpha
// of 10 each is 99 dB below it by Kaiser's formulas, and the transition has the width below.
TEST(Resampling, SinesComeOutWhereTheyBelong) {
  constexpr float kRolloff = 0.9F;
  constexpr int kSteps = 25;
  const double left = kAmplitude * std::pow(10.0, -99.0 / 20);
  for (const auto& [inRate, outRate, len] :
       {std::array{44100, 48000, 80}, std::array{8000, 16000, 80}, std::array{48000, 16000, 240}}) {
    const double cutoff = 0.5 * kRolloff * std::min(1.0, 1.0 * outRate / inRate);
    const double halfTransition = (99.0 - 8) / (2.285 * (len - 1)) / (2 * std::numbers::pi) / 2;
    for (const bool hasFloatTaps : {true, false}) {
      const Design design = {inRate, outRate, len, kRolloff, 10.0F, hasFloatTaps};
      // Of 16-bit taps each is off by 2^-14 / sqrt(12), as a rule; five times what that makes.
      const double ofTaps = hasFloatTaps ? 0 : 5 * 30000 * std::sqrt(len / 2.0 / 12) * 0x1p-14;
      const double bound = 1 + left + ofTaps * std::min(1.0, 1.0 * outRate / inRate);
      const double pass = cutoff - halfTransition;
      const double stop = cutoff + halfTransition;
      for (int i = 0; i <= kSteps; ++i) {
        for (const auto& [frequency, gain] :
             {std::pair{pass * i / kSteps, 1.0}, {stop + (0.5 - stop) * i / kSteps, 0.0}})
          ASSERT_LE(ErrorOfSine(design, frequency, gain), bound) << frequency * inRate << " Hz";
      }
    }
  }
}

/// As the samples arrive, in pieces of 1 to longest.
Samples Streamed(const Design& design, const Samples& source, double time, std::size_t longest) {
  const Resampler state = design.Make();
  const int32_t half = design.Half();
  RandomElements random(longest, false);
  Samples buffer;
  Samples outputs;
  Samples d(2 + (longest + 2) * static_cast<std::size_t>(design.Out() / design.In() + 1));
  auto arrived = source.begin();
  while (arrived != source.end()) {
    const auto left = static_cast<std::size_t>(source.end() - arrived);
    const auto next =
        arrived + static_cast<std::ptrdiff_t>(std::min(RandomLength(random, longest), left));
    buffer.insert(buffer.end(), arrived, next);
    arrived = next;
    const auto filled = static_cast<int32_t>(buffer.size());
    const int32_t len = filled - half - static_cast<int32_t>(time);
    if (len < 1) continue;
    int32_t outLen = -1;
    EXPECT_EQ(ippsResamplePolyphaseFixed_16s(state.get(), buffer.data(), len, d.data(), 1.0F, &time,
                                             &outLen),
              0);
    outputs.insert(outputs.end(), d.begin(), d.begin() + outLen);
    const int32_t done = std::min(static_cast<int32_t>(time) - half, filled);
    buffer.erase(buffer.begin(), buffer.begin() + done);
    time -= done;
  }
  return outputs;
}

TEST(Resampling, StreamIsTheSameHoweverItArrives) {
  const Samples source = RandomSamples(1, 2000);
  for (const Design& design :
       {Design{44100, 48000, 32, 0.95F, 9.0F, true}, Design{48000, 44100, 20, 0.95F, 9.0F, false},
        Design{1, 1, 8, 0.9F, 5.0F, false}, Design{50, 3, 8, 0.9F, 5.0F, true},
        Design{2, 9, 8, 0.9F, 5.0F, false}}) {
    for (const double offset : {0.0, 0.3, 0.9999}) {
      const double time = design.Half() + offset;
      const Samples whole = Resample(design, source, 0, 2000 - 2 * design.Half(), time).samples;
      ASSERT_GT(whole.size(), 100U);
      for (const std::size_t longest : {1U, 3U, 40U, 500U})
        EXPECT_EQ(Streamed(design, source, time, longest), whole)
            << design.inRate << " to " << design.outRate << ", from " << time << ", " << longest;
    }
  }
}

TEST(Resampling, SetUpRefusesInOrderAndLeavesNothing) {
  const std::size_t before = LiveBlockCount();
  auto* const untouched = reinterpret_cast<Resampler16s*>(1);
  Resampler16s* state = untouched;
  const auto setUp = [&state](int32_t inRate, int32_t outRate, int32_t len, float rolloff = 0.9F,
                              float alpha = 5) {
    return ippsResamplePolyphaseFixedInitAlloc_16s(&state, inRate, outRate, len, rolloff, alpha, 0);
  };
  EXPECT_EQ(ippsResamplePolyphaseFixedInitAlloc_16s(nullptr, 0, 0, 0, 0, 0, 0), -8);
  for (const auto& [inRate, outRate, len] : {std::array{0, 1, 1}, {1, 0, 1}, {1, 1, 0}})
    EXPECT_EQ(setUp(inRate, outRate, len, 0, 0), -6);
  for (const float rolloff : {0.0F, -0.5F, 1.1F, kNaN, kInfinity})
    EXPECT_EQ(setUp(kHighest, 1, 1, rolloff, 1), -5) << rolloff;
  for (const float alpha : {0.5F, 0.0F, -kInfinity, kNaN})
    EXPECT_EQ(setUp(kHighest, 1, 1, 1, alpha), -5) << alpha;
  EXPECT_EQ(state, untouched);
  for (const std::size_t n : {1U, 2U}) {
    state = untouched;
    const FailingAllocation failing(n);
    EXPECT_EQ(setUp(2, 3, 8), -4);
    EXPECT_EQ(state, nullptr);
  }
  // Steps of 65536, with one phase and with two, and tables that are too long.
  for (const auto& [inRate, outRate, len] : {std::array{65536, 1, 4},
                                             {131071, 2, 4},
                                             {1, 1, kHighest},
                                             {1, kHighest, 1},
                                             {kHighest, kHighest - 1, 1},
                                             {1, kHighest, kHighest}}) {
    state = untouched;
    EXPECT_EQ(setUp(inRate, outRate, len), -4) << inRate << " to " << outRate;
    EXPECT_EQ(state, nullptr);
  }
  EXPECT_EQ(setUp(131069, 2, 4), 0);  // Steps of 65535.
  EXPECT_EQ(ippsResamplePolyphaseFixedFree_16s(state), 0);
  EXPECT_EQ(ippsResamplePolyphaseFixedFree_16s(nullptr), -8);
  EXPECT_EQ(LiveBlockCount(), before);
}

TEST(Resampling, RunRefusesInOrderAndWritesNothing) {
  const Resampler owner = Design{1, 2, 4, 0.9F, 5.0F, true}.Make();
  const Resampler16s* const state = owner.get();
  const Samples source(16);
  Samples d = {8, 9};
  double time = 4.25;
  int32_t count = 7;
  const auto run = ippsResamplePolyphaseFixed_16s;
  EXPECT_EQ(run(nullptr, source.data(), 0, d.data(), 1, &time, &count), -8);
  EXPECT_EQ(run(state, nullptr, 0, d.data(), 1, &time, &count), -8);
  EXPECT_EQ(run(state, source.data(), 0, nullptr, 1, &time, &count), -8);
  EXPECT_EQ(run(state, source.data(), 0, d.data(), 1, nullptr, &count), -8);
  EXPECT_EQ(run(state, source.data(), 0, d.data(), 1, &time, nullptr), -8);
  EXPECT_EQ(run(state, source.data(), 0, d.data(), 1, &time, &count), -6);
  EXPECT_EQ(run(state, source.data(), kHighest, d.data(), 1, &time, &count), -6);
  EXPECT_EQ(d, (Samples{8, 9}));
  EXPECT_EQ(time, 4.25);
  EXPECT_EQ(count, 7);
}

}  // namespace
}  // namespace zr::test
