// Minutes of loud sound: the running energy loses what rounding takes, and the filter must live on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "popfilter/pops.h"
#include "tests/popfilter/filter_fixture.h"
#include "tests/popfilter/reference_filter.h"

using namespace zr::test;

namespace {

constexpr int32_t kRate = 48000;
constexpr int32_t kMinutes = 10;

// As loud as recorded speech comes. Above a peak of about 14000 the plosives count as pops, and
// every repair renews the energy; below, nothing ever does.
constexpr int32_t kPeaks[] = {32000, 12000};

Samples Loud(Samples speech, int32_t wantedPeak) {
  const auto peak = std::ranges::max(speech, {}, [](int16_t s) { return std::abs(s); });
  for (int16_t& sample : speech) {
    sample = static_cast<int16_t>(sample * wantedPeak / std::abs(peak));
  }
  return speech;
}

Samples LoudTone(double hertz) {
  Samples tone;
  for (int32_t i = 0; i < kRate; ++i) {
    tone.push_back(static_cast<int16_t>(
        std::lround(32000.0 * std::sin(2.0 * std::numbers::pi * hertz * i / kRate))));
  }
  return tone;
}

void RunFor(POPSState* state, const Samples& loop, int32_t minutes) {
  for (int64_t done = 0; done < int64_t{60} * kRate * minutes;
       done += static_cast<int64_t>(loop.size())) {
    Filtered(state, loop);
  }
}

// Single clicks far apart, away from zero and louder than any prediction error of speech.
int32_t RepairedClicks(POPSState* state, const Samples& speech, int32_t& inserted) {
  Samples clicked = speech;
  constexpr std::size_t kSpacing = 4000;
  for (std::size_t i = kSpacing; i < clicked.size(); i += kSpacing) {
    clicked[i] = static_cast<int16_t>(clicked[i] < 0 ? -32768 : 32767);
  }
  const Samples output = Filtered(state, clicked);
  int32_t repaired = 0;
  inserted = 0;
  for (std::size_t i = kSpacing; i + 8 < clicked.size(); i += kSpacing) {
    ++inserted;
    if (output[i + 8] != clicked[i]) ++repaired;
  }
  return repaired;
}

void ExpectFiniteCoefficients(const POPSState& state) {
  for (uint32_t k = 0; k < state.ulOrder; ++k) {
    EXPECT_TRUE(std::isfinite(state.pfCoefs[k])) << "coefficient " << k;
  }
}

TEST(LongRun, RepairsGoOnAfterMinutesOfLoudSpeech) {
  for (const int32_t peak : kPeaks) {
    const Samples speech = Loud(Material("alsa-48000.clean.pcm"), peak);
    int32_t inserted = 0;
    const int32_t fresh = RepairedClicks(MakeFilter().get(), speech, inserted);
    ASSERT_GT(fresh, inserted * 9 / 10);

    const Filter filter = MakeFilter();
    RunFor(filter.get(), speech, kMinutes);
    ExpectFiniteCoefficients(*filter);
    EXPECT_GE(RepairedClicks(filter.get(), speech, inserted), fresh * 95 / 100) << "peak " << peak;
  }
}

TEST(LongRun, RepairsGoOnAfterMinutesOfALoudTone) {
  const Filter filter = MakeFilter();
  RunFor(filter.get(), LoudTone(300.0), kMinutes);
  ExpectFiniteCoefficients(*filter);
  int32_t inserted = 0;
  const Samples speech = Loud(Material("alsa-48000.clean.pcm"), kPeaks[0]);
  EXPECT_GT(RepairedClicks(filter.get(), speech, inserted), inserted * 9 / 10);
}

TEST(LongRun, TheSafeguardsChangeNoBitOfSoundMaterial) {
  for (const char* name : {"alsa-48000.clean.pcm", "alsa-48000.clicked.pcm",
                           "espeak-22050.clean.pcm", "espeak-22050.clicked.pcm"}) {
    const Samples stream = Material(name);
    EXPECT_EQ(Filtered(MakeFilter().get(), stream), ReferenceFiltered({}, stream).output) << name;
  }
}

}  // namespace
