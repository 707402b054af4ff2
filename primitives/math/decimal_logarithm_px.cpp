// Decimal logarithms of floats, px build: a table of 65 mantissas and a polynomial for what an
// element differs from the nearest of them.
#include <bit>
#include <cmath>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/math/decimal_logarithm_table.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/rounding.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

constexpr DecimalLogarithmTable kTable = MakeDecimalLogarithmTable();
constexpr double kScale = kDecimalScale;
constexpr DoubleLength kLogarithmOfTwo = kDecimalLogarithmOfTwo;

// With u = kScale * t, u + u * P(u) is log10(1 + t).
double P(double u) {
  return ((((((-43.39945393331915 * u + 21.537397485614264) * u - 10.89268808217976) * u +
             5.667600559012126) *
                u -
            3.0717952611199135) *
               u +
           1.7758816353485936) *
              u -
          1.1550167667401798) *
             u +
         0.0016161024074997103;
}

double LogarithmOfPositive(double x) {
  const double overOne = x - 1.0;
  if (std::fabs(overOne) <= 0.005859375) {
    const double u = overOne * kScale;
    return u + u * P(u);
  }
  const auto bits = std::bit_cast<uint64_t>(x);
  const double exponent = static_cast<int32_t>(bits >> 52) - 1023;
  const auto mantissa = std::bit_cast<double>((bits & 0xfffffffffffff) | 0x3ff0000000000000);
  // 2^46 + 1: the last bit of the sum is worth 1 / 64.
  const double toRow = mantissa + 70368744177665.0;
  const DecimalLogarithmRow& row = kTable.rows[std::bit_cast<uint64_t>(toRow) & 0x7f];
  // The mantissa of a float has 23 bits behind the point: product and difference are exact.
  const double u = mantissa * row.factor - kScale;
  const double rest = (exponent * kLogarithmOfTwo.tail + row.logarithm.tail) + u * P(u);
  return ((kLogarithmOfTwo.head * exponent + row.logarithm.head) + u) + rest;
}

float Logarithm(ExceptionalElements* exceptional, float x) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  if (x == 0.0F) {
    exceptional->Report(kStatusMathSingularity);
    return -kInfinity;
  }
  if (x < 0.0F) {
    exceptional->Report(kStatusMathDomain);
    return kZeroOverZero<float>;
  }
  if (!(x < kInfinity)) return RoundToFloat(x * x);  // A NaN too, which becomes a quiet one.
  return RoundToFloat(LogarithmOfPositive(x));
}

}  // namespace

int32_t ippsLog10_32f(const float* a, float* d, int32_t n) {
  return ForEachElementReporting(&Logarithm, d, n, a);
}

}  // namespace zr::primitives::px
