// Sine and cosine in double precision, nearly correctly rounded, for every finite angle: where the
// short ways of the single-precision functions end.
#pragma once

namespace zr::primitives {

struct SineAndCosine {
  double sine;
  double cosine;
};

/// x finite. A zero keeps its sign in the sine.
SineAndCosine SineAndCosineOf(double x);

}  // namespace zr::primitives
