// Exponentials of doubles, good to nearly the last bit, px build: a table of powers of two in steps
// of 1 / 64, and a polynomial for the rest.
#include <bit>
#include <cmath>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/exact_operations.h"
#include "primitives/math/below_normal.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/math/powers_of_two.h"

namespace zr::primitives::px {
namespace {

constexpr uint32_t kRows = 64;
constexpr auto kPowersOfTwo = MakePowersOfTwoWithRelativeTails<kRows>();

double Exponential(ExceptionalElements* exceptional, double x) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (std::isnan(x) || x == kInfinity) return x * x;
  if (x == -kInfinity) return 0.0;
  constexpr int32_t kNegligible = 970;  // Below 2^-52, with the exponent's bias.
  const auto exponentOfX = static_cast<int32_t>(std::bit_cast<uint64_t>(x) >> 52) & 0x7ff;
  if (exponentOfX <= kNegligible) return 1.0 + x;
  if (x > 709.782712893384) {
    exceptional->Report(kStatusMathOverflow);
    return kInfinity;
  }
  if (x < -745.1332191019412) {
    exceptional->Report(kStatusMathUnderflow);
    return 0.0;
  }

  // Adding 1.5 * 2^52 leaves the nearest integer in the low word.
  constexpr double kToInteger = 6755399441055744.0;
  const double shifted = x * 92.33248261689366 + kToInteger;
  const auto steps = static_cast<uint32_t>(std::bit_cast<uint64_t>(shifted));
  const int32_t n = static_cast<int32_t>(steps) >> 6;
  const double m = shifted - kToInteger;
  const double r = x - m * 0.010830424696223417 - m * 2.572804622327669e-14;
  const DoubleLength& power = kPowersOfTwo.rows[steps % kRows];
  const double series =
      (((0.0013888870459233254 * r + 0.008333341995140497) * r + 0.04166666666677052) * r +
       0.1666666666665788) *
          r +
      0.5;
  const double p = (r + series * r * r + power.tail) * power.head;

  constexpr double kLogarithmOfLowestNormal = -708.3964185322641;
  constexpr int32_t kHighestExponent = 1023;
  if (x >= kLogarithmOfLowestNormal) {
    const double sum = power.head + p;
    return n > kHighestExponent ? Times(sum * TwoToThe(n - 1), 2.0) : Times(sum, TwoToThe(n));
  }
  constexpr int32_t kLift = 60;
  constexpr double kBack = 0x1p-60;
  constexpr int32_t kLowestRoundedOnce = 50 - 1023 - kLift;
  const double up = TwoToThe(n + kLift);
  if (n > kLowestRoundedOnce) return RoundOnceBelowNormal({power.head, p}, up, kBack);
  return Times(Plus(Times(power.head, up), Times(p, up)), kBack);
}

}  // namespace

int32_t ippsExpAccurate_64f(const double* a, double* d, int32_t n) {
  return ForEachElementReporting(&Exponential, d, n, a);
}

}  // namespace zr::primitives::px
