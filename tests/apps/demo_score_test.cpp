// The demo's score is only worth as much as its bookkeeping: places, tallies, and the refusal of
// runs that contradict each other.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "apps/demo/clicks.h"
#include "apps/demo/score.h"

using namespace zr::demo;

namespace {

std::vector<int16_t> Tone(std::size_t count) {
  std::vector<int16_t> samples;
  for (std::size_t i = 0; i < count; ++i) {
    samples.push_back(static_cast<int16_t>(5000.0 * std::sin(0.03 * static_cast<double>(i))));
  }
  return samples;
}

TEST(DemoClicks, LieApartKeepTheirSizeAndSurviveTheirList) {
  const std::vector<int16_t> clean = Tone(480000);
  std::vector<int16_t> clicked = clean;
  const std::vector<Click> clicks = InsertClicks(clicked, 48000, 5);
  ASSERT_GT(clicks.size(), 30U);

  std::size_t previousEnd = 0;
  std::vector<int16_t> rebuilt = clean;
  for (const Click& click : clicks) {
    EXPECT_GE(click.first, previousEnd == 0 ? kFirstClickPlace : previousEnd + kClickDistance);
    previousEnd = click.first + click.amplitudes.size();
    const int32_t size = kClickSizes[SizeIndex(click)];
    for (std::size_t i = 0; i < click.amplitudes.size(); ++i) {
      EXPECT_TRUE(click.amplitudes[i] == 0 || std::abs(click.amplitudes[i]) >= size);
      int16_t& sample = rebuilt[click.first + i];
      sample = static_cast<int16_t>(sample + click.amplitudes[i]);
    }
  }
  EXPECT_EQ(rebuilt, clicked);

  std::stringstream list;
  WriteTruth(list, clicks);
  const std::vector<Click> read = ReadTruth(list);
  ASSERT_EQ(read.size(), clicks.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(read[i].kind, clicks[i].kind);
    EXPECT_EQ(read[i].first, clicks[i].first);
    EXPECT_EQ(read[i].amplitudes, clicks[i].amplitudes);
  }
}

struct Example {
  std::vector<int16_t> clean = std::vector<int16_t>(4000, 0);
  std::vector<int16_t> clicked = clean;
  std::vector<int16_t> cleaned = clean;
  std::vector<Click> clicks = {{ClickKind::kPair, 1000, {8000, -8000}},
                               {ClickKind::kTriple, 2000, {16000, 16000, 16000}},
                               {ClickKind::kSingle, 3000, {4000}}};
  std::vector<Repair> repairs;
  std::vector<Repair> cleanRepairs = {{500, 0, -700}};

  Example() {
    for (const Click& click : clicks) {
      for (std::size_t i = 0; i < click.amplitudes.size(); ++i) {
        clicked[click.first + i] = static_cast<int16_t>(click.amplitudes[i]);
      }
    }
    cleaned = clicked;
    for (const std::size_t place : {1000U, 1001U, 2000U, 2001U, 3500U}) {
      const int32_t after = place == 3500 ? 3 : 0;
      repairs.push_back({place, clicked[place], after});
      cleaned[place] = static_cast<int16_t>(after);
    }
  }

  Score Scored() const {
    return ScoreRuns({clean, clicked, cleaned, clicks, repairs, cleanRepairs});
  }
};

TEST(DemoScore, CountsWhatBecameOfEachClick) {
  const Score score = Example().Scored();
  EXPECT_EQ(score.all.inserted, 3U);
  EXPECT_EQ(score.all.repaired, 1U);
  EXPECT_EQ(score.all.partly, 1U);
  EXPECT_EQ(score.all.missed, 1U);
  EXPECT_EQ(score.repairsOutsideClicks, 1U);
  EXPECT_EQ(score.falseRepairs, 1U);
  EXPECT_EQ(score.largestFalseChange, 700);
  const Tally& triple = score.byKind[static_cast<std::size_t>(ClickKind::kTriple)];
  // Of three samples at half of full scale one is left.
  EXPECT_DOUBLE_EQ(triple.energyBefore, 3 * (16000.0 / 32768.0) * (16000.0 / 32768.0));
  EXPECT_DOUBLE_EQ(triple.energyAfter, triple.energyBefore / 3);
  EXPECT_NEAR(MeanDecibels(triple.energyBefore, triple.samples), -6.23, 0.01);
}

TEST(DemoScore, RefusesRunsThatContradictEachOther) {
  Example unexplained;
  unexplained.cleaned[3900] = 1;
  EXPECT_THROW(unexplained.Scored(), std::runtime_error);
  Example lostClick;
  lostClick.clicked[2001] = 0;
  EXPECT_THROW(lostClick.Scored(), std::runtime_error);
  Example cut;
  cut.cleaned.pop_back();
  EXPECT_THROW(cut.Scored(), std::runtime_error);
}

}  // namespace
