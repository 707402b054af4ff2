// Powers of doubles, px build: the special elements, and the signs of negative bases.
#include <cmath>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/math/base_two_logarithm.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/math/parity.h"
#include "primitives/math/power_from_logarithm.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

double Power(ExceptionalElements* exceptional, double x, double y) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (y == 0.0 || x == 1.0) return 1.0;
  const bool isFinite = std::fabs(y) < kInfinity;
  // Nearly all pairs, so that they are spared the tests below.
  if (isFinite && 0.0 < x && x < kInfinity) return PowerFromLogarithm(BaseTwoLogarithm(x), y, 1.0);
  if (x == -1.0 && !isFinite) return 1.0;
  if (std::isnan(x) || std::isnan(y)) return x + y;

  const double magnitude = std::fabs(x);
  if (!isFinite && magnitude > 0.0) {
    return (magnitude > 1.0) == (y > 0.0) ? kInfinity : 0.0;
  }
  const Parity parity = ParityOf(y);
  const double sign = std::signbit(x) && parity == Parity::kOdd ? -1.0 : 1.0;
  if (magnitude == kInfinity) return sign * (y > 0.0 ? kInfinity : 0.0);
  if (magnitude == 0.0) {
    if (y > 0.0) return sign * 0.0;
    if (isFinite) RaiseFlagOf(kStatusMathSingularity);
    exceptional->Report(kStatusMathDomain);
    return sign * kInfinity;
  }
  if (x < 0.0 && parity == Parity::kNotInteger) {
    exceptional->Report(kStatusMathDomain);
    return kZeroOverZero<double>;
  }
  if (magnitude == 1.0) return sign;
  return PowerFromLogarithm(BaseTwoLogarithm(magnitude), y, sign);
}

}  // namespace

int32_t ippsPow_64f(const double* a, const double* b, double* d, int32_t n) {
  return ForEachElementReporting(&Power, d, n, a, b);
}

}  // namespace zr::primitives::px
