// Powers of floats by the short way, px build: the exponent times a cubic for the base 2 logarithm,
// then a table and a quadratic for the power of two.
#include <bit>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/math/logarithm_fits.h"
#include "primitives/math/powers_of_two.h"
#include "primitives/math/special_powers.h"
#include "primitives/rounding.h"

namespace zr::primitives::px {
namespace {

constexpr LogarithmFits kLogarithmFitTable = FitLogarithms();
constexpr PowersOfTwo<64> kPowersOfTwo = MakePowersOfTwo<64>();

// Base 2, of a positive number.
double Logarithm(double x) {
  const auto bits = std::bit_cast<uint64_t>(x);
  const double exponent = static_cast<int32_t>(bits >> 52) - 1023;
  const auto m = std::bit_cast<double>((bits & 0xfffffffffffff) | 0x3ff0000000000000);
  const LogarithmFit& fit = kLogarithmFitTable.rows[(bits >> 44) & 0xff];
  const double square = m * m;
  return ((exponent + fit.constant) + fit.quadratic * square) +
         m * (fit.cubic * square + fit.linear);
}

float Power(double x, double y) {
  const double t = y * Logarithm(x);
  // Far beyond a float's range, where the power of two below still is a double.
  if (t > 512.0) return std::numeric_limits<float>::infinity();
  if (t < -512.0) return 0.0F;
  // 1.5 * 2^17: in single precision the last bit of the sum is worth 1 / 64.
  constexpr double kToRows = 196608.0;
  const float shifted = RoundToFloat(kToRows + t);
  const auto rows = std::bit_cast<uint32_t>(shifted);
  const double f = t - (shifted - kToRows);
  // The bits above the row are the exponent; 65472 is its bias of 1023, 64 times.
  const uint64_t exponentWord = ((rows + 65472) & 0x1ffc0) << 14;
  const auto powerOfTwo = std::bit_cast<double>(exponentWord << 32);
  return RoundToFloat(powerOfTwo * kPowersOfTwo.rows[rows % 64].head *
                      (f * (0.2402272407649173 * f + 0.6931497213394309) + 0.9999999999910424));
}

}  // namespace

int32_t ippsPow_32f(const float* a, const float* b, float* d, int32_t n) {
  const auto power = [](ExceptionalElements* exceptional, float x, float y) {
    return PowerWithSpecials(&Power, exceptional, x, y);
  };
  return ForEachElementReporting(power, d, n, a, b);
}

}  // namespace zr::primitives::px
