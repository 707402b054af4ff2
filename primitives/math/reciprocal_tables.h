// Short reciprocals that bring a mantissa to 1 in three steps, with the base 2 logarithms of what
// they are the reciprocals of. In one step a table would need thousands of rows.
//
// Rows count the distance from 1. In the second and the third table they count down from the end
// for numbers below 1, at half the distance, as the mantissas of those begin below 2. The product
// of three factors fits in a double: 15, 13 and 23 bits.
#pragma once

#include <algorithm>
#include <cstdint>

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

struct ReciprocalRow {
  double factor;
  /// Heads are so short that three of them and an exponent have an exact sum.
  DoubleLength logarithm;
};

template <uint32_t kRows>
struct ReciprocalTable {
  ReciprocalRow rows[kRows];
};

/// A short log2(e). A factor of the third table contains it, as the series behind it runs in terms
/// of it times what it is a series of.
inline constexpr double kReciprocalScale = 1.442694902420044;

namespace reciprocal_tables {

constexpr auto kLog2OfE = Reciprocal(LogarithmOfRatio<6>(2, 1));

/// log2(dividend / divisor).
constexpr DoubleLength LogarithmOfQuotient(uint32_t dividend, uint32_t divisor) {
  constexpr int32_t kHeadBits = 40;  // Behind the point.
  const auto magnitude =
      LogarithmOfRatio<6>(std::max(dividend, divisor), std::min(dividend, divisor)) * kLog2OfE;
  const DoubleLength parts =
      Split(magnitude, magnitude.RoundedAt(decltype(magnitude)::kFractionBits - kHeadBits));
  return dividend < divisor ? Negated(parts) : parts;
}

constexpr uint32_t RoundedQuotient(uint64_t dividend, uint32_t divisor) {
  return static_cast<uint32_t>((dividend + divisor / 2) / divisor);
}

/// scale / units over numbers close to 1, 1 / stepsInOne apart from row to row above 1.
template <uint32_t kRows>
constexpr ReciprocalTable<kRows> MakeAroundOne(uint32_t scale, uint32_t units, uint32_t stepsInOne,
                                               uint32_t firstBelowOne) {
  ReciprocalTable<kRows> table = {};
  for (uint32_t i = 0; i < kRows; ++i) {
    const bool isBelowOne = i >= firstBelowOne;
    const uint32_t steps = isBelowOne ? 2 * stepsInOne : stepsInOne;
    const uint32_t divisor = isBelowOne ? steps - (kRows - 1 - i) : steps + i;
    const uint32_t factor = RoundedQuotient(uint64_t{scale} * steps, divisor);
    table.rows[i] = {static_cast<double>(factor) / units, LogarithmOfQuotient(scale, factor)};
  }
  return table;
}

}  // namespace reciprocal_tables

/// Row i serves mantissas around 1 + i / 32. From row 16 on its logarithm is less 1, as the
/// exponent counts one more there.
constexpr ReciprocalTable<33> MakeFirstReciprocals() {
  constexpr uint32_t kOne = 1 << 15;
  constexpr uint32_t kSteps = 32;
  ReciprocalTable<33> table = {};
  for (uint32_t i = 0; i <= kSteps; ++i) {
    const uint32_t factor = reciprocal_tables::RoundedQuotient(uint64_t{kOne} * kSteps, kSteps + i);
    table.rows[i] = {
        static_cast<double>(factor) / kOne,
        reciprocal_tables::LogarithmOfQuotient(i < kSteps / 2 ? kOne : kOne / 2, factor)};
  }
  return table;
}

constexpr ReciprocalTable<33> MakeSecondReciprocals() {
  constexpr uint32_t kOne = 1 << 12;
  return reciprocal_tables::MakeAroundOne<33>(kOne, kOne, 512, 12);
}

constexpr ReciprocalTable<129> MakeThirdReciprocals() {
  constexpr uint32_t kOne = 1 << 22;
  constexpr auto kScale = static_cast<uint32_t>(kReciprocalScale * kOne);
  return reciprocal_tables::MakeAroundOne<129>(kScale, kOne, 32768, 48);
}

}  // namespace zr::primitives
