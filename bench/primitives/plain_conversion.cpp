// Plain loops of the conversions.
#include <cfloat>
#include <cmath>
#include <limits>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

template <typename Integer>
Integer Saturated(double value) {
  constexpr double kLowest = std::numeric_limits<Integer>::min();
  constexpr double kHighest = std::numeric_limits<Integer>::max();
  if (value >= kHighest) return std::numeric_limits<Integer>::max();
  if (!(value > kLowest)) return std::numeric_limits<Integer>::min();
  return static_cast<Integer>(value);
}

template <typename Integer>
void ConvertFloatToInteger(const float* a, Integer* d, int32_t n, int32_t roundMode,
                           int32_t scaleFactor) {
  const double multiplier = std::ldexp(1.0, -scaleFactor);
  if (roundMode == 1) {
    for (int32_t i = 0; i < n; ++i) {
      d[i] = Saturated<Integer>(std::nearbyint(a[i] * multiplier));
    }
  } else {
    for (int32_t i = 0; i < n; ++i) {
      d[i] = Saturated<Integer>(a[i] * multiplier);
    }
  }
}

}  // namespace

PLAIN_LOOP(ippsConvert_16s32f, (const int16_t* a, float* d, int32_t n), d[i] = a[i])
PLAIN_LOOP(ippsConvert_32s32f, (const int32_t* a, float* d, int32_t n),
           d[i] = static_cast<float>(a[i]))
PLAIN_LOOP(ippsConvert_64f32f, (const double* a, float* d, int32_t n),
           const double aboveLowest = a[i] > -FLT_MAX ? a[i] : -FLT_MAX;
           d[i] = static_cast<float>(aboveLowest < FLT_MAX ? aboveLowest : FLT_MAX))

int32_t ippsConvert_16s32f_Sfs(const int16_t* a, float* d, int32_t n, int32_t scaleFactor) {
  const float multiplier = std::ldexp(1.0F, -scaleFactor);
  for (int32_t i = 0; i < n; ++i) {
    d[i] = a[i] * multiplier;
  }
  return 0;
}
int32_t ippsConvert_16s64f_Sfs(const int16_t* a, double* d, int32_t n, int32_t scaleFactor) {
  const double multiplier = std::ldexp(1.0, -scaleFactor);
  for (int32_t i = 0; i < n; ++i) {
    d[i] = a[i] * multiplier;
  }
  return 0;
}
int32_t ippsConvert_32f16s_Sfs(const float* a, int16_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor) {
  ConvertFloatToInteger(a, d, n, roundMode, scaleFactor);
  return 0;
}
int32_t ippsConvert_32f32s_Sfs(const float* a, int32_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor) {
  ConvertFloatToInteger(a, d, n, roundMode, scaleFactor);
  return 0;
}

PLAIN_LOOP(ippsRealToCplx_32f, (const float* re, const float* im, Complex32f* d, int32_t n),
           d[i] = {re[i], im[i]})
PLAIN_LOOP(ippsRealToCplx_64f, (const double* re, const double* im, Complex64f* d, int32_t n),
           d[i] = {re[i], im[i]})
PLAIN_LOOP(ippsReal_32fc, (const Complex32f* a, float* d, int32_t n), d[i] = a[i].re)
PLAIN_LOOP(ippsReal_64fc, (const Complex64f* a, double* d, int32_t n), d[i] = a[i].re)
PLAIN_LOOP(ippsImag_32fc, (const Complex32f* a, float* d, int32_t n), d[i] = a[i].im)
PLAIN_LOOP(ippsImag_64fc, (const Complex64f* a, double* d, int32_t n), d[i] = a[i].im)
PLAIN_LOOP(ippsConj_32fc, (const Complex32f* a, Complex32f* d, int32_t n),
           d[i] = {a[i].re, -a[i].im})
PLAIN_LOOP(ippsConj_64fc, (const Complex64f* a, Complex64f* d, int32_t n),
           d[i] = {a[i].re, -a[i].im})
PLAIN_LOOP(ippsConj_64fc_I, (Complex64f * s, int32_t n), s[i].im = -s[i].im)
PLAIN_LOOP(ippsConjFlip_64fc, (const Complex64f* a, Complex64f* d, int32_t n),
           d[n - 1 - i] = {a[i].re, -a[i].im})

}  // namespace zr::bench::plain
