// Plain loops of the arithmetic on integer vectors.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

using Limits = std::numeric_limits<int32_t>;

int16_t Saturated(int32_t value) {
  return static_cast<int16_t>(std::clamp(value, -32768, 32767));
}
int32_t Saturated(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, Limits::min(), Limits::max()));
}

/// Scales by 2^-scaleFactor, for scale factors below the width of an element. The loop gets the way
/// of scaling, so that it does not ask for the scale factor.
template <typename Loop>
int32_t WithScale(int32_t scaleFactor, Loop loop) {
  if (scaleFactor == 0) {
    loop([](auto value) { return Saturated(value); });
  } else if (scaleFactor < 0) {
    loop([shift = -scaleFactor](auto value) {
      return Saturated(static_cast<decltype(value)>(Saturated(value)) << shift);
    });
  } else {
    // Rounded to nearest, ties to even.
    loop([scaleFactor](auto value) {
      const auto justBelowHalf = (decltype(value){1} << (scaleFactor - 1)) - 1;
      return Saturated((value + justBelowHalf + ((value >> scaleFactor) & 1)) >> scaleFactor);
    });
  }
  return 0;
}

}  // namespace

#define PLAIN_SCALED_LOOP(name, parameters, ...)     \
  int32_t name parameters {                          \
    return WithScale(scaleFactor, [=](auto scaled) { \
      for (int32_t i = 0; i < n; ++i) {              \
        __VA_ARGS__;                                 \
      }                                              \
    });                                              \
  }

PLAIN_LOOP(ippsAdd_16s, (const int16_t* a, const int16_t* b, int16_t* d, int32_t n),
           d[i] = Saturated(a[i] + b[i]))
PLAIN_LOOP(ippsAdd_16s_I, (const int16_t* a, int16_t* s, int32_t n), s[i] = Saturated(s[i] + a[i]))
PLAIN_LOOP(ippsSub_16s, (const int16_t* a, const int16_t* b, int16_t* d, int32_t n),
           d[i] = Saturated(b[i] - a[i]))
PLAIN_LOOP(ippsAbs_16s_I, (int16_t * s, int32_t n), s[i] = Saturated(std::abs(s[i])))

PLAIN_LOOP(ippsLShiftC_16s_I, (int32_t shift, int16_t* s, int32_t n),
           s[i] = static_cast<int16_t>(s[i] << shift))
PLAIN_LOOP(ippsRShiftC_16s, (const int16_t* a, int32_t shift, int16_t* d, int32_t n),
           d[i] = static_cast<int16_t>(a[i] >> shift))
PLAIN_LOOP(ippsRShiftC_16s_I, (int32_t shift, int16_t* s, int32_t n),
           s[i] = static_cast<int16_t>(s[i] >> shift))

PLAIN_SCALED_LOOP(ippsSubC_16s_Sfs,
                  (const int16_t* a, int16_t c, int16_t* d, int32_t n, int32_t scaleFactor),
                  d[i] = scaled(a[i] - c))
PLAIN_SCALED_LOOP(ippsMul_16s_Sfs,
                  (const int16_t* a, const int16_t* b, int16_t* d, int32_t n, int32_t scaleFactor),
                  d[i] = scaled(a[i] * b[i]))
PLAIN_SCALED_LOOP(ippsMul_16s_ISfs, (const int16_t* a, int16_t* s, int32_t n, int32_t scaleFactor),
                  s[i] = scaled(s[i] * a[i]))

PLAIN_SCALED_LOOP(ippsAdd_32s_Sfs,
                  (const int32_t* a, const int32_t* b, int32_t* d, int32_t n, int32_t scaleFactor),
                  d[i] = scaled(int64_t{a[i]} + b[i]))
PLAIN_SCALED_LOOP(ippsAddC_32s_Sfs,
                  (const int32_t* a, int32_t c, int32_t* d, int32_t n, int32_t scaleFactor),
                  d[i] = scaled(int64_t{a[i]} + c))
PLAIN_SCALED_LOOP(ippsMul_32s_Sfs,
                  (const int32_t* a, const int32_t* b, int32_t* d, int32_t n, int32_t scaleFactor),
                  d[i] = scaled(int64_t{a[i]} * b[i]))
PLAIN_SCALED_LOOP(ippsMulC_32s_Sfs,
                  (const int32_t* a, int32_t c, int32_t* d, int32_t n, int32_t scaleFactor),
                  d[i] = scaled(int64_t{a[i]} * c))
PLAIN_SCALED_LOOP(ippsMul_32s32sc_Sfs,
                  (const int32_t* a, const Complex32s* b, Complex32s* d, int32_t n,
                   int32_t scaleFactor),
                  d[i] = {scaled(int64_t{a[i]} * b[i].re), scaled(int64_t{a[i]} * b[i].im)})

int32_t ippsDiv_32s_Sfs(const int32_t* a, const int32_t* b, int32_t* d, int32_t n,
                        int32_t scaleFactor) {
  // Beside it a double has no room for a fraction.
  constexpr double kNoFraction = 0x1.8p52;
  const double multiplier = std::ldexp(1.0, -scaleFactor);
  int32_t status = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (a[i] == 0) {
      status = 6;
      d[i] = b[i] == 0 ? 0 : b[i] > 0 ? Limits::max() : Limits::min();
    } else {
      const double quotient = b[i] * multiplier / a[i];
      const double limited = std::clamp<double>(quotient, Limits::min(), Limits::max());
      d[i] = static_cast<int32_t>((limited + kNoFraction) - kNoFraction);
    }
  }
  return status;
}

}  // namespace zr::bench::plain
