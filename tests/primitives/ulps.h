// The error of a float or a double in units of its last place, subnormal ones included, and
// arguments to look for errors at.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/primitives/extended_precision.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {

/// reference() gives the exact result in long double, with an error of some 2^-11 of a double's
/// unit; it runs with all of the x87's precision.
template <typename Result, typename Reference>
double Ulps(Result result, Reference reference) {
  using Limits = std::numeric_limits<Result>;
  const ExtendedPrecision scope;
  const long double exact = reference();
  const int exponent = std::max(std::ilogb(exact), Limits::min_exponent - 1);
  const long double error = static_cast<long double>(result) - exact;
  return static_cast<double>(std::fabs(std::scalbn(error, Limits::digits - 1 - exponent)));
}

/// Of [low, high).
inline double Uniform(RandomElements* random, double low, double high) {
  return low + (high - low) * (static_cast<double>(random->Bits() >> 11) * 0x1p-53);
}

}  // namespace zr::test
