// A mantissa times three short reciprocals is so close to 1 that a short series gives its
// logarithm; those of the reciprocals come from their tables.
#include "primitives/math/base_two_logarithm.h"

#include <bit>
#include <cstdint>

#include "primitives/math/double_length.h"
#include "primitives/math/reciprocal_tables.h"

namespace zr::primitives {
namespace {

constexpr auto kFirst = MakeFirstReciprocals();
constexpr auto kSecond = MakeSecondReciprocals();
constexpr auto kThird = MakeThirdReciprocals();

uint32_t UpperWord(double x) {
  return static_cast<uint32_t>(std::bit_cast<uint64_t>(x) >> 32);
}

}  // namespace

DoubleLength BaseTwoLogarithm(double x) {
  const bool isSubnormal = x < 0x1p-1022;
  const double normal = isSubnormal ? x * 0x1p200 : x;
  const auto bits = std::bit_cast<uint64_t>(normal);
  const int32_t exponent =
      (static_cast<int32_t>(UpperWord(normal) - 0x3fe7c000) >> 20) - (isSubnormal ? 200 : 0);
  const auto mantissa = std::bit_cast<double>((bits & 0xfffffffffffff) | 0x3ff0000000000000);

  const ReciprocalRow& first = kFirst.rows[((UpperWord(mantissa) & 0xfc000) + 16384) >> 15];
  const double afterFirst = mantissa * first.factor;
  const ReciprocalRow& second = kSecond.rows[((UpperWord(afterFirst) & 0xfc00) + 1024) >> 11];
  const double afterSecond = afterFirst * second.factor;
  const ReciprocalRow& third = kThird.rows[((UpperWord(afterSecond) & 0xff0) + 16) >> 5];
  const double scaled = afterSecond * third.factor;
  const double offset = scaled - kReciprocalScale;
  const double known =
      exponent + first.logarithm.head + second.logarithm.head + third.logarithm.head;
  const double tails = first.logarithm.tail + second.logarithm.tail + third.logarithm.tail;

  // The products above were rounded; this one is exact.
  const double error =
      ErrorOfProduct(mantissa, first.factor * second.factor * third.factor, scaled);
  const double w = offset + error;
  const double series =
      w * (((-0.08325619496470027 * w + 0.16015105075870564) * w - 0.3465736568077919) * w +
           9.597935033233503e-08);
  // Close to 1 the error is nearly as large as the offset.
  const DoubleLength withOffset = OrderedSum(known, offset);
  const DoubleLength withError = OrderedSum(withOffset.head, error);
  const DoubleLength withSeries = OrderedSum(withError.head, series);
  return OrderedSum(withSeries.head,
                    ((tails + withOffset.tail) + withError.tail) + withSeries.tail);
}

}  // namespace zr::primitives
