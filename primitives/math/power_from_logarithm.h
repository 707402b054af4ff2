// Two to the power of a product at double length: the second half of a power, and of an
// exponential.
#pragma once

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

/// sign * 2^(exponent * logarithm), infinite or 0 beyond the range of doubles, with the flag of the
/// processor raised. exponent and the head of the logarithm are no NaNs, the logarithm is finite,
/// sign is 1 or -1. The error is barely more than half a unit of the last bit. Between 2^-1084 and
/// 2^-1032 the result is rounded twice, and a 0 there has no sign.
double PowerFromLogarithm(DoubleLength logarithm, double exponent, double sign);

}  // namespace zr::primitives
