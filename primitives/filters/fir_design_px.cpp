// Design of lowpass filters, px build. The left half is built from the centre outward; the right
// half is its mirror image.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/exact_operations.h"
#include "primitives/filters/tone.h"
#include "primitives/filters/window.h"

namespace zr::primitives::px {
namespace {

constexpr int32_t kFewestTaps = 5;

/// Of a filter with an even number of taps the centre lies between two of them.
double NearestDistance(bool isOdd) {
  return isOdd ? 1.0 : 0.5;
}

/// sines[i] = sin(2 pi rFreq (i + NearestDistance)).
void FillSines(double rFreq, bool isOdd, double* sines, int32_t count) {
  constexpr double kThreeQuarters = 0.75;  // There a cosine is a sine.
  if (rFreq < 0.5) {
    GenerateTone({1.0, rFreq, NearestDistance(isOdd), kThreeQuarters}, sines, count);
    return;
  }
  // No tone has half the sampling frequency; its limit there is known.
  for (int32_t i = 0; i < count; ++i) {
    const double alternating = i % 2 == 0 ? 1.0 : -1.0;
    sines[i] = isOdd ? 0.0 : alternating;
  }
}

void FillIdealResponse(double rFreq, const double* sines, double* taps, int32_t tapsLen) {
  const int32_t half = tapsLen / 2;
  const bool isOdd = tapsLen % 2 != 0;
  if (isOdd) Store(taps, half, 2.0 * rFreq);
  for (int32_t i = 0; i < half; ++i) {
    const double distance = std::numbers::pi * (i + NearestDistance(isOdd));
    Store(taps, half - 1 - i, Over(sines[i], distance));
  }
  ippsZero_64f(taps + (tapsLen - half), half);
}

/// Of the left half and the centre: the right half is still empty.
void NormaliseSum(double* taps, int32_t tapsLen) {
  const int32_t half = tapsLen / 2;
  double sum = 0.0;
  for (int32_t i = 0; i < half; ++i) {
    sum += Load(taps, i);
  }
  sum *= 2.0;
  if (tapsLen % 2 != 0) sum += Load(taps, half);
  const double gain = Over(1.0, std::fabs(sum));
  for (int32_t i = 0; i < tapsLen - half; ++i) {
    Store(taps, i, Times(Load(taps, i), gain));
  }
}

}  // namespace

int32_t ippsFIRGenLowpass_64f(double rFreq, double* pTaps, int32_t tapsLen, int32_t winType,
                              int32_t doNormal) {
  if (const int32_t status = CheckArguments(tapsLen, kFewestTaps, pTaps)) return status;
  if (!(rFreq > 0.0 && rFreq <= 0.5)) return kStatusSize;
  const int32_t half = tapsLen / 2;
  double* const sines = ippsMalloc_64f(half + 1);
  if (sines == nullptr) return kStatusNullPointer;

  FillSines(rFreq, tapsLen % 2 != 0, sines, half);
  FillIdealResponse(rFreq, sines, pTaps, tapsLen);
  ApplyWindow(static_cast<Window>(winType), pTaps, tapsLen);
  if (doNormal != 0) NormaliseSum(pTaps, tapsLen);
  for (int32_t i = 0; i < half; ++i) {
    Store(pTaps, tapsLen - 1 - i, Load(pTaps, i));
  }
  ippsFree(sines);
  return kStatusOk;
}

}  // namespace zr::primitives::px
