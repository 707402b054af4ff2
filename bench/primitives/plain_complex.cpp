// Plain loops of the arithmetic on complex vectors.
#include <limits>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

Complex32f Product(Complex32f x, Complex32f y) {
  const double xr = x.re;
  const double xi = x.im;
  return {static_cast<float>(xr * y.re - xi * y.im), static_cast<float>(xr * y.im + xi * y.re)};
}

Complex64f Product(Complex64f x, Complex64f y) {
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}

Complex32f Quotient(Complex32f divisor, Complex32f dividend, int32_t* status) {
  constexpr float kNaN = -std::numeric_limits<float>::quiet_NaN();
  if (divisor.re == 0.0F && divisor.im == 0.0F) {
    *status = 6;
    return {kNaN, kNaN};
  }
  const double ar = divisor.re;
  const double ai = divisor.im;
  const double r = 1.0 / (ar * ar + ai * ai);
  return {static_cast<float>((ar * dividend.re + ai * dividend.im) * r),
          static_cast<float>((ar * dividend.im - ai * dividend.re) * r)};
}

// Not inlined: gcc 12 leaves out a rounding that it sees a vector loop widen again.
[[gnu::noinline]] Complex32f Reciprocal(float cr, float ci) {
  const double re = cr;
  const double im = ci;
  const double m = re * re + im * im;
  return {static_cast<float>(re / m), static_cast<float>(-im / m)};
}

}  // namespace

PLAIN_LOOP(ippsAdd_32fc, (const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n),
           d[i] = {a[i].re + b[i].re, a[i].im + b[i].im})
PLAIN_LOOP(ippsAdd_64fc, (const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n),
           d[i] = {a[i].re + b[i].re, a[i].im + b[i].im})
PLAIN_LOOP(ippsAdd_32fc_I, (const Complex32f* a, Complex32f* s, int32_t n),
           s[i] = {s[i].re + a[i].re, s[i].im + a[i].im})
PLAIN_LOOP(ippsAdd_64fc_I, (const Complex64f* a, Complex64f* s, int32_t n),
           s[i] = {s[i].re + a[i].re, s[i].im + a[i].im})

PLAIN_LOOP(ippsSub_32fc, (const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n),
           d[i] = {b[i].re - a[i].re, b[i].im - a[i].im})
PLAIN_LOOP(ippsSub_64fc, (const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n),
           d[i] = {b[i].re - a[i].re, b[i].im - a[i].im})
PLAIN_LOOP(ippsSub_32fc_I, (const Complex32f* a, Complex32f* s, int32_t n),
           s[i] = {s[i].re - a[i].re, s[i].im - a[i].im})

PLAIN_LOOP(ippsMul_32fc, (const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n),
           d[i] = Product(a[i], b[i]))
PLAIN_LOOP(ippsMul_64fc, (const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n),
           d[i] = Product(a[i], b[i]))
PLAIN_LOOP(ippsMul_32fc_I, (const Complex32f* a, Complex32f* s, int32_t n),
           s[i] = Product(a[i], s[i]))

int32_t ippsDiv_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n) {
  int32_t status = 0;
  for (int32_t i = 0; i < n; ++i) {
    d[i] = Quotient(a[i], b[i], &status);
  }
  return status;
}
int32_t ippsDiv_32fc_I(const Complex32f* a, Complex32f* s, int32_t n) {
  int32_t status = 0;
  for (int32_t i = 0; i < n; ++i) {
    s[i] = Quotient(a[i], s[i], &status);
  }
  return status;
}

PLAIN_LOOP(ippsAddC_32fc, (const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n),
           d[i] = {a[i].re + cr, a[i].im + ci})
PLAIN_LOOP(ippsAddC_32fc_I, (float cr, float ci, Complex32f* s, int32_t n),
           s[i] = {s[i].re + cr, s[i].im + ci})

PLAIN_LOOP(ippsSubC_32fc, (const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n),
           d[i] = {a[i].re - cr, a[i].im - ci})
PLAIN_LOOP(ippsSubC_32fc_I, (float cr, float ci, Complex32f* s, int32_t n),
           s[i] = {s[i].re - cr, s[i].im - ci})

PLAIN_LOOP(ippsSubCRev_32fc, (const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n),
           d[i] = {cr - a[i].re, ci - a[i].im})
PLAIN_LOOP(ippsSubCRev_32fc_I, (float cr, float ci, Complex32f* s, int32_t n),
           s[i] = {cr - s[i].re, ci - s[i].im})

PLAIN_LOOP(ippsMulC_32fc, (const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n),
           d[i] = Product(a[i], {cr, ci}))
PLAIN_LOOP(ippsMulC_32fc_I, (float cr, float ci, Complex32f* s, int32_t n),
           s[i] = Product(s[i], {cr, ci}))
PLAIN_LOOP(ippsMulC_64fc_I, (double cr, double ci, Complex64f* s, int32_t n),
           s[i] = Product(s[i], {cr, ci}))

int32_t ippsDivC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n) {
  const Complex32f reciprocal = Reciprocal(cr, ci);
  for (int32_t i = 0; i < n; ++i) {
    d[i] = Product(a[i], reciprocal);
  }
  return 0;
}
int32_t ippsDivC_32fc_I(float cr, float ci, Complex32f* s, int32_t n) {
  return ippsDivC_32fc(s, cr, ci, s, n);
}

}  // namespace zr::bench::plain
