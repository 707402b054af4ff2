// Sine, cosine and tangent of any finite float, rounded once, where the short ways end. A NaN gives
// a quiet NaN.
#pragma once

namespace zr::primitives {

float SineOfLargeAngle(float x);
float CosineOfLargeAngle(float x);
/// A zero gives itself.
float TangentOfLargeAngle(float x);

}  // namespace zr::primitives
