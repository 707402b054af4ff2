// Sums and products that keep what a double rounds away, as a second double. T. J. Dekker, "A
// floating-point technique for extending the available precision", 1971: nothing here needs a fused
// multiply-add.
#pragma once

#include "primitives/math/table_arithmetic.h"

namespace zr::primitives {

/// |a| >= |b|, or a = 0.
inline DoubleLength OrderedSum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

/// x as two numbers of 26 bits, whose products with others like them are exact. |x| < 2^996.
inline DoubleLength Halves(double x) {
  const double scaled = 134217729.0 * x;  // 2^27 + 1.
  const double head = scaled - (scaled - x);
  return {head, x - head};
}

/// What `product` misses of x * y. It need not be the nearest double, but must be close.
inline double ErrorOfProduct(double x, double y, double product) {
  const DoubleLength a = Halves(x);
  const DoubleLength b = Halves(y);
  return ((a.head * b.head - product) + a.head * b.tail + a.tail * b.head) + a.tail * b.tail;
}

}  // namespace zr::primitives
