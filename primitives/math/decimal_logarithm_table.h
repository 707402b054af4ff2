// Mantissas of which the decimal logarithm is known to more than a double's bits, one for each 1/64
// of [1, 2], the ends included.
#pragma once

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

/// A short log10(e). Series run in terms of it times what they are a series of.
inline constexpr double kDecimalScale = 0.43359375;

/// The head has few enough bits that a multiple of it is exact.
inline constexpr DoubleLength kDecimalLogarithmOfTwo = {0.3010299956640665, -8.532344317057107e-14};

struct DecimalLogarithmRow {
  double factor;           ///< kDecimalScale over the row's mantissa, short.
  DoubleLength logarithm;  ///< Of that mantissa, the head as short as that of 2.
};

inline constexpr uint32_t kDecimalLogarithmRows = 65;

struct DecimalLogarithmTable {
  DecimalLogarithmRow rows[kDecimalLogarithmRows];
};

constexpr DecimalLogarithmTable MakeDecimalLogarithmTable() {
  using Number = FixedPoint<6>;
  constexpr uint32_t kLast = kDecimalLogarithmRows - 1;
  constexpr uint32_t kOne = 2048;  // Reciprocals of mantissas are multiples of 1 / kOne.
  constexpr int32_t kHeadBits = 38;
  // ln 10 is 3 ln 2 + ln (10 / 8).
  const Number log10OfE =
      Reciprocal(LogarithmOfRatio<6>(2, 1).Times(3) + LogarithmOfRatio<6>(10, 8));
  DecimalLogarithmTable table = {};
  for (uint32_t j = 0; j <= kLast; ++j) {
    const uint32_t reciprocal = (2 * kOne * kLast / (kLast + j) + 1) / 2;
    const Number logarithm = LogarithmOfRatio<6>(kOne, reciprocal) * log10OfE;
    table.rows[j] = {kDecimalScale * reciprocal / kOne,
                     Split(logarithm, logarithm.RoundedAt(Number::kFractionBits - kHeadBits))};
  }
  // The last mantissa is 2: as a row it gives what it gives as an exponent.
  table.rows[kLast].logarithm = kDecimalLogarithmOfTwo;
  return table;
}

}  // namespace zr::primitives
