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

}  // namespace zr::primitives
