// Cross-correlation, px build: the lags without overlap are cut off, and the cheaper way is chosen
// for the others.
#include <algorithm>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/filters/correlation_methods.h"

namespace zr::primitives::px {
namespace {

/// Whether count * shorter / longer, rounded to an integer, is above 383: with ties that round
/// upward, whether it is 383.5 or more. Twice the largest count times the largest length fits.
bool DoesTransformPay(int64_t count, int64_t shorter, int64_t longer) {
  return 2 * count * shorter >= 767 * longer;
}

/// Sets the first of the count elements of d that are at most `zeros` to 0 and returns their
/// number.
int32_t SetLeadingZeros(int16_t* d, int32_t count, int64_t zeros) {
  const auto written = static_cast<int32_t>(std::clamp<int64_t>(zeros, 0, count));
  if (written > 0) ippsZero_16s(d, written);
  return written;
}

}  // namespace

int32_t ippsCrossCorr_16s_Sfs(const int16_t* pSrc1, int32_t len1, const int16_t* pSrc2,
                              int32_t len2, int16_t* pDst, int32_t dstLen, int32_t lowLag,
                              int32_t scaleFactor) {
  const auto [shorter, longer] = std::minmax(len1, len2);
  const int32_t leastLength = std::min(shorter, dstLen);
  if (const int32_t status = CheckArguments(leastLength, 1, pSrc1, pSrc2, pDst)) return status;

  const int64_t firstLag = lowLag;
  const int32_t leading = SetLeadingZeros(pDst, dstLen, 1 - int64_t{len1} - firstLag);
  const LagRun rest = {firstLag + leading, dstLen - leading};
  const int64_t overlapping = std::clamp<int64_t>(len2 - rest.lowLag, 0, rest.count);
  const LagRun lags = {rest.lowLag, static_cast<int32_t>(overlapping)};
  int16_t* const d = pDst + leading;
  SetLeadingZeros(d + lags.count, rest.count - lags.count, rest.count);
  if (lags.count == 0) return kStatusOk;

  const CorrelatedSignals signals = {pSrc1, len1, pSrc2, len2};
  const auto correlate =
      DoesTransformPay(lags.count, shorter, longer) ? CorrelateByTransform : CorrelateDirectly;
  return correlate(signals, lags, d, scaleFactor);
}

}  // namespace zr::primitives::px
