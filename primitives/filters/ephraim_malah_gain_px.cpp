// Ephraim-Malah gains from Wiener gains, px build.
#include <algorithm>
#include <bit>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/filters/ephraim_malah_tables.h"
#include "primitives/filters/noise_lengths.h"

namespace zr::primitives {
namespace {

constexpr int32_t kMostPosteriorRatio = 100 << 15;

/// The fit over the octave that m is in, Q22.
int64_t OctaveCorrection(uint32_t m) {
  const auto octave = static_cast<int>(std::bit_width(m >> 8));
  const OctaveFit& fit = kOctaveFits[static_cast<std::size_t>(octave)];
  const int64_t distance = m - std::bit_floor(m);
  return ((((fit.a * distance) >> 13) - fit.b) * distance >> (octave + 5)) + fit.c;
}

int32_t CorrectedGain(int32_t wienerGain, int32_t posteriorRatio) {
  const int64_t gain = wienerGain;
  const auto m =
      static_cast<uint32_t>((gain * std::min(posteriorRatio, kMostPosteriorRatio)) >> 24);
  const int64_t corrected =
      m < kRootCorrections.size() ? gain * kRootCorrections[m] : (gain * OctaveCorrection(m)) >> 22;
  return static_cast<int32_t>(std::min<int64_t>(corrected, 0x7fffffff));
}

/// Looks at them all, with no way out between: the compiler then takes several at once.
bool AreInRange(const int32_t* wienerGains, const int32_t* posteriorRatios, int32_t length) {
  int32_t misfits = 0;
  for (int32_t i = 0; i < length; ++i) {
    const int32_t ratio = Load(posteriorRatios, i);
    const bool isInRange = Load(wienerGains, i) >= 0 && ratio >= 1 && ratio <= 0x40000000;
    misfits += isInRange ? 0 : 1;
  }
  return misfits == 0;
}

}  // namespace

namespace px {

int32_t ippsFilterUpdateEMNS_32s(const int32_t* pSrcWienerGain, const int32_t* pSrcPostSNR,
                                 int32_t* pDstGain, int32_t len) {
  if (pSrcWienerGain == nullptr || pSrcPostSNR == nullptr || pDstGain == nullptr) {
    return kStatusNullPointer;
  }
  if (!IsNoiseLength(len)) return kStatusNoiseLength;
  if (!AreInRange(pSrcWienerGain, pSrcPostSNR, len)) return kStatusNoiseRange;
  for (int32_t i = 0; i < len; ++i) {
    Store(pDstGain, i, CorrectedGain(Load(pSrcWienerGain, i), Load(pSrcPostSNR, i)));
  }
  return kStatusOk;
}

}  // namespace px
}  // namespace zr::primitives
