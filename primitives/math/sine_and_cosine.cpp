// A table of 64 angles, the multiples of pi / 32, and short series for what an angle differs from
// the nearest of them.
#include "primitives/math/sine_and_cosine.h"

#include <cstdint>

#include "primitives/math/angle_reduction.h"
#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {
namespace {

using Number = FixedPoint<6>;

struct TableAngle {
  DoubleLength sine;
  // The head is a multiple of 1 / 2: its product with any offset is exact.
  DoubleLength cosine;
};

constexpr uint32_t kAngles = 64;
constexpr uint32_t kQuarter = kAngles / 4;

// sin(pi / 2 * i / kQuarter), for i in [0, kQuarter], by its series.
constexpr Number SineInFirstQuadrant(uint32_t i) {
  const Number angle = Pi<6>().Times(i).DividedBy(2 * kQuarter);
  const Number square = angle * angle;
  Number positive;
  Number negative;
  Number term = angle;
  for (uint32_t k = 1; !term.IsZero(); k += 4) {
    positive = positive + term;
    term = (term * square).DividedBy((k + 1) * (k + 2));
    negative = negative + term;
    term = (term * square).DividedBy((k + 3) * (k + 4));
  }
  return positive - negative;
}

struct AngleTable {
  TableAngle rows[kAngles];
};

constexpr AngleTable MakeAngleTable() {
  DoubleLength sines[kQuarter + 1] = {};
  DoubleLength cosines[kQuarter + 1] = {};  // In the order of the sines.
  for (uint32_t i = 0; i <= kQuarter; ++i) {
    // The series of the right angle ends a little below its sine.
    const Number sine = i == kQuarter ? Number::Ratio(1, 1) : SineInFirstQuadrant(i);
    sines[i] = SplitAtDouble(sine);
    cosines[i] = Split(sine, sine.RoundedAt(Number::kFractionBits - 1));
  }
  AngleTable table = {};
  for (uint32_t row = 0; row < kAngles; ++row) {
    const auto valueIn = [row](const DoubleLength* quadrant, uint32_t quartersAhead) {
      const uint32_t angle = (row + quartersAhead * kQuarter) % kAngles;
      const uint32_t inHalf = angle % (2 * kQuarter);
      const DoubleLength value = quadrant[inHalf <= kQuarter ? inHalf : 2 * kQuarter - inHalf];
      return angle < 2 * kQuarter ? value : Negated(value);
    };
    table.rows[row] = {valueIn(sines, 0), valueIn(cosines, 1)};
  }
  return table;
}
constexpr AngleTable kAngleTable = MakeAngleTable();

// pi / 32 in three parts, the first two so short that their products with a row are exact.
constexpr double kStepHead = 0.09817477042088285;
constexpr double kStepMiddle = 3.798187816439979e-12;
constexpr double kStepTail = 1.2639164054974691e-22;
constexpr double kStepsInRadian = 10.185916357881302;
// Adding 1.5 * 2^52 rounds to an integer.
constexpr double kToInteger = 6755399441055744.0;

// The sine of an angle of the table and a little more.
double SineNear(const TableAngle& angle, DoubleLength offset) {
  const double r = offset.head;
  const double z = r * r;
  const double cosine = angle.cosine.head + angle.cosine.tail;
  const double sineSeries =
      ((2.7557319223985893e-6 * z - 0.0001984126984126984) * z + 0.008333333333333333) * z -
      0.16666666666666666;
  const double cosineSeries =
      ((2.48015873015873e-5 * z - 0.001388888888888889) * z + 0.041666666666666664) * z - 0.5;

  const double first = angle.cosine.head * r;
  const double second = angle.cosine.tail * r;
  const double headSum = angle.sine.head + first;
  const double headError = first - (headSum - angle.sine.head);
  const double sum = headSum + second;
  const double sumError = second - (sum - headSum);

  double corrections = angle.sine.tail + offset.tail * (cosine - r * angle.sine.head);
  corrections += headError + sumError;
  corrections += cosineSeries * z * angle.sine.head;
  corrections += sineSeries * (r * z) * cosine;
  return sum + corrections;
}

// remainder - steps * pi / 32. Unless steps is 0, the remainder is so much larger than the
// difference that the head's subtraction is exact.
DoubleLength TakeOff(double steps, DoubleLength remainder) {
  const double difference = remainder.head - steps * kStepHead;
  const double middle = steps * kStepMiddle;
  const double sum = difference - middle;
  // Whichever of the two is the larger one.
  const double differenceInSum = sum + middle;
  const double middleInSum = differenceInSum - sum;
  const double error = (difference - differenceInSum) - (middle - middleInSum);
  const double tail = error - steps * kStepTail + remainder.tail;
  const double head = sum + tail;
  return {head, tail - (head - sum)};
}

}  // namespace

SineAndCosine SineAndCosineOf(double x) {
  constexpr double kTiny = 0x1p-252;
  if (-kTiny < x && x < kTiny) return {x, 1.0};
  const ReducedAngle angle = ReduceAngle(x);
  const double steps = (angle.remainder.head * kStepsInRadian + kToInteger) - kToInteger;
  const DoubleLength offset = TakeOff(steps, angle.remainder);
  const uint32_t row =
      angle.quadrant * kQuarter + static_cast<uint32_t>(static_cast<int32_t>(steps));
  return {SineNear(kAngleTable.rows[row % kAngles], offset),
          SineNear(kAngleTable.rows[(row + kQuarter) % kAngles], offset)};
}

}  // namespace zr::primitives
