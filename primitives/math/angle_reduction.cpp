// The reduction of Payne and Hanek: of the product of x and 2 / pi only the bits around the point
// matter. Those above are multiples of whole turns, those below are less than the result's last
// bit; so x is multiplied by that window of 2 / pi alone, in integers.
#include "primitives/math/angle_reduction.h"

#include <bit>

namespace zr::primitives {
namespace {

// 192 bits and more stand behind the point: a double comes as close as 2^-61 to a multiple of pi /
// 2, and what is left then still fills a head and a tail.
constexpr int32_t kWindowLimbs = 8;
using Window = FixedPoint<kWindowLimbs>;

constexpr Window kHalfPi = Pi<kWindowLimbs>().DividedBy(2);
constexpr double kQuarterPi = Pi<kWindowLimbs>().DividedBy(4).ToDouble();

// The bits of 2 / pi behind the point, the highest limb first, with zeros before them. The largest
// double needs the last ones.
constexpr int32_t kLeadingZeros = 3;
constexpr int32_t kLimbs = 42;

struct TwoOverPi {
  uint32_t limbs[kLimbs];
};

constexpr TwoOverPi MakeTwoOverPi() {
  const auto number = Reciprocal(Pi<kLimbs>().DividedBy(2));
  TwoOverPi table = {};
  for (int32_t i = kLeadingZeros; i < kLimbs; ++i)
    table.limbs[i] = number.limbs[kLimbs - 2 - (i - kLeadingZeros)];
  return table;
}
constexpr TwoOverPi kTwoOverPi = MakeTwoOverPi();

// magnitude * 2 / pi modulo 2^32, for magnitudes from 2^-12 up.
Window TimesTwoOverPi(uint64_t magnitude) {
  // The magnitude is significand * 2^(32 * limbExponent), the significand of three limbs.
  const int32_t exponent = static_cast<int32_t>(magnitude >> 52) - 1075;
  const int32_t limbExponent = exponent >> 5;
  const int32_t shift = exponent & 31;
  const uint64_t integer = (magnitude & 0xfffffffffffff) | 0x10000000000000;
  const uint64_t low = (integer & 0xffffffff) << shift;
  const uint64_t high = ((integer >> 32) << shift) + (low >> 32);
  const uint32_t significand[] = {static_cast<uint32_t>(low), static_cast<uint32_t>(high),
                                  static_cast<uint32_t>(high >> 32)};
  Window product;
  for (int32_t i = 0; i < 3; ++i) {
    const int32_t first = kLeadingZeros + limbExponent + i - 1;
    Window window;
    for (int32_t j = 0; j < kWindowLimbs; ++j)
      window.limbs[kWindowLimbs - 1 - j] = kTwoOverPi.limbs[first + j];
    product = product + window.Times(significand[i]);
  }
  return product;
}

}  // namespace

ReducedAngle ReduceAngle(double x) {
  constexpr uint64_t kSign = 0x8000000000000000;
  const auto bits = std::bit_cast<uint64_t>(x);
  const uint64_t magnitude = bits & ~kSign;
  if (magnitude <= std::bit_cast<uint64_t>(kQuarterPi)) return {{x, 0.0}, 0};

  Window fraction = TimesTwoOverPi(magnitude);
  uint32_t quadrant = fraction.limbs[kWindowLimbs - 1];
  fraction.limbs[kWindowLimbs - 1] = 0;
  const bool isRoundedUp = fraction.limbs[kWindowLimbs - 2] >= 0x80000000;
  if (isRoundedUp) {
    ++quadrant;
    fraction = Window::Ratio(1, 1) - fraction;
  }
  const bool isNegative = (bits & kSign) != 0;
  const DoubleLength remainder = SplitAtDouble(fraction * kHalfPi);
  return {isRoundedUp != isNegative ? Negated(remainder) : remainder,
          (isNegative ? 0 - quadrant : quadrant) % 4};
}

}  // namespace zr::primitives
