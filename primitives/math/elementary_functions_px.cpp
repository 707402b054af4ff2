// Roots, logarithms and the polar parts of complex numbers, px build.
#include <bit>
#include <cmath>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_words.h"
#include "primitives/elementwise.h"
#include "primitives/exact_operations.h"
#include "primitives/math/double_precision_scope.h"
#include "primitives/math/exponential_and_logarithm.h"
#include "primitives/math/phase.h"
#include "primitives/math/short_logarithm.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

// A zero gives itself; what is not positive then, NaNs too, gives the NaN and a warning.
template <typename Real>
int32_t SquareRoots(const Real* a, Real* d, int32_t n) {
  int32_t warning = kStatusOk;
  const auto root = [&warning](Real x) {
    if (x > Real{0}) return std::sqrt(x);
    if (x == Real{0}) return x;
    warning = kStatusNegativeSqrt;
    return kZeroOverZero<Real>;
  };
  const int32_t status = ForEachElement(root, d, n, a);
  return status != kStatusOk ? status : warning;
}

// RoundToFloat(LogarithmOf(x)), for x positive, infinite or a NaN. What the short logarithm misses
// tells only where it comes so close to the middle between two floats.
float NaturalLogarithm(float x) {
  using Limits = std::numeric_limits<float>;
  if (!(x < Limits::infinity())) return std::isnan(x) ? Limits::quiet_NaN() : x;
  const double logarithm = RoundToDouble(ShortLogarithm(x));
  // Of the bits that a float has no room for.
  constexpr uint64_t kBelowFloat = 0x1fffffff;
  constexpr uint64_t kMiddle = 0x10000000;
  constexpr uint64_t kMargin = 4;
  const uint64_t rest = std::bit_cast<uint64_t>(logarithm) & kBelowFloat;
  const bool isCloseToMiddle = rest - (kMiddle - kMargin) <= 2 * kMargin;
  return RoundToFloat(isCloseToMiddle ? LogarithmOf(x) : logarithm);
}

}  // namespace

int32_t ippsSqrt_32f(const float* a, float* d, int32_t n) {
  int32_t warning = kStatusOk;
  const auto root = [&warning](float x) {
    if (x > 0.0F) return std::sqrt(x);
    if (!(x < 0.0F)) return 0.0F;
    warning = kStatusNegativeSqrt;
    return kZeroOverZero<float>;
  };
  const int32_t status = ForEachElement(root, d, n, a);
  return status != kStatusOk ? status : warning;
}
int32_t ippsSqrt_32f_I(float* s, int32_t n) {
  return SquareRoots(s, s, n);
}
int32_t ippsSqrt_64f(const double* a, double* d, int32_t n) {
  return SquareRoots(a, d, n);
}
int32_t ippsSqrt_64f_I(double* s, int32_t n) {
  return SquareRoots(s, s, n);
}

int32_t ippsLn_32f(const float* a, float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  const DoublePrecisionScope scope;
  int32_t warning = kStatusOk;
  const auto warn = [&warning](int32_t status) {
    if (warning == kStatusOk) warning = status;
  };
  for (int32_t i = 0; i < n; ++i) {
    const uint32_t word = LoadWord(a + i);
    if ((word & kSignBit<float>) != 0) {
      warn(kStatusNegativeLogarithm);
      Store(d, i, kZeroOverZero<float>);
    } else if (word == 0) {
      warn(kStatusZeroLogarithm);
      Store(d, i, -std::numeric_limits<float>::infinity());
    } else {
      Store(d, i, NaturalLogarithm(Load(a, i)));
    }
  }
  return warning;
}

int32_t ippsMagn_32fc(const Complex32f* a, float* d, int32_t n) {
  const auto magnitude = [](Complex32f x) {
    const double re = x.re;
    const double im = x.im;
    return RoundToFloat(std::sqrt(re * re + im * im));
  };
  return ForEachElement(magnitude, d, n, a);
}

int32_t ippsPhase_32fc(const Complex32f* a, float* d, int32_t n) {
  const DoublePrecisionScope scope;
  return ForEachElement([](Complex32f x) { return RoundToFloat(PhaseOf(x)); }, d, n, a);
}

int32_t ippsPowerSpectr_32fc(const Complex32f* a, float* d, int32_t n) {
  const auto power = [](Complex32f x) {
    const double re = x.re;
    const double im = x.im;
    return RoundToFloat(re * re + im * im);
  };
  return ForEachElement(power, d, n, a);
}
int32_t ippsPowerSpectr_64fc(const Complex64f* a, double* d, int32_t n) {
  return ForEachElement([](Complex64f x) { return Plus(Times(x.re, x.re), Times(x.im, x.im)); }, d,
                        n, a);
}

}  // namespace zr::primitives::px
