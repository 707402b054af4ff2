// Powers of floats, good to nearly the last bit, px build: the base 2 logarithm and its product
// with the exponent are carried along as two doubles.
#include <bit>
#include <cmath>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/math/powers_of_two.h"
#include "primitives/math/short_logarithm.h"
#include "primitives/math/special_powers.h"
#include "primitives/rounding.h"

namespace zr::primitives::px {
namespace {

constexpr PowersOfTwo<128> kPowersOfTwo = MakePowersOfTwo<128>();

// Unbiased; -1023 for 0.
int32_t ExponentOf(double x) {
  return static_cast<int32_t>((std::bit_cast<uint64_t>(x) >> 52) & 0x7ff) - 1023;
}

float Power(double x, double y) {
  const DoubleLength logarithm = ShortBinaryLogarithm(x);
  const bool isLarge = (logarithm.head > 0.0) == (y > 0.0);
  const float beyondRange = isLarge ? std::numeric_limits<float>::infinity() : 0.0F;
  // The logarithm of the power is 4096 and more.
  if (ExponentOf(logarithm.head) + ExponentOf(y) >= 12) return beyondRange;

  // The head without its low 27 bits: its product with the 24 bits of a float is exact.
  const auto cut = std::bit_cast<double>(std::bit_cast<uint64_t>(logarithm.head) & ~0x7ffffffULL);
  const double product = y * cut;
  const double rest = y * ((logarithm.head - cut) + logarithm.tail);

  // 1.5 * 2^45: the last bit of the sum is worth 1 / 128.
  constexpr double kToRows = 52776558133248.0;
  const double shifted = kToRows + product;
  const auto rows = static_cast<uint32_t>(std::bit_cast<uint64_t>(shifted));
  const int32_t exponent = static_cast<int32_t>(rows) >> 7;
  if (exponent >= 1023 || exponent <= -964) return beyondRange;

  const double f = (product - (shifted - kToRows)) + rest;
  const DoubleLength& power = kPowersOfTwo.rows[rows % 128];
  const double square = f * f;
  const double fraction =
      power.tail +
      power.head * (square * square) * (0.0013333558146428443 * f + 0.009618129107628477) +
      power.head * square * (0.055504108664821576 * f + 0.2402265069591007) +
      power.head * f * 0.6931471805599453;
  const auto powerOfTwo =
      std::bit_cast<double>(static_cast<uint64_t>(static_cast<uint32_t>(exponent + 1023)) << 52);
  return RoundToFloat(powerOfTwo * (power.head + fraction));
}

}  // namespace

int32_t ippsPowAccurate_32f(const float* a, const float* b, float* d, int32_t n) {
  const auto power = [](ExceptionalElements* exceptional, float x, float y) {
    return PowerWithSpecials(&Power, exceptional, x, y);
  };
  return ForEachElementReporting(power, d, n, a, b);
}

}  // namespace zr::primitives::px
