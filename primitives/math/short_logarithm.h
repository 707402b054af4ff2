// Logarithms by one row of a table and a short series. They are right where numbers have the few
// bits of a float, as every product on the way is exact then, and nearly so away from 1.
#pragma once

#include <bit>
#include <cstdint>

#include "primitives/math/binary_logarithm_table.h"

namespace zr::primitives {

inline constexpr BinaryLogarithmTable kBinaryLogarithms = MakeBinaryLogarithmTable();

/// The base 2 logarithm at double length. x is positive and finite, and a float or not below 2. The
/// head of a float's is the nearest double or its neighbour.
inline DoubleLength ShortBinaryLogarithm(double x) {
  const auto bits = std::bit_cast<uint64_t>(x);
  const auto upper = static_cast<uint32_t>(bits >> 32);
  const uint32_t index = ((upper & 0xffc00) + 1024) >> 11;
  const BinaryLogarithmRow& row = kBinaryLogarithms.rows[index];
  const double exponent = static_cast<int32_t>(upper - 0x3fe7fc00) >> 20;
  const auto mantissa = std::bit_cast<double>((bits & 0xfffffffffffff) | 0x3ff0000000000000);

  const double w = mantissa * row.factor - kBinaryScale;
  // With w = kBinaryScale * t, w + w * series is log2(1 + t).
  const double series =
      (((((0.015843641906397053 * w - 0.026667131649815552) * w + 0.04616704187202374) * w -
         0.08325619496072671) *
            w +
        0.16015105075297303) *
           w -
       0.3465736568077919) *
          w +
      9.597935033233511e-08;
  const double known = row.logarithm.head + exponent;
  const double sum = known + w;
  const double low = ((w - (sum - known)) + row.logarithm.tail) + w * series;
  const double head = sum + low;
  return {head, low - (head - sum)};
}

/// ln(x), for the same numbers, within four units of a double's last place.
inline double ShortLogarithm(double x) {
  constexpr double kLnOfTwo = 0.6931471805599453;
  return ShortBinaryLogarithm(x).head * kLnOfTwo;
}

}  // namespace zr::primitives
