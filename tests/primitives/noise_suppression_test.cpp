// Noise suppression: the tracker against its equations and on spectra whose noise is known, the
// gain rules against their formulas.
#include "primitives/filters/noise_suppression.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "tests/primitives/filter_signals.h"
#include "tests/primitives/misplaced_vector.h"

namespace zr::test {
namespace {

using Words = std::vector<int32_t>;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

class Tracker {
 public:
  Tracker(int32_t rate, int32_t frameLength) {
    int32_t size = 0;
    EXPECT_EQ(ippsGetSizeMCRA_32s(frameLength, &size), 0);
    memory_ = GuardedBuffer(static_cast<std::size_t>(size), 3);
    Begin(rate, frameLength);
  }
  void Begin(int32_t rate, int32_t frameLength) {
    EXPECT_EQ(ippsInitMCRA_32s(rate, frameLength, State()), 0);
  }
  Words Update(const Words& noisy, const Words& noise) {
    MisplacedVector d(noise);
    EXPECT_EQ(ippsUpdateNoisePSDMCRA_32s_I(MisplacedVector(noisy).Data(), State(), d.Data()), 0);
    EXPECT_TRUE(memory_.IsGuardIntact());
    return d.Content();
  }
  int32_t Field(std::size_t index) {
    int32_t field = 0;
    std::memcpy(&field, memory_.Data() + 4 * index, 4);
    return field;
  }

 private:
  NoiseTracker32s* State() { return reinterpret_cast<NoiseTracker32s*>(memory_.Data()); }

  GuardedBuffer memory_;
};

struct HopRow {
  int32_t rate;
  int32_t frameLength;
  int32_t window;
  int32_t noise;  ///< Factor of the noise, Q31, and so on.
  int32_t probability;
  int32_t power;
};

// By arithmetic without a limit of width.
constexpr std::array<HopRow, 8> kHops = {{
    {8000, 8, 2000, 2100035584, 1940747339, 2117664768},
    {48000, 8, 12000, 2139488256, 2111573270, 2142437376},
    {16000, 256, 125, 1501757440, 429043313, 1717698560},
    {8000, 257, 62, 1031929856, 84799116, 1371078656},
    {44100, 1000, 172, 1290010624, 218728117, 1564278784},
    {8000, 4096, 3, 1959657472, 421416923, 1444347904},
    {8000, 8192, 1, 517144576, 181665700, -1614938112},
    {48000, 8192, 11, -1600782336, 7192664, -1707278336},
}};

// The equations for one bin, in real numbers scaled to integers where the tracker truncates. No
// product of a sensible set-up is above 2^62.
class BinEquations {
 public:
  explicit BinEquations(const HopRow& hop) : hop_(hop) {}

  int32_t Next(int64_t power, int64_t noise) {
    if (frame_++ == 0) {
      smoothed_ = minimum_ = running_ = power;
      return static_cast<int32_t>(power);
    }
    smoothed_ = Floor(hop_.power * smoothed_ + (kHighest - hop_.power) * power);
    // Windows end with every frame that is a multiple of their length, the first being number 0.
    if ((frame_ - 1) % hop_.window == 0) {
      minimum_ = std::min(running_, smoothed_);
      running_ = smoothed_;
    } else {
      minimum_ = std::min(minimum_, smoothed_);
      running_ = std::min(running_, smoothed_);
    }
    const bool isSpeech = smoothed_ > 5 * minimum_;
    probability_ = Floor(probability_ * hop_.probability);
    if (isSpeech) probability_ += kHighest - hop_.probability;
    const int64_t g = Floor(probability_ * (kHighest - hop_.noise)) + hop_.noise;
    return static_cast<int32_t>(Floor(g * noise) + Floor(power * (kHighest - g)));
  }

 private:
  static int64_t Floor(int64_t product) { return product / (int64_t{1} << 31); }

  HopRow hop_;
  int frame_ = 0;
  int64_t smoothed_ = 0;
  int64_t minimum_ = 0;
  int64_t running_ = 0;
  int64_t probability_ = 0;
};

TEST(NoiseTracker, FollowsItsEquationsToTheBit) {
  for (const HopRow& hop : kHops) {
    SCOPED_TRACE(testing::Message() << hop.rate << " Hz, " << hop.frameLength);
    Tracker tracker(hop.rate, hop.frameLength);
    const Words fields = {tracker.Field(4), tracker.Field(7), tracker.Field(8), tracker.Field(9)};
    EXPECT_EQ(fields, (Words{hop.window, hop.noise, hop.probability, hop.power}));
    // Factors that make no sense have to do no harm.
    const bool isSensible = hop.noise > 0 && hop.power > 0;
    const auto bins = static_cast<std::size_t>(hop.frameLength / 2 + 1);
    RandomElements random(bins, false);
    std::vector<BinEquations> equations(bins, BinEquations(hop));
    Words noise(bins, -77);
    for (int frame = 0; frame < 4 * std::min(hop.window, 150) + 3; ++frame) {
      Words noisy(bins);
      Words expected(bins);
      for (std::size_t k = 0; k < bins; ++k) {
        const uint64_t bits = random.Bits();
        const auto power = static_cast<int32_t>(bits);
        noisy[k] = isSensible ? (power & kHighest) >> (bits >> 32) % 8 * 4 : power;
        if (isSensible) expected[k] = equations[k].Next(noisy[k], noise[k]);
      }
      noise = tracker.Update(noisy, noise);
      if (isSensible) {
        ASSERT_EQ(noise, expected) << "frame " << frame;
      }
    }
  }
}

TEST(NoiseTracker, LearnsNoiseAndHoldsItUnderSpeech) {
  constexpr std::size_t kBins = 129;
  RandomElements random(1, false);
  Tracker tracker(16000, 256);
  Words noise(kBins);
  // Syllables of 20 frames and pauses of 30. The estimate at a place in these, in the mean of all
  // bins and of what comes behind two windows and more.
  const auto learn = [&](double meanOfNoise, double meanOfSpeech, int place) {
    double sum = 0;
    for (int frame = 0; frame < 600; ++frame) {
      const double mean = meanOfNoise + (frame % 50 < 20 ? meanOfSpeech : 0);
      Words noisy(kBins);
      for (int32_t& power : noisy) {
        // Powers of Gaussian signals are distributed exponentially.
        const double uniform = (static_cast<double>(random.Bits() >> 12) + 0.5) * 0x1p-52;
        power = static_cast<int32_t>(std::min(-std::log(uniform) * mean, 0x1p31 - 1));
      }
      noise = tracker.Update(noisy, noise);
      for (const int32_t power : noise)
        sum += frame >= 300 && frame % 50 == place ? power : 0;
    }
    return sum / kBins / 6;
  };
  EXPECT_NEAR(learn(1e5, 0, 0), 1e5, 0.2e5) << "steady noise";
  EXPECT_NEAR(learn(1e5, 1e7, 49), 1e5, 0.2e5) << "pauses of speech that is 20 dB louder";
  // Of the first frames, in doubt, 6 % and 1 % go into the estimate.
  EXPECT_LT(learn(1e5, 1e7, 19), 0.12e7) << "syllables";
  EXPECT_NEAR(learn(1e7, 0, 0), 1e7, 0.2e7) << "noise as loud as the speech was";

  tracker.Begin(16000, 256);
  EXPECT_EQ(tracker.Update(Words(kBins, 7), noise), Words(kBins, 7));
}

TEST(NoiseTracker, RefusesInOrderAndWritesNothing) {
  Words memory(40, 9);
  Words spectrum(5, 8);
  auto* const state = reinterpret_cast<NoiseTracker32s*>(memory.data());
  int32_t size = 7;
  EXPECT_EQ(ippsGetSizeMCRA_32s(7, nullptr), -8);
  for (const int32_t length : {kLowest, 0, 7, 8193, kHighest}) {
    EXPECT_EQ(ippsGetSizeMCRA_32s(length, &size), -6) << length;
    EXPECT_EQ(ippsInitMCRA_32s(8000, length, state), -6) << length;
  }
  EXPECT_EQ(ippsInitMCRA_32s(7999, 7, nullptr), -8);
  for (const int32_t rate : {kLowest, 0, 7999, 48001, kHighest})
    EXPECT_EQ(ippsInitMCRA_32s(rate, 7, state), -7) << rate;
  EXPECT_EQ(ippsUpdateNoisePSDMCRA_32s_I(nullptr, state, spectrum.data()), -8);
  EXPECT_EQ(ippsUpdateNoisePSDMCRA_32s_I(spectrum.data(), nullptr, spectrum.data()), -8);
  EXPECT_EQ(ippsUpdateNoisePSDMCRA_32s_I(spectrum.data(), state, nullptr), -8);
  EXPECT_EQ(size, 7);
  EXPECT_EQ(memory, Words(40, 9));
  EXPECT_EQ(spectrum, Words(5, 8));
  for (const auto& [length, bytes] : {std::pair{8, 148}, {9, 148}, {256, 2132}, {8192, 65620}}) {
    EXPECT_EQ(ippsGetSizeMCRA_32s(length, &size), 0);
    EXPECT_EQ(size, bytes) << length;
  }
}

Words WienerGains(const Words& ratios, int32_t status = 0) {
  const auto len = static_cast<int32_t>(ratios.size());
  MisplacedVector d(Words(ratios.size(), -1));
  MisplacedVector inPlace(ratios);
  EXPECT_EQ(ippsFilterUpdateWiener_32s(inPlace.Data(), d.Data(), len), status);
  EXPECT_EQ(ippsFilterUpdateWiener_32s(inPlace.Data(), inPlace.Data(), len), status);
  EXPECT_EQ(inPlace.Content(), d.Content());
  return d.Content();
}

TEST(WienerGain, IsTheRuleOnItsGrid) {
  Words ratios = {0, 32768, kHighest};
  for (int32_t step = 11; step < 31; ++step) {
    for (int32_t k = 1; k < 64 && int64_t{k} << step <= kHighest; ++k) {
      ratios.push_back(k << step);
      ratios.push_back((k << step) - 1);
    }
  }
  const Words gains = WienerGains(ratios);
  for (std::size_t i = 0; i < ratios.size(); ++i) {
    const double ratio = ratios[i] / 32768.0;
    const double step = ratio < 4 ? 1.0 / 16 : ratio < 64 ? 4 : ratio < 512 ? 64 : 512;
    const double r = std::floor(ratio / step) * step;
    const double gain = ratio < 1024 ? std::floor(0x1p31 * r / (1 + r)) : kHighest;
    EXPECT_EQ(gains[i], gain) << ratios[i];
  }
  // A negative ratio is told at the end.
  EXPECT_EQ(WienerGains({32768, -1, 32768, kLowest, kHighest}, -5),
            (Words{1 << 30, 0, 1 << 30, 0, kHighest}));
}

Words EphraimMalahGains(const Words& wiener, const Words& posterior) {
  const auto len = static_cast<int32_t>(wiener.size());
  MisplacedVector w(wiener);
  MisplacedVector r(posterior);
  MisplacedVector d(Words(wiener.size(), -1));
  EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.Data(), r.Data(), d.Data(), len), 0);
  EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.Data(), r.Data(), r.Data(), len), 0);
  EXPECT_EQ(r.Content(), d.Content());
  EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.Data(), MisplacedVector(posterior).Data(), w.Data(), len),
            0);
  EXPECT_EQ(w.Content(), d.Content());
  return d.Content();
}

TEST(EphraimMalahGain, IsExactAtSinglePoints) {
  struct Row {
    int32_t wiener;
    int32_t posterior;
    int32_t gain;  ///< By arithmetic without a limit of width.
  };
  const std::array<Row, 10> rows = {{
      {0, 5, 0},
      {1000, 1, kHighest},
      {1048576, 2048, 167772160},
      {1073741824, 32768, 1656514560},
      {kHighest, 32768, kHighest},
      {1073741824, 0x40000000, 1078224128},
      {126322567, 98304, 289761037},
      {16777216, 256, 1893657208},
      {5000000, 40000, 83267235},
      {300000000, 3276801, 304902935},
  }};
  for (const Row& row : rows)
    EXPECT_EQ(EphraimMalahGains({row.wiener}, {row.posterior}), Words{row.gain}) << row.wiener;
}

// exp(-x) * the modified Bessel function of the order, by the mean of its integral.
double ScaledBessel(int order, double x) {
  constexpr int kPoints = 400;
  double sum = 0;
  for (int i = 0; i < kPoints; ++i) {
    const double angle = std::numbers::pi * (i + 0.5) / kPoints;
    sum += std::exp(x * (std::cos(angle) - 1)) * std::cos(order * angle);
  }
  return sum / kPoints;
}

TEST(EphraimMalahGain, FollowsTheFormulaOverItsWholeDomain) {
  for (int step = -21 * 64; step < 6.64 * 64; ++step) {
    const double v = std::exp2(step / 64.0);
    const double correction = std::sqrt(std::numbers::pi / (4 * v)) *
                              ((1 + v) * ScaledBessel(0, v / 2) + v * ScaledBessel(1, v / 2));
    // It is looked up by v in whole steps of 2^-22, truncated.
    const double steps = v * 0x1p22;
    const double tolerance = 0.007 + std::sqrt(steps / (steps - 1)) - 1;
    for (const double posterior : {0x1p-7, 1.0, 100.0, 30000.0}) {
      const double wiener = v / std::min(posterior, 100.0);
      if (wiener < 0x1p-14 || wiener >= 1) continue;  // Else the scale of Q31 is what is seen.
      const int32_t gain = EphraimMalahGains({static_cast<int32_t>(wiener * 0x1p31)},
                                             {static_cast<int32_t>(posterior * 32768)})[0];
      EXPECT_NEAR(gain / 0x1p31 / std::min(wiener * correction, 1.0), 1, tolerance)
          << v << ", " << posterior;
    }
  }
}

TEST(EphraimMalahGain, TableFallsAsTheRoot) {
  for (int32_t m = 1; m < 129; ++m) {
    const int32_t wiener = m << 10;
    const int32_t gain = EphraimMalahGains({wiener}, {1 << 14})[0];
    EXPECT_EQ(gain % wiener, 0);
    EXPECT_NEAR(gain / wiener, 1815 / std::sqrt(m), 0.7) << m;
  }
}

TEST(NoiseGains, RefuseInOrderAndWriteNothing) {
  Words w = {1, 0, kHighest};
  Words r = {1, 0x40000000, 5};
  Words d = {7, 7, 7};
  for (const int32_t len : {kLowest, 0, 65536, kHighest}) {
    EXPECT_EQ(ippsFilterUpdateWiener_32s(nullptr, d.data(), len), -8);
    EXPECT_EQ(ippsFilterUpdateWiener_32s(r.data(), nullptr, len), -8);
    EXPECT_EQ(ippsFilterUpdateWiener_32s(r.data(), d.data(), len), -119) << len;
    EXPECT_EQ(ippsFilterUpdateEMNS_32s(nullptr, r.data(), d.data(), len), -8);
    EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.data(), nullptr, d.data(), len), -8);
    EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.data(), r.data(), nullptr, len), -8);
    EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.data(), r.data(), d.data(), len), -119) << len;
  }
  for (const auto& [wiener, posterior] :
       {std::pair{-1, 5}, {kLowest, 5}, {1, 0}, {1, kLowest}, {1, 0x40000001}}) {
    w[2] = wiener;
    r[2] = posterior;
    EXPECT_EQ(ippsFilterUpdateEMNS_32s(w.data(), r.data(), d.data(), 3), -7) << wiener;
  }
  EXPECT_EQ(d, Words(3, 7));
  EXPECT_EQ(WienerGains(Words(65535, 32768)), Words(65535, 1 << 30));
  EXPECT_EQ(EphraimMalahGains(Words(65535, kHighest), Words(65535, 32768)), Words(65535, kHighest));
}

}  // namespace
}  // namespace zr::test
