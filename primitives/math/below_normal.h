// Results at the low end of the doubles, where they keep fewer bits than they were computed with.
#pragma once

#include <bit>
#include <cstdint>

#include "primitives/exact_operations.h"
#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

/// 2^exponent, for exponents of normal doubles.
inline double TwoToThe(int32_t exponent) {
  return std::bit_cast<double>(static_cast<uint64_t>(exponent + 1023) << 52);
}

/// (head + tail) * up * down, a subnormal number of more than 41 bits, or barely a normal one.
/// Rounded as one it would be rounded twice, to 53 bits and then to what is left; so a head is cut
/// so short that it needs no rounding, and the rest alone is rounded. Every step is stored as a
/// double, as some leave the range of the normal ones.
inline double RoundOnceBelowNormal(DoubleLength number, double up, double down) {
  const double head = Times(number.head, up);
  const double tail = Times(number.tail, up);
  const double sum = Plus(tail, head);
  const double wide = Times(sum, 6442450944.0);  // 1.5 * 2^32.
  const double cut = Minus(Plus(sum, wide), wide);
  const double rest = Plus(Plus(tail, Minus(head, sum)), Minus(sum, cut));
  return Plus(Times(cut, down), Times(rest, down));
}

}  // namespace zr::primitives
