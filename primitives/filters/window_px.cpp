// Windows, px build. The cosine windows are symmetric sums of one cosine and its double angle: one
// cosine and one root are evaluated, and the rest is turned on from them, from both ends inward.
#include "primitives/filters/window.h"

#include <cmath>

#include "primitives/argument_checks.h"
#include "primitives/element_access.h"
#include "primitives/exact_operations.h"
#include "primitives/filters/tone.h"

namespace zr::primitives {
namespace {

constexpr int32_t kShortestWindow = 5;

void Weight(double* s, int32_t i, double w) {
  Store(s, i, Times(Load(s, i), w));
}

/// weightAt(i) for the elements i and n - 1 - i, from the ends inward; a middle one has it once.
template <typename WeightAt>
void WeightFromBothEnds(double* s, int32_t n, WeightAt weightAt) {
  for (int32_t low = 0, high = n - 1; low <= high; ++low, --high) {
    const double w = weightAt(low);
    Weight(s, low, w);
    if (high != low) Weight(s, high, w);
  }
}

/// weightOf(c) with c the cosine of 2 pi i / (n - 1). cosine is that at 1.
template <typename WeightOf>
void WeightByCosine(double* s, int32_t n, double cosine, WeightOf weightOf) {
  // From 5 elements on the step is a quarter of a turn at most, and its sine is positive.
  const double sine = std::sqrt(1.0 - cosine * cosine);
  double c1 = 1.0;
  double s1 = 0.0;
  WeightFromBothEnds(s, n, [&](int32_t /*i*/) {
    const double w = weightOf(c1);
    const double turned = c1 * cosine - s1 * sine;
    s1 = s1 * cosine + c1 * sine;
    c1 = turned;
    return w;
  });
}

}  // namespace

int32_t ApplyWindow(Window window, double* s, int32_t n) {
  if (const int32_t status = CheckArguments(n, kShortestWindow, s)) return status;
  const double last = n - 1.0;
  const double cosine = CosineOfTurns(1.0 / last);
  switch (window) {
    case Window::Bartlett:
      WeightFromBothEnds(s, n, [last](int32_t i) { return 2.0 * i / last; });
      break;
    case Window::Blackman: {
      // -(0.5 / cos(pi / (n - 1)))^2, by the square of the cosine of half an angle.
      const double alpha = -0.5 / (1.0 + cosine);
      WeightByCosine(s, n, cosine, [alpha](double c1) {
        const double c2 = 2.0 * c1 * c1 - 1.0;
        return (alpha + 1.0) / 2.0 - 0.5 * c1 - alpha / 2.0 * c2;
      });
      break;
    }
    case Window::Hamming:
      WeightByCosine(s, n, cosine, [](double c1) { return 0.54 - 0.46 * c1; });
      break;
    case Window::Hann:
      WeightByCosine(s, n, cosine, [](double c1) { return 0.5 - 0.5 * c1; });
      break;
    default:
      break;
  }
  return kStatusOk;
}

}  // namespace zr::primitives
