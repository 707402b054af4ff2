// In a file of its own, so that the calls stay between those that set the rounding.
#include "primitives/math/large_angles.h"

#include <cmath>

#include "primitives/math/sine_and_cosine.h"
#include "primitives/rounding.h"

namespace zr::primitives {

float SineOfLargeAngle(float x) {
  return std::isnan(x) ? x + x : RoundToFloat(SineAndCosineOf(x).sine);
}

float CosineOfLargeAngle(float x) {
  return std::isnan(x) ? x + x : RoundToFloat(SineAndCosineOf(x).cosine);
}

float TangentOfLargeAngle(float x) {
  if (std::isnan(x)) return x + x;
  const SineAndCosine both = SineAndCosineOf(x);
  return RoundToFloat(both.sine / both.cosine);
}

}  // namespace zr::primitives
