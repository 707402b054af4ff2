// Power series whose large terms carry twice the bits of a double, as the unevaluated sum of two.
// Sums and products with their errors are T. J. Dekker's ("A floating-point technique for extending
// the available precision", 1971): they need no fused multiply-add.
#include "primitives/fft/sine.h"

#include <cstdint>

namespace zr::primitives::px {
namespace {

struct DoubleDouble {
  double high;
  double low;
};

// |a| >= |b|.
constexpr DoubleDouble OrderedSum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

constexpr DoubleDouble Product(double a, double b) {
  constexpr double kSplitter = 0x1p27 + 1.0;
  const double aScaled = kSplitter * a;
  const double bScaled = kSplitter * b;
  const double aHigh = aScaled - (aScaled - a);
  const double bHigh = bScaled - (bScaled - b);
  const double aLow = a - aHigh;
  const double bLow = b - bHigh;
  const double product = a * b;
  return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

constexpr DoubleDouble Product(DoubleDouble a, DoubleDouble b) {
  const DoubleDouble leading = Product(a.high, b.high);
  return OrderedSum(leading.high, leading.low + (a.high * b.low + a.low * b.high));
}

// Here the large term always is a.
constexpr DoubleDouble Sum(DoubleDouble a, DoubleDouble b) {
  const DoubleDouble leading = OrderedSum(a.high, b.high);
  return OrderedSum(leading.high, leading.low + (a.low + b.low));
}

constexpr DoubleDouble Reciprocal(double divisor) {
  const double quotient = 1.0 / divisor;
  const DoubleDouble back = Product(quotient, divisor);
  return {quotient, ((1.0 - back.high) - back.low) / divisor};
}

constexpr double Factorial(int32_t n) {
  double factorial = 1.0;
  for (int32_t i = 2; i <= n; ++i)
    factorial *= i;
  return factorial;
}

// 1/n! - square/(n+2)! + ... up to 1/last!, where a double's precision is enough.
template <int32_t kFirst, int32_t kLast>
inline double Tail(double square) {
  constexpr double kTerm = 1.0 / Factorial(kFirst);
  if constexpr (kFirst < kLast) {
    return kTerm - square * Tail<kFirst + 2, kLast>(square);
  } else {
    return kTerm;
  }
}

// 1/n! - square * rest.
template <int32_t kN>
inline DoubleDouble Term(DoubleDouble square, DoubleDouble rest) {
  constexpr DoubleDouble kTerm = Reciprocal(Factorial(kN));
  const DoubleDouble product = Product(square, rest);
  return Sum(kTerm, {-product.high, -product.low});
}

}  // namespace

double SineWithinEighth(double angle) {
  const DoubleDouble square = Product(angle, angle);
  const DoubleDouble tail = {Tail<7, 21>(square.high), 0.0};
  const DoubleDouble cubic = Term<3>(square, Term<5>(square, tail));
  const DoubleDouble small = Product({angle, 0.0}, Product(square, cubic));
  const DoubleDouble sine = Sum({angle, 0.0}, {-small.high, -small.low});
  return sine.high;
}

double CosineWithinEighth(double angle) {
  const DoubleDouble square = Product(angle, angle);
  const DoubleDouble tail = {Tail<6, 20>(square.high), 0.0};
  const DoubleDouble quadratic = Term<2>(square, Term<4>(square, tail));
  return Term<0>(square, quadratic).high;
}

}  // namespace zr::primitives::px
