// The noise tracker of minima-controlled recursive averaging, px build.
#include <algorithm>
#include <bit>
#include <limits>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"

/// The head of a block in the caller's memory. The arrays stand behind it, and are told by their
/// distance from it in bytes: so the block has one size in every build.
struct NoiseTracker32s {
  int32_t sampleRate;
  int32_t frameLength;
  int32_t halfBits;  ///< Significant bits of halfLength.
  int32_t halfLength;
  int32_t windowFrames;  ///< Over which the minimum is searched.
  int32_t frameCount;    ///< Since the window began.
  int32_t isFirstFrame;
  int32_t noiseSmoothing;        ///< Q31, as all that smooths.
  int32_t probabilitySmoothing;  ///< Of speech.
  int32_t powerSmoothing;        ///< Of the noisy power.
  int32_t speechThreshold;       ///< Over the minimum, Q15.
  int32_t probabilities;         ///< Of speech, Q31.
  int32_t smoothedPowers;
  int32_t minima;
  int32_t windowMinima;  ///< Of the window that is under way.
};

namespace zr::primitives {
namespace {

constexpr int32_t kOne = std::numeric_limits<int32_t>::max();  // Q31
constexpr int32_t kFiveQ15 = 0x28000;

// What the told size holds beside the record and the arrays.
constexpr int32_t kSpareBytes = 8;

int32_t BinsOf(int32_t frameLength) {
  return frameLength / 2 + 1;
}

constexpr bool IsFrameLength(int32_t length) {
  return length >= 8 && length <= 8192;
}

/// The factors of a useless set-up wrap around, and so does all that is made of them.
int32_t LowWord(int64_t value) {
  return static_cast<int32_t>(value);
}

/// 1 - factor
int64_t Complement(int32_t factor) {
  return int64_t{kOne} - factor;
}

int64_t TimesQ31(int64_t a, int64_t b) {
  return (a * b) >> 31;
}

/// About a second of frames, without a division.
int32_t FramesPerWindow(int32_t sampleRate, int32_t halfBits) {
  constexpr int64_t kOver250 = 17179869;  // 2^32 / 250
  const int64_t blocks = ((sampleRate * kOver250) >> 16 >> (halfBits - 1)) + 1;
  return LowWord((125 * blocks) >> 15);
}

/// The hop in units of 8 ms, Q15.
int32_t HopOf(int32_t sampleRate, int32_t halfLength) {
  return LowWord(((int64_t{125} * halfLength) << 15) / sampleRate);
}

/// e to the power of logarithm (Q31) * hop (Q15), Q31.
int32_t SmoothingOver(int32_t hop, int64_t logarithm) {
  constexpr int64_t kThird = 715827883;  // Q31
  const int64_t x = TimesQ31(logarithm, hop);
  const int64_t halfSquare = (x * x) >> 15 >> 1;
  const int64_t halfCube = (halfSquare * x) >> 15;
  const int64_t series = 32768 + x + halfSquare + TimesQ31(halfCube, kThird);
  return LowWord(series << 16);
}

/// As SmoothingOver, of an eighth of the logarithm: the series is not good far from 0.
int32_t SmoothingOverOfEighth(int32_t hop, int64_t eighthOfLogarithm) {
  int64_t factor = SmoothingOver(hop, eighthOfLogarithm);
  for (int i = 0; i < 3; ++i) {
    factor = TimesQ31(factor, factor);
  }
  return LowWord(factor);
}

struct Arrays {
  explicit Arrays(NoiseTracker32s* state, const NoiseTracker32s& record)
      : probabilities(At(state, record.probabilities)),
        smoothedPowers(At(state, record.smoothedPowers)),
        minima(At(state, record.minima)),
        windowMinima(At(state, record.windowMinima)) {}

  int32_t* probabilities;
  int32_t* smoothedPowers;
  int32_t* minima;
  int32_t* windowMinima;

 private:
  static int32_t* At(NoiseTracker32s* state, int32_t offset) {
    return reinterpret_cast<int32_t*>(reinterpret_cast<uint8_t*>(state) + offset);
  }
};

void TakeFirstFrame(const int32_t* noisy, const Arrays& arrays, int32_t bins, int32_t* noise) {
  for (int32_t k = 0; k < bins; ++k) {
    const int32_t power = Load(noisy, k);
    Store(arrays.smoothedPowers, k, power);
    Store(arrays.minima, k, power);
    Store(arrays.windowMinima, k, power);
    Store(arrays.probabilities, k, 0);
    Store(noise, k, power);
  }
}

/// factor * old + (1 - factor) * fresh, truncated once. The sum of a useless set-up wraps around.
int32_t Smoothed(int32_t factor, int32_t old, int32_t fresh) {
  const auto sum = static_cast<uint64_t>(int64_t{factor} * old) +
                   static_cast<uint64_t>(Complement(factor) * fresh);
  return LowWord(static_cast<int64_t>(sum) >> 31);
}

/// The minimum of the last whole window and of the one under way, the newest power included.
int32_t TrackMinimum(const Arrays& arrays, int32_t k, int32_t power, bool isWindowOver) {
  const int32_t windowMinimum = std::min(Load(arrays.windowMinima, k), power);
  const int32_t minimum = isWindowOver ? windowMinimum : std::min(Load(arrays.minima, k), power);
  Store(arrays.windowMinima, k, isWindowOver ? power : windowMinimum);
  Store(arrays.minima, k, minimum);
  return minimum;
}

int32_t SpeechProbability(const NoiseTracker32s& record, int32_t old, int32_t power,
                          int32_t minimum) {
  int64_t probability = TimesQ31(old, record.probabilitySmoothing);
  const int64_t threshold = (int64_t{minimum} * record.speechThreshold) >> 15;
  if (threshold < power) probability += Complement(record.probabilitySmoothing);
  return LowWord(probability);
}

/// Frozen where speech is likely.
int32_t UpdatedNoise(const NoiseTracker32s& record, int32_t probability, int32_t noise,
                     int32_t power) {
  const int32_t factor =
      LowWord(TimesQ31(probability, Complement(record.noiseSmoothing)) + record.noiseSmoothing);
  return LowWord(TimesQ31(factor, noise) + TimesQ31(power, Complement(factor)));
}

void TakeFrame(const int32_t* noisy, const NoiseTracker32s& record, const Arrays& arrays,
               bool isWindowOver, int32_t* noise) {
  const int32_t bins = BinsOf(record.frameLength);
  for (int32_t k = 0; k < bins; ++k) {
    // Loaded before anything is stored: an eighth of the time less.
    const int32_t power = Load(noisy, k);
    const int32_t oldProbability = Load(arrays.probabilities, k);
    const int32_t oldNoise = Load(noise, k);
    const int32_t smoothed = Smoothed(record.powerSmoothing, Load(arrays.smoothedPowers, k), power);
    Store(arrays.smoothedPowers, k, smoothed);
    const int32_t minimum = TrackMinimum(arrays, k, smoothed, isWindowOver);
    const int32_t probability = SpeechProbability(record, oldProbability, smoothed, minimum);
    Store(arrays.probabilities, k, probability);
    Store(noise, k, UpdatedNoise(record, probability, oldNoise, power));
  }
}

}  // namespace

namespace px {

int32_t ippsGetSizeMCRA_32s(int32_t nFFT, int32_t* size) {
  if (size == nullptr) return kStatusNullPointer;
  if (!IsFrameLength(nFFT)) return kStatusSize;
  constexpr auto kBinBytes = static_cast<int32_t>(4 * sizeof(int32_t));
  constexpr auto kRecordBytes = static_cast<int32_t>(sizeof(NoiseTracker32s));
  Store(size, 0, kRecordBytes + kBinBytes * BinsOf(nFFT) + kSpareBytes);
  return kStatusOk;
}

int32_t ippsInitMCRA_32s(int32_t samplingRate, int32_t nFFT, NoiseTracker32s* state) {
  if (state == nullptr) return kStatusNullPointer;
  if (samplingRate < 8000 || samplingRate > 48000) return kStatusNoiseRange;
  if (!IsFrameLength(nFFT)) return kStatusSize;

  const int32_t halfLength = nFFT / 2;
  const auto halfBits = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(halfLength)));
  const int32_t hop = HopOf(samplingRate, halfLength);
  const auto array = [nFFT](int32_t index) {
    const auto arrayBytes = static_cast<int32_t>(sizeof(int32_t)) * BinsOf(nFFT);
    return static_cast<int32_t>(sizeof(NoiseTracker32s)) + index * arrayBytes;
  };
  const NoiseTracker32s record = {
      .sampleRate = samplingRate,
      .frameLength = nFFT,
      .halfBits = halfBits,
      .halfLength = halfLength,
      .windowFrames = FramesPerWindow(samplingRate, halfBits),
      .frameCount = 0,
      .isFirstFrame = 1,
      .noiseSmoothing = SmoothingOver(hop, -765953610),                // 0.7
      .probabilitySmoothing = SmoothingOverOfEighth(hop, -432030200),  // 0.2
      .powerSmoothing = SmoothingOver(hop, -479197128),                // 0.8
      .speechThreshold = kFiveQ15,
      .probabilities = array(0),
      .smoothedPowers = array(1),
      .minima = array(2),
      .windowMinima = array(3)};
  Store(state, 0, record);
  return kStatusOk;
}

int32_t ippsUpdateNoisePSDMCRA_32s_I(const int32_t* pSrcNoisyPSD, NoiseTracker32s* state,
                                     int32_t* pSrcDstNoisePSD) {
  if (pSrcNoisyPSD == nullptr || state == nullptr || pSrcDstNoisePSD == nullptr) {
    return kStatusNullPointer;
  }
  NoiseTracker32s record = Load(state, 0);
  const Arrays arrays(state, record);
  if (record.isFirstFrame != 0) {
    TakeFirstFrame(pSrcNoisyPSD, arrays, BinsOf(record.frameLength), pSrcDstNoisePSD);
    record.isFirstFrame = 0;
    record.frameCount = 1;
  } else {
    const bool isWindowOver = record.frameCount == record.windowFrames;
    TakeFrame(pSrcNoisyPSD, record, arrays, isWindowOver, pSrcDstNoisePSD);
    record.frameCount = isWindowOver ? 1 : record.frameCount + 1;
  }
  Store(state, 0, record);
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
