// Plain loops of the arithmetic on real vectors.
#include <cmath>
#include <limits>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

// The sign of a zero divisor does not count, and 0/0 is the NaN with the sign bit set.
template <typename Real>
Real Quotient(Real dividend, Real divisor, int32_t* status) {
  if (divisor != 0) return dividend / divisor;
  *status = 6;
  if (dividend > 0) return std::numeric_limits<Real>::infinity();
  if (dividend < 0) return -std::numeric_limits<Real>::infinity();
  return -std::numeric_limits<Real>::quiet_NaN();
}

}  // namespace

#define PLAIN_DIVISION(name, parameters, destination, dividend, divisor) \
  int32_t name parameters {                                              \
    int32_t status = 0;                                                  \
    for (int32_t i = 0; i < n; ++i) {                                    \
      destination = Quotient(dividend, divisor, &status);                \
    }                                                                    \
    return status;                                                       \
  }

PLAIN_LOOP(ippsAdd_32f, (const float* a, const float* b, float* d, int32_t n), d[i] = a[i] + b[i])
PLAIN_LOOP(ippsAdd_64f, (const double* a, const double* b, double* d, int32_t n),
           d[i] = a[i] + b[i])
PLAIN_LOOP(ippsAdd_32f_I, (const float* a, float* s, int32_t n), s[i] += a[i])
PLAIN_LOOP(ippsAdd_64f_I, (const double* a, double* s, int32_t n), s[i] += a[i])

PLAIN_LOOP(ippsSub_32f, (const float* a, const float* b, float* d, int32_t n), d[i] = b[i] - a[i])
PLAIN_LOOP(ippsSub_64f, (const double* a, const double* b, double* d, int32_t n),
           d[i] = b[i] - a[i])
PLAIN_LOOP(ippsSub_32f_I, (const float* a, float* s, int32_t n), s[i] -= a[i])
PLAIN_LOOP(ippsSub_64f_I, (const double* a, double* s, int32_t n), s[i] -= a[i])

PLAIN_LOOP(ippsMul_32f, (const float* a, const float* b, float* d, int32_t n), d[i] = a[i] * b[i])
PLAIN_LOOP(ippsMul_64f, (const double* a, const double* b, double* d, int32_t n),
           d[i] = a[i] * b[i])
PLAIN_LOOP(ippsMul_32f_I, (const float* a, float* s, int32_t n), s[i] *= a[i])
PLAIN_LOOP(ippsMul_64f_I, (const double* a, double* s, int32_t n), s[i] *= a[i])
PLAIN_LOOP(ippsMul_16s32f, (const int16_t* a, const int16_t* b, float* d, int32_t n),
           d[i] = static_cast<float>(a[i] * b[i]))

PLAIN_LOOP(ippsAddProduct_32f, (const float* a, const float* b, float* s, int32_t n),
           s[i] = static_cast<float>(s[i] + static_cast<double>(a[i]) * b[i]))
PLAIN_LOOP(ippsAddProduct_64f, (const double* a, const double* b, double* s, int32_t n),
           s[i] += a[i] * b[i])

PLAIN_DIVISION(ippsDiv_32f, (const float* a, const float* b, float* d, int32_t n), d[i], b[i], a[i])
PLAIN_DIVISION(ippsDiv_64f, (const double* a, const double* b, double* d, int32_t n), d[i], b[i],
               a[i])
PLAIN_DIVISION(ippsDiv_32f_I, (const float* a, float* s, int32_t n), s[i], s[i], a[i])
PLAIN_DIVISION(ippsDiv_64f_I, (const double* a, double* s, int32_t n), s[i], s[i], a[i])
PLAIN_DIVISION(ippsDivCRev_32f, (const float* a, float c, float* d, int32_t n), d[i], c, a[i])
PLAIN_DIVISION(ippsDivCRev_32f_I, (float c, float* s, int32_t n), s[i], c, s[i])

PLAIN_LOOP(ippsAddC_32f, (const float* a, float c, float* d, int32_t n), d[i] = a[i] + c)
PLAIN_LOOP(ippsAddC_32f_I, (float c, float* s, int32_t n), s[i] += c)
PLAIN_LOOP(ippsAddC_64f_I, (double c, double* s, int32_t n), s[i] += c)

PLAIN_LOOP(ippsSubC_32f, (const float* a, float c, float* d, int32_t n), d[i] = a[i] - c)
PLAIN_LOOP(ippsSubC_32f_I, (float c, float* s, int32_t n), s[i] -= c)

PLAIN_LOOP(ippsSubCRev_32f, (const float* a, float c, float* d, int32_t n), d[i] = c - a[i])
PLAIN_LOOP(ippsSubCRev_64f, (const double* a, double c, double* d, int32_t n), d[i] = c - a[i])
PLAIN_LOOP(ippsSubCRev_32f_I, (float c, float* s, int32_t n), s[i] = c - s[i])
PLAIN_LOOP(ippsSubCRev_64f_I, (double c, double* s, int32_t n), s[i] = c - s[i])

PLAIN_LOOP(ippsMulC_32f, (const float* a, float c, float* d, int32_t n), d[i] = a[i] * c)
PLAIN_LOOP(ippsMulC_64f, (const double* a, double c, double* d, int32_t n), d[i] = a[i] * c)
PLAIN_LOOP(ippsMulC_32f_I, (float c, float* s, int32_t n), s[i] *= c)
PLAIN_LOOP(ippsMulC_64f_I, (double c, double* s, int32_t n), s[i] *= c)

PLAIN_LOOP(ippsDivC_32f, (const float* a, float c, float* d, int32_t n), d[i] = a[i] * (1.0F / c))
PLAIN_LOOP(ippsDivC_64f, (const double* a, double c, double* d, int32_t n), d[i] = a[i] * (1.0 / c))
PLAIN_LOOP(ippsDivC_32f_I, (float c, float* s, int32_t n), s[i] *= 1.0F / c)

PLAIN_LOOP(ippsAbs_32f, (const float* a, float* d, int32_t n), d[i] = std::fabs(a[i]))
PLAIN_LOOP(ippsAbs_64f, (const double* a, double* d, int32_t n), d[i] = std::fabs(a[i]))
PLAIN_LOOP(ippsAbs_32f_I, (float* s, int32_t n), s[i] = std::fabs(s[i]))
PLAIN_LOOP(ippsAbs_64f_I, (double* s, int32_t n), s[i] = std::fabs(s[i]))

PLAIN_LOOP(ippsSqr_32f, (const float* a, float* d, int32_t n), d[i] = a[i] * a[i])
PLAIN_LOOP(ippsSqr_64f, (const double* a, double* d, int32_t n), d[i] = a[i] * a[i])
PLAIN_LOOP(ippsSqr_32f_I, (float* s, int32_t n), s[i] *= s[i])
PLAIN_LOOP(ippsSqr_64f_I, (double* s, int32_t n), s[i] *= s[i])

}  // namespace zr::bench::plain
