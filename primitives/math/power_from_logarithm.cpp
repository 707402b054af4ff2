// The product is cut into an integer, a row of a table of powers, and a rest for a short series.
#include "primitives/math/power_from_logarithm.h"

#include <bit>
#include <cstdint>
#include <limits>

#include "primitives/math/below_normal.h"
#include "primitives/math/double_length.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/math/powers_of_two.h"

namespace zr::primitives {
namespace {

constexpr uint32_t kRows = 128;
constexpr PowersOfTwo<kRows> kPowersOfTwo = MakePowersOfTwo<kRows>();

constexpr uint64_t kExponentField = 0x7ff0000000000000;
constexpr int32_t kBias = 1023;

int32_t BiasedExponent(double x) {
  return static_cast<int32_t>((std::bit_cast<uint64_t>(x) & kExponentField) >> 52);
}

double AboveRange(double sign) {
  RaiseFlagOf(kStatusMathOverflow);
  return sign * std::numeric_limits<double>::infinity();
}
double BelowRange(double sign) {
  RaiseFlagOf(kStatusMathUnderflow);
  return sign * 0.0;
}

// number * 2^exponent * sign, below the normal doubles.
double Subnormal(DoubleLength number, double rounded, int32_t exponent, double sign,
                 int32_t exponentOfResult) {
  constexpr int32_t kLift = 200;
  constexpr double kBack = 0x1p-200;
  constexpr int32_t kLowestRoundedOnce = -1032;
  RaiseFlagOf(kStatusMathUnderflow);
  const double up = TwoToThe(exponent + kLift);
  if (exponentOfResult >= kLowestRoundedOnce) {
    return RoundOnceBelowNormal(number, up, kBack) * sign;
  }
  return Plus(Times(rounded * up * sign, kBack), 0.0);
}

}  // namespace

double PowerFromLogarithm(DoubleLength logarithm, double exponent, double sign) {
  // A product of 2^11 and more is far out of range, one below 2^-60 gives 1.
  const int32_t exponents = BiasedExponent(exponent) + BiasedExponent(logarithm.head);
  if (exponents >= 2 * kBias + 11) {
    return (exponent > 0.0) == (logarithm.head > 0.0) ? AboveRange(sign) : BelowRange(sign);
  }
  if (exponents < 2 * kBias - 61) return sign;

  const DoubleLength y = Halves(exponent);
  const DoubleLength head = Halves(logarithm.head);
  const double product = y.head * head.head;
  const double rest =
      (y.head * head.tail + y.tail * head.head) + (y.tail * head.tail + exponent * logarithm.tail);

  // 1.5 * 2^45: the last bit of the sum is worth 1 / 128.
  constexpr double kToRows = 52776558133248.0;
  const double shifted = kToRows + product;
  const auto rows = static_cast<uint32_t>(std::bit_cast<uint64_t>(shifted));
  const int32_t integer = static_cast<int32_t>(rows) >> 7;
  const double f = rest + (product - (shifted - kToRows));
  const DoubleLength& power = kPowersOfTwo.rows[rows % kRows];
  const double fraction =
      f *
          ((((0.0013333558146428443 * f + 0.009618129107628477) * f + 0.05550410866482158) * f +
            0.24022650695910072) *
               f +
           0.6931471805599453) *
          power.head +
      power.tail;
  const double result = power.head + fraction;

  const int32_t exponentOfResult = integer + BiasedExponent(result) - kBias;
  if (exponentOfResult > kBias) return AboveRange(sign);
  if (exponentOfResult < -1084) return BelowRange(sign);
  if (exponentOfResult <= -kBias) {
    return Subnormal({power.head, fraction}, result, integer, sign, exponentOfResult);
  }
  const uint64_t significand = std::bit_cast<uint64_t>(result) & ~kExponentField;
  return std::bit_cast<double>(static_cast<uint64_t>(exponentOfResult + kBias) << 52 |
                               significand) *
         sign;
}

}  // namespace zr::primitives
