// Minutes of loud sound: the running energy loses what rounding takes, and the filter must live on.
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

// Which of single clicks far apart, away from zero and louder than any prediction error of speech,
// are repaired.
std::vector<bool> ClicksRepaired(POPSState* state, const Samples& speech) {
  Samples clicked = speech;
  constexpr std::size_t kSpacing = 4000;
  for (std::size_t i = kSpacing; i < clicked.size(); i += kSpacing) {
    clicked[i] = static_cast<int16_t>(clicked[i] < 0 ? -32768 : 32767);
  }
  const Samples output = Filtered(state, clicked);
  std::vector<bool> repaired;
  for (std::size_t i = kSpacing; i + 8 < clicked.size(); i += kSpacing)
    repaired.push_back(output[i + 8] != clicked[i]);
  return repaired;
}

// Speech as loud as it comes, and a tone. Above a peak of about 14000 the plosives count as pops,
// and every repair renews the energy; below, nothing ever does.
TEST(LongRun, RepairsGoOnAfterMinutesOfLoudSound) {
  const Samples recording = Material("alsa-48000.clean.pcm");
  const Samples speech = Loud(recording, 12000);
  const auto fresh = ClicksRepaired(MakeFilter().get(), speech);
  const auto freshCount = std::ranges::count(fresh, true);
  ASSERT_GT(freshCount, std::ssize(fresh) * 9 / 10);
  for (const Samples& loop : {Loud(recording, 32000), speech, LoudTone(300.0)}) {
    const Filter filter = MakeFilter();
    RunFor(filter.get(), loop, kMinutes);
    for (uint32_t k = 0; k < filter->ulOrder; ++k)
      EXPECT_TRUE(std::isfinite(filter->pfCoefs[k])) << "coefficient " << k;
    EXPECT_GE(std::ranges::count(ClicksRepaired(filter.get(), speech), true),
              freshCount * 95 / 100);
  }
}

TEST(LongRun, TheSafeguardsChangeNoBitOfSoundMaterial) {
  for (const char* name : {"alsa-48000.clean.pcm", "alsa-48000.clicked.pcm",
                           "espeak-22050.clean.pcm", "espeak-22050.clicked.pcm"}) {
    const Samples stream = Material(name);
    EXPECT_EQ(Filtered(MakeFilter().get(), stream), ReferenceFiltered({}, stream).output) << name;
  }
}

}  // namespace
