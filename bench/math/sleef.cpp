// The functions of SLEEF with errors up to 1.0 ulp, where there is a closer one up to 0.5, for the
// vectors of SSE2: the instructions that the primitives are compiled for.
#include "bench/math/sleef.h"

#include <emmintrin.h>
#include <sleef.h>

namespace zr::bench::sleef {
namespace {

struct Parts {
  __m128 re;
  __m128 im;
};

Parts LoadParts(const Complex32f* a) {
  const auto* const numbers = reinterpret_cast<const float*>(a);
  const __m128 low = _mm_loadu_ps(numbers);
  const __m128 high = _mm_loadu_ps(numbers + 4);
  return {_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0)),
          _mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1))};
}

}  // namespace

/// One contender: its statement for each vector from i on.
#define SLEEF_LOOP(name, parameters, lanes, ...) \
  int32_t name parameters {                      \
    for (int32_t i = 0; i < n; i += (lanes)) {   \
      __VA_ARGS__;                               \
    }                                            \
    return 0;                                    \
  }
#define SLEEF_FLOATS(name, function)                         \
  SLEEF_LOOP(name, (const float* a, float* d, int32_t n), 4, \
             _mm_storeu_ps(d + i, function(_mm_loadu_ps(a + i))))
#define SLEEF_DOUBLES(name, function)                          \
  SLEEF_LOOP(name, (const double* a, double* d, int32_t n), 2, \
             _mm_storeu_pd(d + i, function(_mm_loadu_pd(a + i))))
#define SLEEF_FLOAT_POWERS(name)                                             \
  SLEEF_LOOP(name, (const float* a, const float* b, float* d, int32_t n), 4, \
             _mm_storeu_ps(d + i, Sleef_powf4_u10sse2(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i))))
#define SLEEF_IN_PLACE(name, parameters, other) \
  int32_t name parameters {                     \
    return other(s, s, n);                      \
  }

SLEEF_FLOATS(ippsSin_32f, Sleef_sinf4_u10sse2)
SLEEF_FLOATS(ippsCos_32f, Sleef_cosf4_u10sse2)
SLEEF_FLOATS(ippsTan_32f, Sleef_tanf4_u10sse2)
SLEEF_FLOATS(ippsLog10_32f, Sleef_log10f4_u10sse2)
SLEEF_FLOATS(ippsLn_32f, Sleef_logf4_u10sse2)
SLEEF_FLOATS(ippsExp_32f, Sleef_expf4_u10sse2)
SLEEF_FLOATS(ippsSqrt_32f, Sleef_sqrtf4_u05sse2)
SLEEF_IN_PLACE(ippsExp_32f_I, (float* s, int32_t n), ippsExp_32f)
SLEEF_IN_PLACE(ippsSqrt_32f_I, (float* s, int32_t n), ippsSqrt_32f)
SLEEF_FLOAT_POWERS(ippsPow_32f)
SLEEF_FLOAT_POWERS(ippsPowAccurate_32f)

SLEEF_DOUBLES(ippsExp_64f, Sleef_expd2_u10sse2)
SLEEF_DOUBLES(ippsExpAccurate_64f, Sleef_expd2_u10sse2)
SLEEF_DOUBLES(ippsSqrt_64f, Sleef_sqrtd2_u05sse2)
SLEEF_IN_PLACE(ippsExp_64f_I, (double* s, int32_t n), ippsExp_64f)
SLEEF_IN_PLACE(ippsSqrt_64f_I, (double* s, int32_t n), ippsSqrt_64f)
SLEEF_LOOP(ippsPow_64f, (const double* a, const double* b, double* d, int32_t n), 2,
           _mm_storeu_pd(d + i, Sleef_powd2_u10sse2(_mm_loadu_pd(a + i), _mm_loadu_pd(b + i))))

SLEEF_LOOP(ippsMagn_32fc, (const Complex32f* a, float* d, int32_t n), 4,
           const Parts parts = LoadParts(a + i);
           _mm_storeu_ps(d + i, Sleef_hypotf4_u05sse2(parts.re, parts.im)))
SLEEF_LOOP(ippsPhase_32fc, (const Complex32f* a, float* d, int32_t n), 4,
           const Parts parts = LoadParts(a + i);
           _mm_storeu_ps(d + i, Sleef_atan2f4_u10sse2(parts.im, parts.re)))

}  // namespace zr::bench::sleef
