// The error of a double in units of its last place, subnormal ones included.
#pragma once

#include <algorithm>
#include <cmath>

#include "tests/primitives/extended_precision.h"

namespace zr::test {

/// reference() gives the exact result in long double, with an error of some 2^-11 of a unit; it
/// runs with all of the x87's precision.
template <typename Reference>
double Ulps(double result, Reference reference) {
  const ExtendedPrecision scope;
  const long double exact = reference();
  const int exponent = std::max(std::ilogb(exact), -1022);
  return static_cast<double>(
      std::fabs(std::scalbn(static_cast<long double>(result) - exact, 52 - exponent)));
}

}  // namespace zr::test
