// Mantissas of which the base 2 logarithm is known to more than a double's bits, one for each 1/512
// of [1, 2], the ends included.
#pragma once

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

/// A short log2(e). Series run in terms of it times what they are a series of.
inline constexpr double kBinaryScale = 1.442694902420044;

struct BinaryLogarithmRow {
  double factor;  ///< kBinaryScale over the row's mantissa, of 23 bits.
  /// Of that mantissa; in the upper half less 1, as the exponent counts one more there. Head and
  /// exponent have an exact sum.
  DoubleLength logarithm;
};

inline constexpr uint32_t kBinaryLogarithmRows = 513;

struct BinaryLogarithmTable {
  BinaryLogarithmRow rows[kBinaryLogarithmRows];
};

constexpr BinaryLogarithmTable MakeBinaryLogarithmTable() {
  using Number = FixedPoint<5>;
  constexpr uint32_t kLast = kBinaryLogarithmRows - 1;
  constexpr int32_t kHeadBits = 21;
  constexpr uint32_t kOne = 1 << 23;  // In units of the last bit of a factor below 1.
  constexpr auto kScale = static_cast<uint32_t>(kBinaryScale * kOne);
  const Number log2OfE = Reciprocal(LogarithmOfRatio<5>(2, 1));
  BinaryLogarithmTable table = {};
  Number naturalLogarithm;
  uint32_t factorBefore = kScale;
  for (uint32_t j = 0; j < kLast; ++j) {
    const uint64_t dividend = uint64_t{kScale} * kLast;
    const uint64_t mantissa = kLast + j;
    const uint64_t lastBit = dividend >= kOne * mantissa ? 2 : 1;
    const uint64_t divisor = lastBit * mantissa;
    const auto factor = static_cast<uint32_t>((dividend + divisor / 2) / divisor * lastBit);
    // From row to row the series is short.
    naturalLogarithm = naturalLogarithm + LogarithmOfRatio<5>(factorBefore, factor);
    factorBefore = factor;
    const Number logarithm = naturalLogarithm * log2OfE;
    table.rows[j] = {static_cast<double>(factor) / kOne,
                     j < kLast / 2
                         ? SplitAtBits(logarithm, kHeadBits)
                         : Negated(SplitAtBits(Number::Ratio(1, 1) - logarithm, kHeadBits))};
  }
  table.rows[kLast] = {kBinaryScale / 2, {0.0, 0.0}};
  return table;
}

}  // namespace zr::primitives
