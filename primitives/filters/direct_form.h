// The recursion of an IIR filter in transposed direct form, sample by sample and by pairs of
// samples. What a pair leaves in the delay elements is rounded once, where two single steps would
// round twice: that shows in the last bits.
#pragma once

#include <cstdint>

#include "primitives/rounding.h"

namespace zr::primitives {

struct DirectForm {
  int32_t order;
  const float* b;  ///< b[0] to b[order].
  const float* a;  ///< a[1] to a[order]; a[0] is 1, and its place is another's.
  float* delay;    ///< order + 1 elements, the last of which is always 0.

  double Step(double x) const {
    const double y = b[0] * x + delay[0];
    for (int32_t k = 0; k < order; ++k) {
      delay[k] = RoundToFloat(b[k + 1] * x - a[k + 1] * y + delay[k + 1]);
    }
    return y;
  }

  struct Pair {
    double first;
    double second;
  };

  /// For orders of 2 or more.
  [[nodiscard]] Pair StepPair(Pair x) const {
    const double y0 = b[0] * x.first + delay[0];
    const double y1 = b[0] * x.second + (b[1] * x.first - a[1] * y0 + delay[1]);
    for (int32_t k = 0; k < order - 1; ++k) {
      delay[k] = RoundToFloat(b[k + 1] * x.second - a[k + 1] * y1 + b[k + 2] * x.first -
                              a[k + 2] * y0 + delay[k + 2]);
    }
    delay[order - 1] = RoundToFloat(b[order] * x.second - a[order] * y1);
    return {y0, y1};
  }
};

}  // namespace zr::primitives
