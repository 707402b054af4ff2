// The exponential and the natural logarithm in double precision. The C libraries' own differ in
// their last bits; these are made of operations that every processor rounds the same way.
#pragma once

namespace zr::primitives {

/// e to the power x: infinite or 0 beyond the range of doubles, with a subnormal result where there
/// is one, a quiet NaN for a NaN.
double ExponentialOf(double x);

/// ln(x), for x positive, infinite or a NaN.
double LogarithmOf(double x);

}  // namespace zr::primitives
