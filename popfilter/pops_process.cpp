// The process loop: an adaptive predictor, the tests for a pop, and the state machine that says
// when the predictor may be trusted. Everything runs sample by sample; what crosses from one block
// to the next stands in the record.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "popfilter/pops.h"
#include "popfilter/pops_buffers.h"
#include "primitives/arithmetic.h"
#include "primitives/conversion.h"
#include "primitives/memory.h"
#include "primitives/rounding.h"
#include "primitives/statistics.h"

using zr::primitives::kRoundToNearest;
using zr::primitives::RoundToFloat;

namespace {

constexpr int32_t kToFullScaleOne = 15;
constexpr int32_t kFromFullScaleOne = -15;
constexpr int32_t kAccurate = 2;
constexpr float kRegularisation = 0.001F;
constexpr double kWideSpan = 0.4;
constexpr uint32_t kMostRepairsInARow = 2;

float StandardDeviation(const float* values, int32_t count) {
  float deviation = 0.0F;
  ippsStdDev_32f(values, count, &deviation, kAccurate);
  return deviation;
}

float Absolute(double value) {
  float magnitude = RoundToFloat(value);
  ippsAbs_32f(&magnitude, &magnitude, 1);
  return magnitude;
}

// One call of POPSProcess. The sample under test lags the newest by ulDelay, so that it has a past
// of ulOrder samples, the predictor's input, and a near future.
class BlockRun {
 public:
  BlockRun(POPSState& state, int16_t* block)
      : state_(state),
        block_(block),
        order_(static_cast<int32_t>(state.ulOrder)),
        delay_(static_cast<int32_t>(state.ulDelay)),
        length_(order_ + delay_),
        analysis_(state.pfAnalysis) {}

  void ProcessSample(int32_t i) {
    BuildAnalysisVector(i);
    AdvanceEnergy();
    tested_ = analysis_[order_];
    deviation_ = LocalDeviation();
    ReverseAnalysisVector();

    switch (state_.ulPhase) {
      case POPS_PHASE_REFILL:
      case POPS_PHASE_HOLD:
        Refill();
        break;
      case POPS_PHASE_TRAIN:
        if (Predict()) Train();
        break;
      case POPS_PHASE_WATCH:
        if (Predict()) Watch(i);
        break;
      default:
        break;
    }
  }

  void DelayBlock(int32_t sampleCount);

 private:
  // From the 16-bit samples anew for every sample, so that a repair is seen at once.
  void BuildAnalysisVector(int32_t i) {
    if (i >= length_) {
      ippsConvert_16s32f_Sfs(block_ + (i - length_), analysis_, length_, kToFullScaleOne);
      return;
    }
    ippsConvert_16s32f_Sfs(state_.psHistory + i, analysis_, length_ - i, kToFullScaleOne);
    ippsConvert_16s32f_Sfs(block_, analysis_ + (length_ - i), i, kToFullScaleOne);
  }

  // inputEnergy_ covers the predictor's whole input; the field moves on to the next sample's.
  void AdvanceEnergy() {
    float newestSquare = 0.0F;
    ippsSqr_32f(&analysis_[order_ - 1], &newestSquare, 1);
    inputEnergy_ = RoundToFloat(static_cast<double>(state_.fEnergy) + newestSquare);
    DropOldestFromEnergy(analysis_[0]);
  }

  void DropOldestFromEnergy(double oldest) {
    state_.fEnergy = RoundToFloat(inputEnergy_ - oldest * oldest);
  }

  // The larger deviation of the samples before and behind the one under test and its neighbours.
  // Only the threshold reads it, and only through the slope.
  float LocalDeviation() const {
    if (state_.ulPhase != POPS_PHASE_WATCH || state_.fSlope == 0.0F) return 0.0F;
    const float past = StandardDeviation(analysis_, order_);
    const int32_t futureLength = delay_ - 2;
    if (futureLength < 2) return past;
    return std::max(past, StandardDeviation(analysis_ + order_ + 2, futureLength));
  }

  // Newest first: the predictor's input then starts at Input(), the sample under test stands just
  // before it.
  void ReverseAnalysisVector() { ippsFlip_32f_I(analysis_, length_); }
  float* Input() const { return analysis_ + delay_; }

  // False if the predictor has diverged; it has been restarted then.
  bool Predict() {
    ippsDotProd_32f(state_.pfCoefs, Input(), order_, &prediction_);
    error_ = RoundToFloat(static_cast<double>(tested_) - prediction_);
    if (std::isfinite(prediction_)) return true;
    Restart();
    return false;
  }

  void Refill() {
    --state_.ulCount;
    if (state_.ulCount > state_.ulSettle) return;
    // Summed afresh: the next sample adds the one that is still missing.
    ippsDotProd_32f(Input(), Input(), order_ - 1, &state_.fEnergy);
    state_.ulPhase = POPS_PHASE_TRAIN;
  }

  void Train() {
    UpdateCoefficients();
    --state_.ulCount;
    if (state_.ulCount == 0) state_.ulPhase = POPS_PHASE_WATCH;
  }

  void Watch(int32_t i) {
    if (IsPop()) {
      Repair(i);
      ++state_.ulCount;
      if (state_.ulCount >= kMostRepairsInARow) Restart();
      return;
    }
    UpdateCoefficients();
    if (state_.ulCount == 0) return;
    state_.ulCount = state_.ulOrder + state_.ulSettle;
    state_.ulPhase = POPS_PHASE_HOLD;
  }

  bool IsPop() const {
    if (!IsLoud()) return false;
    switch (state_.ulDetectMode) {
      case 1:
        return Overshoots();
      case 2:
        return StandsOut();
      case 3:
        return Overshoots() && StandsOut();
      default:
        return true;
    }
  }

  bool IsLoud() const {
    const double threshold =
        static_cast<double>(deviation_) * state_.fSlope + static_cast<double>(state_.fFloor);
    const float magnitude = Absolute(error_);
    return magnitude > threshold || magnitude > state_.fCeiling;
  }

  bool Overshoots() const {
    return tested_ > 0.0F ? prediction_ < tested_ : tested_ < 0.0F && prediction_ > tested_;
  }

  // Off the straight line through its two neighbours, or between neighbours far apart.
  bool StandsOut() const {
    const double before = Input()[0];
    const double after = Input()[-2];
    const float gap = Absolute(0.5 * (before + after) - tested_);
    const float span = Absolute(after - before);
    return gap > state_.fFloor || span > kWideSpan;
  }

  void Repair(int32_t i) {
    int16_t* const target = i >= delay_ ? block_ + (i - delay_) : state_.psHistory + (order_ + i);
    ippsConvert_32f16s_Sfs(&prediction_, target, 1, kRoundToNearest, kFromFullScaleOne);
  }

  // The samples of the history that still wait for output stay.
  void Restart() {
    state_.ulPhase = POPS_PHASE_REFILL;
    state_.ulCount = state_.ulOrder + state_.ulSettle;
    ippsZero_32f(state_.pfCoefs, order_);
    std::fill_n(state_.psHistory, order_, int16_t{0});
  }

  // One step of normalised least mean squares with this sample's error.
  void UpdateCoefficients() {
    float gain = 0.0F;
    ippsDivC_32f(&state_.fStep, GuardedEnergy(), &gain, 1);
    gain = RoundToFloat(static_cast<double>(gain) * error_);
    ippsMulC_32f_I(gain, Input(), order_);
    ippsAdd_32f_I(Input(), state_.pfCoefs, order_);
  }

  float RegularisedEnergy() const {
    return RoundToFloat(static_cast<double>(inputEnergy_) + kRegularisation);
  }

  // The running energy collects the rounding of every step. After minutes of loud sound that can
  // make it fall far below the true energy, and the update would diverge; so it is measured against
  // the input that it stands for, and taken from there once it has lost half of it.
  float GuardedEnergy() {
    double held = 0.0;
    for (int32_t k = 0; k < order_; ++k) {
      const double value = Input()[k];
      held += value * value;
    }
    const float energy = RegularisedEnergy();
    if (2.0 * energy >= held + kRegularisation) return energy;
    inputEnergy_ = RoundToFloat(held);
    DropOldestFromEnergy(Input()[order_ - 1]);
    return RegularisedEnergy();
  }

  POPSState& state_;
  int16_t* const block_;
  const int32_t order_;
  const int32_t delay_;
  const int32_t length_;
  float* const analysis_;

  float tested_ = 0.0F;
  float deviation_ = 0.0F;
  float prediction_ = 0.0F;
  float error_ = 0.0F;
  float inputEnergy_ = 0.0F;
};

// The pending samples go out at the head of the block, the newest length_ samples of the stream
// become the history. The pending ones are set aside first, and the history is taken while the
// block still holds the input. A block shorter than the history moves it down and comes in behind
// it; one shorter than the delay takes only as many pending samples as it has room for.
void BlockRun::DelayBlock(int32_t sampleCount) {
  int16_t* const history = state_.psHistory;
  const int32_t pendingOut = std::min(sampleCount, delay_);
  ippsCopy_16s(history + order_, state_.psTail, pendingOut);

  const int32_t entering = std::min(sampleCount, length_);
  ippsMove_16s(history + entering, history, length_ - entering);
  ippsCopy_16s(block_ + (sampleCount - entering), history + (length_ - entering), entering);

  ippsMove_16s(block_, block_ + pendingOut, sampleCount - pendingOut);
  ippsCopy_16s(state_.psTail, block_, pendingOut);
}

}  // namespace

void POPSProcess(POPSState* state, int32_t sampleCount, int16_t* samples) {
  if (state == nullptr || !HasBuffers(*state) || sampleCount < 1 || samples == nullptr) {
    return;
  }
  BlockRun run(*state, samples);
  for (int32_t i = 0; i < sampleCount; ++i) {
    run.ProcessSample(i);
  }
  run.DelayBlock(sampleCount);
}

int32_t POPSProcessBuffer(POPSState* state, uint32_t /*pin*/, void* input, uint32_t inputBytes,
                          void* output, uint32_t outputBytes, uint32_t /*reserved*/) {
  if (state == nullptr) return POPS_ERR_NOSTATE;
  if (output == nullptr) return POPS_OK;
  if (input == nullptr) return POPS_ERR_PARAM;
  if (!HasBuffers(*state)) return POPS_ERR_NOTREADY;
  POPSProcess(state, static_cast<int32_t>(inputBytes / state->ulBytesPerSample),
              static_cast<int16_t*>(input));
  if (output != input) std::memmove(output, input, std::min(inputBytes, outputBytes));
  return POPS_OK;
}
