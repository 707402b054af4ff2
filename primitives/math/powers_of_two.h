// Two to the power of a fraction, as a nearest double and what it misses.
#pragma once

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

template <uint32_t kRows>
struct PowersOfTwo {
  DoubleLength rows[kRows];
};

/// Row j holds 2^(j / kRows).
template <uint32_t kRows>
constexpr PowersOfTwo<kRows> MakePowersOfTwo() {
  using Number = FixedPoint<6>;
  const Number step = Exponential(LogarithmOfRatio<6>(2, 1).DividedBy(kRows));
  PowersOfTwo<kRows> table = {};
  Number power = Number::Ratio(1, 1);
  for (DoubleLength& row : table.rows) {
    row = SplitAtDouble(power);
    power = power * step;
  }
  return table;
}

/// Row j holds 2^(j / kRows) as head * (1 + tail): the head then multiplies the tail and all else
/// at once.
template <uint32_t kRows>
constexpr PowersOfTwo<kRows> MakePowersOfTwoWithRelativeTails() {
  using Number = FixedPoint<6>;
  const Number step = Exponential(LogarithmOfRatio<6>(2, 1).DividedBy(kRows));
  PowersOfTwo<kRows> table = {};
  Number power = Number::Ratio(1, 1);
  for (DoubleLength& row : table.rows) {
    const Number head = power.RoundedAt(power.HighestBit() - 52);
    const Number inverse = Reciprocal(head);
    row = Split(power, head);
    const double tail = ((row.tail < 0.0 ? head - power : power - head) * inverse).ToDouble();
    row.tail = row.tail < 0.0 ? -tail : tail;
    power = power * step;
  }
  return table;
}

}  // namespace zr::primitives
