// Plain loops of the mathematical functions, over the C library's functions of the same precision.
#include <cmath>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {

#define PLAIN_FLOATS(name, function) \
  PLAIN_LOOP(name, (const float* a, float* d, int32_t n), d[i] = function(a[i]))
#define PLAIN_DOUBLES(name, function) \
  PLAIN_LOOP(name, (const double* a, double* d, int32_t n), d[i] = function(a[i]))

PLAIN_FLOATS(ippsSin_32f, std::sin)
PLAIN_FLOATS(ippsCos_32f, std::cos)
PLAIN_FLOATS(ippsTan_32f, std::tan)
PLAIN_FLOATS(ippsLog10_32f, std::log10)
PLAIN_FLOATS(ippsLn_32f, std::log)
PLAIN_FLOATS(ippsExp_32f, std::exp)
PLAIN_FLOATS(ippsSqrt_32f, std::sqrt)
PLAIN_LOOP(ippsExp_32f_I, (float* s, int32_t n), s[i] = std::exp(s[i]))
PLAIN_LOOP(ippsSqrt_32f_I, (float* s, int32_t n), s[i] = std::sqrt(s[i]))
PLAIN_LOOP(ippsPow_32f, (const float* a, const float* b, float* d, int32_t n),
           d[i] = std::pow(a[i], b[i]))
PLAIN_LOOP(ippsPowAccurate_32f, (const float* a, const float* b, float* d, int32_t n),
           d[i] = std::pow(a[i], b[i]))

PLAIN_DOUBLES(ippsExp_64f, std::exp)
PLAIN_DOUBLES(ippsExpAccurate_64f, std::exp)
PLAIN_DOUBLES(ippsSqrt_64f, std::sqrt)
PLAIN_LOOP(ippsExp_64f_I, (double* s, int32_t n), s[i] = std::exp(s[i]))
PLAIN_LOOP(ippsSqrt_64f_I, (double* s, int32_t n), s[i] = std::sqrt(s[i]))
PLAIN_LOOP(ippsPow_64f, (const double* a, const double* b, double* d, int32_t n),
           d[i] = std::pow(a[i], b[i]))

PLAIN_LOOP(ippsMagn_32fc, (const Complex32f* a, float* d, int32_t n), const double re = a[i].re;
           const double im = a[i].im; d[i] = static_cast<float>(std::sqrt(re * re + im * im)))
PLAIN_LOOP(ippsPhase_32fc, (const Complex32f* a, float* d, int32_t n),
           d[i] = std::atan2(a[i].im, a[i].re))
PLAIN_LOOP(ippsPowerSpectr_32fc, (const Complex32f* a, float* d, int32_t n),
           const double re = a[i].re;
           const double im = a[i].im; d[i] = static_cast<float>(re * re + im * im))
PLAIN_LOOP(ippsPowerSpectr_64fc, (const Complex64f* a, double* d, int32_t n),
           d[i] = a[i].re * a[i].re + a[i].im * a[i].im)

}  // namespace zr::bench::plain
