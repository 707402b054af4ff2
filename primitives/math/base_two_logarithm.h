// The base 2 logarithm at double length: what powers and natural logarithms of doubles start from.
#pragma once

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

/// x positive and finite. The head is the nearest double or its neighbour; head and tail together
/// miss less than 2^-66 of the logarithm, close to 1 too. 0 for 1.
DoubleLength BaseTwoLogarithm(double x);

}  // namespace zr::primitives
