// The reduction of Payne and Hanek: of the product of x and 2 / pi only the bits around the point
// matter. Those above are multiples of whole turns, those below are less than the result's last
// bit; so x is multiplied by that window of 2 / pi alone, in integers.
#include "primitives/math/angle_reduction.h"

#include <bit>

#include "primitives/math/double_length.h"

namespace zr::primitives {
namespace {

// 160 bits and more stand behind the point: a double comes as close as 2^-61 to a multiple of pi /
// 2, and what is left then still fills a head and most of a tail.
constexpr int32_t kWindowLimbs = 7;
using Window = FixedPoint<kWindowLimbs>;

constexpr DoubleLength kHalfPi = SplitAtDouble(Pi<kWindowLimbs>().DividedBy(2));
constexpr double kQuarterPi = kHalfPi.head / 2;

// The largest double needs the last ones of its bits.
constexpr int32_t kLongLimbs = 39;
using LongNumber = FixedPoint<kLongLimbs>;
constexpr LongNumber kTwoOverPi = Reciprocal(Pi<kLongLimbs>().DividedBy(2));

// factor * 2^exponent * 2 / pi modulo 2^32.
Window TimesTwoOverPi(uint32_t factor, int32_t exponent) {
  const int32_t lowestBit = LongNumber::kFractionBits - exponent - Window::kFractionBits;
  Window window;
  for (int32_t i = 0; i < kWindowLimbs; ++i)
    window.limbs[i] = kTwoOverPi.BitsFrom(lowestBit + 32 * i);
  return window.Times(factor);
}

// What number lies above the nearest integer.
DoubleLength AboveNearestInteger(const Window& number) {
  double unit = 0x1p-32;
  DoubleLength sum = {static_cast<int32_t>(number.limbs[kWindowLimbs - 2]) * unit, 0.0};
  for (int32_t i = kWindowLimbs - 3; i >= 0; --i) {
    unit *= 0x1p-32;
    const DoubleLength next = OrderedSum(sum.head, number.limbs[i] * unit);
    sum = {next.head, sum.tail + next.tail};
  }
  return sum;
}

}  // namespace

ReducedAngle ReduceAngle(double x) {
  constexpr uint64_t kSign = 0x8000000000000000;
  const auto bits = std::bit_cast<uint64_t>(x);
  const uint64_t magnitude = bits & ~kSign;
  if (magnitude <= std::bit_cast<uint64_t>(kQuarterPi)) return {{x, 0.0}, 0};

  // The bits of a float, and those that it does not have.
  constexpr int32_t kLowBits = 29;
  const int32_t exponent = static_cast<int32_t>(magnitude >> 52) - 1075;
  const uint64_t integer = (magnitude & 0xfffffffffffff) | 0x10000000000000;
  const auto low = static_cast<uint32_t>(integer) & ((uint32_t{1} << kLowBits) - 1);
  Window turns = TimesTwoOverPi(static_cast<uint32_t>(integer >> kLowBits), exponent + kLowBits);
  if (low != 0) turns = turns + TimesTwoOverPi(low, exponent);

  const uint32_t quadrant = turns.limbs[kWindowLimbs - 1] + (turns.limbs[kWindowLimbs - 2] >> 31);
  const DoubleLength part = AboveNearestInteger(turns);
  const double product = part.head * kHalfPi.head;
  const DoubleLength remainder =
      OrderedSum(product, ErrorOfProduct(part.head, kHalfPi.head, product) +
                              (part.head * kHalfPi.tail + part.tail * kHalfPi.head));
  const bool isNegative = (bits & kSign) != 0;
  return {isNegative ? Negated(remainder) : remainder, (isNegative ? 0 - quadrant : quadrant) % 4};
}

}  // namespace zr::primitives
