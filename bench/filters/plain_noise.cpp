// Plain loops of noise suppression, in integers.
#include <algorithm>
#include <array>
#include <bit>

#include "bench/filters/streams.h"
#include "bench/primitives/plain.h"
#include "primitives/filters/ephraim_malah_tables.h"

namespace zr::bench {
namespace {

constexpr int64_t kOne = 0x7fffffff;  // Q31

struct Tracker {
  struct Bin {
    int32_t probability;
    int32_t power;
    int32_t minimum;
    int32_t windowMinimum;
  };

  void Take(const int32_t* noisy) {
    constexpr int32_t kWindowFrames = 125;
    if (frames == 0) {
      for (std::size_t k = 0; k < kNoiseBins; ++k) {
        bins[k] = {0, noisy[k], noisy[k], noisy[k]};
        noise[k] = noisy[k];
      }
      frames = 1;
      return;
    }
    const bool isWindowOver = frames == kWindowFrames;
    for (std::size_t k = 0; k < kNoiseBins; ++k) {
      noise[k] = Next(&bins[k], noisy[k], noise[k], isWindowOver);
    }
    frames = isWindowOver ? 1 : frames + 1;
  }

  int32_t Next(Bin* bin, int64_t noisy, int64_t noise, bool isWindowOver) const {
    const auto power =
        static_cast<int32_t>((powerDecay * bin->power + (kOne - powerDecay) * noisy) >> 31);
    const int32_t windowMinimum = std::min(bin->windowMinimum, power);
    bin->power = power;
    bin->minimum = isWindowOver ? windowMinimum : std::min(bin->minimum, power);
    bin->windowMinimum = isWindowOver ? power : windowMinimum;
    int64_t probability = (bin->probability * probabilityDecay) >> 31;
    if (int64_t{bin->minimum} * 5 < power) probability += kOne - probabilityDecay;
    bin->probability = static_cast<int32_t>(probability);
    const int64_t decay = ((probability * (kOne - noiseDecay)) >> 31) + noiseDecay;
    return static_cast<int32_t>(((decay * noise) >> 31) + ((noisy * (kOne - decay)) >> 31));
  }

  std::array<Bin, kNoiseBins> bins;
  std::vector<int32_t> noise = std::vector<int32_t>(kNoiseBins);
  int32_t frames = 0;

  // Q31, for 8 ms.
  int64_t noiseDecay = 1501757440;       // 0.7
  int64_t powerDecay = 1717698560;       // 0.8
  int64_t probabilityDecay = 429043313;  // 0.2
};

}  // namespace

Stream PlainNoiseTracker(const Spectra& frames) {
  const auto tracker = std::make_shared<Tracker>();
  return [=] {
    for (std::size_t k = 0; k < frames->size(); k += kNoiseBins) {
      tracker->Take(frames->data() + k);
    }
    return BytesOf(tracker->noise);
  };
}

namespace plain {

int32_t ippsFilterUpdateWiener_32s(const int32_t* pSrcPriorSNR, int32_t* pDstGain, int32_t len) {
  for (int32_t i = 0; i < len; ++i) {
    const int64_t ratio = pSrcPriorSNR[i];
    if (ratio >= 1024 << 15) {
      pDstGain[i] = 0x7fffffff;
      continue;
    }
    const int step = ratio < 4 << 15 ? 11 : ratio < 64 << 15 ? 17 : ratio < 512 << 15 ? 21 : 24;
    const int64_t onGrid = ratio >> step << step;
    pDstGain[i] = static_cast<int32_t>((onGrid << 31) / (32768 + onGrid));
  }
  return 0;
}

int32_t ippsFilterUpdateEMNS_32s(const int32_t* pSrcWienerGain, const int32_t* pSrcPostSNR,
                                 int32_t* pDstGain, int32_t len) {
  for (int32_t i = 0; i < len; ++i) {
    const int64_t gain = pSrcWienerGain[i];
    const auto m = static_cast<uint32_t>((gain * std::min(pSrcPostSNR[i], 100 << 15)) >> 24);
    int64_t corrected = 0;
    if (m <= 128) {
      corrected = gain * primitives::kRootCorrections[m];
    } else {
      const auto octave = static_cast<std::size_t>(std::bit_width(m >> 8));
      const primitives::OctaveFit& fit = primitives::kOctaveFits[octave];
      const int64_t d = m - std::bit_floor(m);
      const int64_t correction = ((((fit.a * d) >> 13) - fit.b) * d >> (octave + 5)) + fit.c;
      corrected = (gain * correction) >> 22;
    }
    pDstGain[i] = static_cast<int32_t>(std::min<int64_t>(corrected, 0x7fffffff));
  }
  return 0;
}

}  // namespace plain
}  // namespace zr::bench
