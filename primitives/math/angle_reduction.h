// Angles reduced to the quadrant around a multiple of pi / 2, exact to more than a double's bits
// for every finite double.
#pragma once

#include <cstdint>

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

struct ReducedAngle {
  DoubleLength remainder;  ///< Of [-pi / 4, pi / 4].
  uint32_t quadrant;       ///< The multiple of pi / 2 that was taken off, modulo 4.
};

/// x finite.
ReducedAngle ReduceAngle(double x);

}  // namespace zr::primitives
