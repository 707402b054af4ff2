// Arithmetic on vectors of integers, px build: exact in a wider type, then scaled and saturated.
// Constants and scale factors with results that are known before need no way of their own here,
// where nothing but the results shows.
#include <algorithm>
#include <limits>
#include <type_traits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/elementwise.h"
#include "primitives/rounding.h"
#include "primitives/scaling.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

/// Holds every sum, difference and product of two elements.
template <typename Element>
using Exact = std::conditional_t<sizeof(Element) == 2, int32_t, int64_t>;

template <typename Element>
int32_t Add(const Element* a, const Element* b, Element* d, int32_t n, int32_t scaleFactor) {
  const auto sum = [scaleFactor](Exact<Element> x, Exact<Element> y) {
    return ScaleAndSaturate<Element>(x + y, scaleFactor);
  };
  return ForEachElement(sum, d, n, a, b);
}

template <typename Element>
int32_t Multiply(const Element* a, const Element* b, Element* d, int32_t n, int32_t scaleFactor) {
  const auto product = [scaleFactor](Exact<Element> x, Exact<Element> y) {
    return ScaleAndSaturate<Element>(x * y, scaleFactor);
  };
  return ForEachElement(product, d, n, a, b);
}

int32_t DivideMarkingZero(int32_t dividend, int32_t divisor, double multiplier,
                          int32_t* zeroFound) {
  using Limits = std::numeric_limits<int32_t>;
  if (divisor == 0) {
    *zeroFound = 1;
    if (dividend == 0) return 0;
    return dividend > 0 ? Limits::max() : Limits::min();
  }
  const double quotient = dividend * multiplier / divisor;
  return RoundTiesToEven(std::clamp<double>(quotient, Limits::min(), Limits::max()));
}

template <typename Shift>
int32_t ShiftElements(Shift shifted, const int16_t* a, int16_t* d, int32_t n, int32_t shift) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  if (shift < 0) return kStatusShift;
  return ForEachElement(shifted, d, n, a);
}

}  // namespace

int32_t ippsAdd_16s(const int16_t* a, const int16_t* b, int16_t* d, int32_t n) {
  return Add(a, b, d, n, 0);
}
int32_t ippsAdd_16s_I(const int16_t* a, int16_t* s, int32_t n) {
  return Add(a, s, s, n, 0);
}
int32_t ippsAdd_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor) {
  return Add(a, b, d, n, scaleFactor);
}

int32_t ippsAddC_32s_Sfs(const int32_t* a, int32_t c, int32_t* d, int32_t n, int32_t scaleFactor) {
  const auto sum = [c, scaleFactor](int64_t x) {
    return ScaleAndSaturate<int32_t>(x + c, scaleFactor);
  };
  return ForEachElement(sum, d, n, a);
}

int32_t ippsSub_16s(const int16_t* a, const int16_t* b, int16_t* d, int32_t n) {
  return ForEachElement([](int32_t x, int32_t y) { return Saturate<int16_t>(y - x); }, d, n, a, b);
}

int32_t ippsSubC_16s_Sfs(const int16_t* a, int16_t c, int16_t* d, int32_t n, int32_t scaleFactor) {
  const auto difference = [c, scaleFactor](int32_t x) {
    return ScaleAndSaturate<int16_t>(x - c, scaleFactor);
  };
  return ForEachElement(difference, d, n, a);
}

int32_t ippsMul_16s_Sfs(const int16_t* a, const int16_t* b, int16_t* d, int32_t n,
                        int32_t scaleFactor) {
  return Multiply(a, b, d, n, scaleFactor);
}
int32_t ippsMul_16s_ISfs(const int16_t* a, int16_t* s, int32_t n, int32_t scaleFactor) {
  return Multiply(a, s, s, n, scaleFactor);
}
int32_t ippsMul_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor) {
  return Multiply(a, b, d, n, scaleFactor);
}
int32_t ippsMul_32s32sc_Sfs(const int32_t* a, const Complex32s* b, Complex32s* d, int32_t n,
                            int32_t scaleFactor) {
  const auto product = [scaleFactor](int64_t x, Complex32s y) {
    return Complex32s{ScaleAndSaturate<int32_t>(x * y.re, scaleFactor),
                      ScaleAndSaturate<int32_t>(x * y.im, scaleFactor)};
  };
  return ForEachElement(product, d, n, a, b);
}

int32_t ippsMulC_32s_Sfs(const int32_t* a, int32_t c, int32_t* d, int32_t n, int32_t scaleFactor) {
  const auto product = [c, scaleFactor](int64_t x) {
    return ScaleAndSaturate<int32_t>(x * c, scaleFactor);
  };
  return ForEachElement(product, d, n, a);
}

int32_t ippsDiv_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor) {
  int32_t zeroFound = 0;
  const double multiplier = DoublePowerOfTwo(scaleFactor);
  const auto quotient = [&zeroFound, multiplier](int32_t divisor, int32_t dividend) {
    return DivideMarkingZero(dividend, divisor, multiplier, &zeroFound);
  };
  const int32_t status = ForEachElement(quotient, d, n, a, b);
  return status != kStatusOk ? status : WarnOfZero(zeroFound);
}

int32_t ippsAbs_16s_I(int16_t* s, int32_t n) {
  const auto magnitude = [](int32_t x) { return Saturate<int16_t>(x < 0 ? -x : x); };
  return ForEachElement(magnitude, s, n, s);
}

int32_t ippsLShiftC_16s_I(int32_t shift, int16_t* s, int32_t n) {
  const int32_t limited = std::min(shift, 16);
  const auto shifted = [limited](uint32_t x) { return static_cast<int16_t>(x << limited); };
  return ShiftElements(shifted, s, s, n, shift);
}

int32_t ippsRShiftC_16s(const int16_t* a, int32_t shift, int16_t* d, int32_t n) {
  const int32_t limited = std::min(shift, 15);
  const auto shifted = [limited](int32_t x) { return static_cast<int16_t>(x >> limited); };
  return ShiftElements(shifted, a, d, n, shift);
}
int32_t ippsRShiftC_16s_I(int32_t shift, int16_t* s, int32_t n) {
  return ippsRShiftC_16s(s, shift, s, n);
}

}  // namespace zr::primitives::px
