// The smaller part over the larger one is near a multiple of 1 / 64, whose arctangent a table
// holds; what is left is so small that a short series gives its arctangent.
#include "primitives/math/phase.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "primitives/math/double_length.h"
#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {
namespace {

constexpr uint32_t kSteps = 64;
struct ArcTangentTable {
  DoubleLength rows[kSteps + 1];  // Of i / kSteps.
};

constexpr ArcTangentTable MakeArcTangentTable() {
  using Number = FixedPoint<6>;
  ArcTangentTable table = {};
  Number angle;
  for (uint32_t i = 0; i < kSteps; ++i) {
    table.rows[i] = SplitAtDouble(angle);
    // From i / kSteps to the next one it is the arctangent of kSteps / divisor.
    const uint32_t divisor = kSteps * kSteps + i * (i + 1);
    Number positive;
    Number negative;
    Number power = Number::Ratio(kSteps, divisor);
    for (uint32_t k = 1; !power.IsZero(); k += 2) {
      Number& sum = k % 4 == 1 ? positive : negative;
      sum = sum + power.DividedBy(k);
      power = power.Times(kSteps * kSteps).DividedBy(divisor).DividedBy(divisor);
    }
    angle = angle + (positive - negative);
  }
  table.rows[kSteps] = SplitAtDouble(Pi<6>().DividedBy(4));
  return table;
}
constexpr ArcTangentTable kArcTangents = MakeArcTangentTable();

constexpr DoubleLength kNothing = {0.0, 0.0};
constexpr DoubleLength kHalfPi = SplitAtDouble(Pi<6>().DividedBy(2));
constexpr DoubleLength kPi = SplitAtDouble(Pi<6>());

// Of small / large, for 0 <= small <= large, large not 0. The parts of a float have so few bits
// that numerator and denominator are exact, and quotients are normal doubles.
DoubleLength ArcTangent(double small, double large) {
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): not negative, and either neighbour will do.
  const auto i = static_cast<uint32_t>(small / large * kSteps + 0.5);
  const double step = i * (1.0 / kSteps);
  const double numerator = small - step * large;
  const double denominator = large + step * small;
  const double t = numerator / denominator;
  const double product = t * denominator;
  const double missing =
      ((numerator - product) - ErrorOfProduct(t, denominator, product)) / denominator;
  const double z = t * t;
  const double series =
      (((0.1111111111111111 * z - 0.14285714285714285) * z + 0.2) * z - 0.3333333333333333) * z * t;
  const DoubleLength sum = OrderedSum(kArcTangents.rows[i].head, t);
  return {sum.head, (sum.tail + kArcTangents.rows[i].tail) + (missing + series)};
}

}  // namespace

double PhaseOf(Complex32f number) {
  double re = std::fabs(number.re);
  double im = std::fabs(number.im);
  if (std::isnan(re) || std::isnan(im)) return re + im;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (re == kInfinity || im == kInfinity) {
    re = re == kInfinity ? 1.0 : 0.0;
    im = im == kInfinity ? 1.0 : 0.0;
  }
  if (re == 0.0 && im == 0.0) re = 1.0;

  const bool isSteep = im > re;
  const bool isLeft = std::signbit(number.re);
  DoubleLength angle = isSteep ? ArcTangent(re, im) : ArcTangent(im, re);
  if (isSteep != isLeft) angle = Negated(angle);
  const DoubleLength& axis = isSteep ? kHalfPi : isLeft ? kPi : kNothing;
  const DoubleLength sum = OrderedSum(axis.head, angle.head);
  const double phase = sum.head + (sum.tail + (axis.tail + angle.tail));
  return std::signbit(number.im) ? -phase : phase;
}

}  // namespace zr::primitives
