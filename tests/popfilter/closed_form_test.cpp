// Cases whose outcome follows from the rules with paper and pencil.
#include <algorithm>
#include <limits>
#include <vector>

#include "popfilter/pops.h"
#include "primitives/rounding.h"
#include "tests/popfilter/filter_fixture.h"

using namespace zr::test;
using zr::primitives::RoundToFloat;

namespace {

constexpr int32_t kDelay = 8;

// Positions at which the output differs from the delayed input.
std::vector<int32_t> RepairedPositions(const Samples& input, const Samples& output) {
  std::vector<int32_t> positions;
  for (std::size_t i = kDelay; i < output.size(); ++i) {
    if (output[i] != input[i - kDelay]) positions.push_back(static_cast<int32_t>(i) - kDelay);
  }
  return positions;
}

TEST(ClosedForm, PopsOnTwoTones) {
  const struct {
    std::vector<int32_t> pops;
    std::vector<int32_t> repaired;
    const char* what;
  } rows[] = {
      {{}, {}, "clean sound passes bit for bit"},
      {{1000}, {1000}, "a lone pop is repaired"},
      {{1000, 1001}, {1000, 1001}, "so is a pair"},
      {{1000, 1001, 1002}, {1000, 1001}, "the third in a row passes after the restart"},
      {{1000, 1003}, {1000}, "three apart: the second falls into the hold"},
      {{1000, 1025}, {1000}, "the last sample that the hold covers"},
      {{1000, 1026}, {1000, 1026}, "the first sample judged again"},
      {{1000, 1001, 1025}, {1000, 1001}, "the last sample that the restart covers"},
      {{1000, 1001, 1026}, {1000, 1001, 1026}, "the first sample judged after a restart"},
  };
  for (const auto& row : rows) {
    const Samples clean = TwoTones(2000);
    Samples input = clean;
    for (const int32_t position : row.pops) {
      int16_t& sample = input[static_cast<std::size_t>(position)];
      // Away from zero; 20000 also stands out where three are neighbours of each other.
      sample = static_cast<int16_t>(sample + (sample < 0 ? -20000 : 20000));
    }
    const Filter filter = MakeFilter();
    const Samples output = Filtered(filter.get(), input);
    EXPECT_EQ(RepairedPositions(input, output), row.repaired) << row.what;
    EXPECT_EQ(Samples(output.begin(), output.begin() + kDelay), Samples(kDelay, 0)) << row.what;
    if (row.pops == std::vector<int32_t>{1000}) {
      EXPECT_NEAR(output[1000 + kDelay], clean[1000], 300) << row.what;
    }
  }
}

TEST(ClosedForm, TheTwentyFifthSampleIsTheFirstJudged) {
  // The sample under test lags the newest by the delay: the 25th judgement is of position 16.
  for (int32_t position = 0; position < 40; ++position) {
    Samples input(100, 0);
    input[static_cast<std::size_t>(position)] = 30000;
    const Filter filter = MakeFilter();
    const Samples output = Filtered(filter.get(), input);
    const bool isRepaired = !RepairedPositions(input, output).empty();
    EXPECT_EQ(isRepaired, position >= 16) << "position " << position;
  }
}

// One sample under test between set neighbours, with a set prediction: two taps, two samples of
// look-ahead, watching.
struct Moment {
  int16_t before;
  int16_t tested;
  int16_t after;
  float predictionOverBefore;
};

Filter Watching(const Moment& moment) {
  Filter filter = MakeFilter();
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_ORDER, 2), POPS_OK);
  EXPECT_EQ(POPSSetParameter(filter.get(), POPS_ID_DELAY, 2), POPS_OK);
  filter->ulPhase = POPS_PHASE_WATCH;
  filter->ulCount = 0;
  filter->psHistory[1] = moment.before;
  filter->psHistory[2] = moment.tested;
  filter->psHistory[3] = moment.after;
  filter->pfCoefs[0] = moment.predictionOverBefore;
  return filter;
}

int16_t Judged(POPSState* state) {
  int16_t sample = 0;
  POPSProcess(state, 1, &sample);
  return sample;
}

TEST(ClosedForm, ModesNarrowTheLevelTest) {
  const struct {
    Moment moment;
    std::vector<uint32_t> repairingModes;
    const char* what;
  } rows[] = {
      {{16384, 30000, 16384, 0.5F}, {0, 1, 2, 3, 4}, "beyond the prediction, off the line"},
      {{-16384, -30000, -16384, 0.5F}, {0, 1, 2, 3, 4}, "the same below zero"},
      {{16384, 0, 16384, 1.0F}, {0, 2, 4}, "zero is never an overshoot"},
      {{16384, 0, 16384, -1.0F}, {0, 2, 4}, "nor is it above a prediction below"},
      {{16384, 5000, 16384, 1.0F}, {0, 2, 4}, "nearer to zero than the prediction"},
      {{16384, 16384, 16384, 0.25F}, {0, 1, 4}, "on the line between close neighbours"},
      {{-8000, 100, 8200, 1.0F}, {0, 1, 2, 3, 4}, "on the line, neighbours far apart"},
      {{16384, 18000, 16384, 1.0F}, {}, "error below the floor"},
  };
  for (const auto& row : rows) {
    for (uint32_t mode = 0; mode <= 4; ++mode) {
      const Filter filter = Watching(row.moment);
      filter->ulDetectMode = mode;
      const bool repairs = std::ranges::find(row.repairingModes, mode) != row.repairingModes.end();
      EXPECT_EQ(Judged(filter.get()) != row.moment.tested, repairs)
          << row.what << ", mode " << mode;
    }
  }
}

TEST(ClosedForm, ThresholdsAreStrict) {
  // Off the line by exactly the floor, between neighbours at an eighth above and below.
  for (const int16_t tested : {int16_t{8192}, int16_t{8193}}) {
    const Filter filter = Watching({4096, tested, -4096, -1.0F});
    filter->ulDetectMode = 2;
    filter->fFloor = 0.25F;
    EXPECT_EQ(Judged(filter.get()) != tested, tested == 8193);
  }
  const struct {
    int16_t error;
    float floor;
    float slope;
    float ceiling;
    int16_t older;  // With `before` at 0, the deviation is this over the root of two.
    bool isRepaired;
    const char* what;
  } rows[] = {
      {8192, 0.25F, 0.0F, 1.0F, 0, false, "at the floor"},
      {8193, 0.25F, 0.0F, 1.0F, 0, true, "above the floor"},
      {8192, 0.25F, -1.0F, 1.0F, 5792, true, "a negative slope lowers the threshold"},
      {8192, 0.5F, 0.0F, 0.25F, 0, false, "at the ceiling"},
      {8193, 0.5F, 0.0F, 0.25F, 0, true, "above a ceiling below the floor"},
      {8192, 0.125F, 1.0F, 1.0F, 5792, true, "just above the deviation plus the floor"},
      {8192, 0.125F, 1.0F, 1.0F, 5793, false, "just below the deviation plus the floor"},
      {8193, 0.125F, 1.0F, 1.0F, 5793, true, "one unit more"},
  };
  for (const auto& row : rows) {
    const Filter filter = Watching({0, row.error, 0, 0.0F});
    filter->ulDetectMode = 0;
    filter->fFloor = row.floor;
    filter->fSlope = row.slope;
    filter->fCeiling = row.ceiling;
    filter->psHistory[0] = row.older;
    EXPECT_EQ(Judged(filter.get()) == 0, row.isRepaired) << row.what;
  }
}

TEST(ClosedForm, RepairsRoundAndSaturate) {
  const struct {
    int16_t before;
    float factor;
    int16_t repaired;
    const char* what;
  } rows[] = {
      {16384, 2.0F, 32767, "a prediction of one"},
      {16384, 9.0F, 32767, "beyond one"},
      {16384, -2.0F, -32768, "minus one"},
      {-16384, 9.0F, -32768, "beyond minus one"},
      {5, 0.5F, 2, "a tie goes down to even"},
      {7, 0.5F, 4, "a tie goes up to even"},
      {-5, 0.5F, -2, "a negative tie"},
      {-7, 0.5F, -4, "a negative tie, away from zero"},
  };
  for (const auto& row : rows) {
    const auto tested = static_cast<int16_t>(row.repaired > 0 ? -20000 : 20000);
    const Filter filter = Watching({row.before, tested, 0, row.factor});
    filter->ulDetectMode = 0;
    EXPECT_EQ(Judged(filter.get()), row.repaired) << row.what;
  }
}

TEST(ClosedForm, ADivergedPredictorRestartsAndLeavesTheSample) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const float diverged : {kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN()}) {
    for (const uint32_t phase : {POPS_PHASE_TRAIN, POPS_PHASE_WATCH}) {
      const Filter filter = Watching({100, 20000, 101, diverged});
      filter->ulPhase = phase;
      filter->ulCount = 1;
      EXPECT_EQ(Judged(filter.get()), 20000);
      EXPECT_EQ(filter->ulPhase, POPS_PHASE_REFILL);
      EXPECT_EQ(filter->ulCount, filter->ulOrder + filter->ulSettle);
      EXPECT_EQ(filter->pfCoefs[0], 0.0F);
      // The predictor's past is gone, the sample that waits for output is not.
      EXPECT_EQ(Samples(filter->psHistory, filter->psHistory + 3), (Samples{0, 20000, 101}));
    }
  }
}

TEST(ClosedForm, AnEnergyBelowHalfIsTakenAnewFromTheInput) {
  // The input is one sample of a half, whose square is a quarter; the older one is silent.
  constexpr float kHeld = 0.25F;
  constexpr float kRegularisation = 0.001F;
  const struct {
    float energy;
    bool isRenewed;
    const char* what;
  } rows[] = {{0.25F, false, "sound"},
              {0.1256F, false, "above half"},
              {0.1244F, true, "below half, though not by the regularisation alone"},
              {-0.3F, true, "below zero"},
              {0.7F, false, "too high harms nobody"}};
  for (const auto& row : rows) {
    const Filter filter = Watching({16384, 16, 0, 0.0F});
    filter->fEnergy = row.energy - kHeld;  // The newest square comes on top.
    const float energy = row.isRenewed ? kHeld : RoundToFloat(filter->fEnergy + kHeld);
    Judged(filter.get());
    EXPECT_EQ(filter->fEnergy, energy) << row.what;
    const float reciprocal = RoundToFloat(1.0F / RoundToFloat(energy + kRegularisation));
    const float gain = RoundToFloat(filter->fStep * reciprocal);
    EXPECT_EQ(filter->pfCoefs[0], 0.5F * RoundToFloat(gain * (16.0F / 32768.0F))) << row.what;
  }
}

}  // namespace
