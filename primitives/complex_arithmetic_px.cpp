// Arithmetic on complex vectors, px build: each part of a result is rounded once, and for floats
// all on the way to it stays in double precision.
#include "primitives/dispatch/px_entries.h"
#include "primitives/elementwise.h"
#include "primitives/exact_operations.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

// Sums and differences test the length first.
template <typename Complex>
int32_t Add(const Complex* a, const Complex* b, Complex* d, int32_t n) {
  if (n < 1) return kStatusSize;
  const auto sum = [](Complex x, Complex y) { return Complex{Plus(x.re, y.re), Plus(x.im, y.im)}; };
  return ForEachElement(sum, d, n, a, b);
}

template <typename Complex>
int32_t Subtract(const Complex* a, const Complex* b, Complex* d, int32_t n) {
  if (n < 1) return kStatusSize;
  const auto difference = [](Complex x, Complex y) {
    return Complex{Minus(y.re, x.re), Minus(y.im, x.im)};
  };
  return ForEachElement(difference, d, n, a, b);
}

Complex32f Product(Complex32f x, Complex32f y) {
  const double xr = x.re;
  const double xi = x.im;
  const double yr = y.re;
  const double yi = y.im;
  return {RoundToFloat(xr * yr - xi * yi), RoundToFloat(xr * yi + xi * yr)};
}

Complex64f Product(Complex64f x, Complex64f y) {
  return {Minus(Times(x.re, y.re), Times(x.im, y.im)), Plus(Times(x.re, y.im), Times(x.im, y.re))};
}

Complex32f Quotient(Complex32f divisor, Complex32f dividend, int32_t* zeroFound) {
  if (divisor.re == 0.0F && divisor.im == 0.0F) {
    *zeroFound = 1;
    return {kZeroOverZero<float>, kZeroOverZero<float>};
  }
  const double ar = divisor.re;
  const double ai = divisor.im;
  const double br = dividend.re;
  const double bi = dividend.im;
  const double r = 1.0 / (ar * ar + ai * ai);
  return {RoundToFloat((ar * br + ai * bi) * r), RoundToFloat((ar * bi - ai * br) * r)};
}

}  // namespace

int32_t ippsAdd_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n) {
  return Add(a, b, d, n);
}
int32_t ippsAdd_64fc(const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n) {
  return Add(a, b, d, n);
}
int32_t ippsAdd_32fc_I(const Complex32f* a, Complex32f* s, int32_t n) {
  return Add(a, s, s, n);
}
int32_t ippsAdd_64fc_I(const Complex64f* a, Complex64f* s, int32_t n) {
  return Add(a, s, s, n);
}

int32_t ippsSub_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n) {
  return Subtract(a, b, d, n);
}
int32_t ippsSub_64fc(const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n) {
  return Subtract(a, b, d, n);
}
int32_t ippsSub_32fc_I(const Complex32f* a, Complex32f* s, int32_t n) {
  return Subtract(a, s, s, n);
}

int32_t ippsMul_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n) {
  return ForEachElement([](Complex32f x, Complex32f y) { return Product(x, y); }, d, n, a, b);
}
int32_t ippsMul_64fc(const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n) {
  return ForEachElement([](Complex64f x, Complex64f y) { return Product(x, y); }, d, n, a, b);
}
int32_t ippsMul_32fc_I(const Complex32f* a, Complex32f* s, int32_t n) {
  return ippsMul_32fc(a, s, s, n);
}

int32_t ippsDiv_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n) {
  int32_t zeroFound = 0;
  const auto operation = [&zeroFound](Complex32f divisor, Complex32f dividend) {
    return Quotient(divisor, dividend, &zeroFound);
  };
  const int32_t status = ForEachElement(operation, d, n, a, b);
  return status != kStatusOk ? status : WarnOfZero(zeroFound);
}
int32_t ippsDiv_32fc_I(const Complex32f* a, Complex32f* s, int32_t n) {
  return ippsDiv_32fc(a, s, s, n);
}

int32_t ippsAddC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n) {
  const auto sum = [cr, ci](Complex32f x) { return Complex32f{Plus(x.re, cr), Plus(x.im, ci)}; };
  return ForEachElement(sum, d, n, a);
}
int32_t ippsAddC_32fc_I(float cr, float ci, Complex32f* s, int32_t n) {
  return ippsAddC_32fc(s, cr, ci, s, n);
}

int32_t ippsSubC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n) {
  const auto difference = [cr, ci](Complex32f x) {
    return Complex32f{Minus(x.re, cr), Minus(x.im, ci)};
  };
  return ForEachElement(difference, d, n, a);
}
int32_t ippsSubC_32fc_I(float cr, float ci, Complex32f* s, int32_t n) {
  return ippsSubC_32fc(s, cr, ci, s, n);
}

int32_t ippsSubCRev_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n) {
  const auto difference = [cr, ci](Complex32f x) {
    return Complex32f{Minus(cr, x.re), Minus(ci, x.im)};
  };
  return ForEachElement(difference, d, n, a);
}
int32_t ippsSubCRev_32fc_I(float cr, float ci, Complex32f* s, int32_t n) {
  return ippsSubCRev_32fc(s, cr, ci, s, n);
}

int32_t ippsMulC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n) {
  const Complex32f c = {cr, ci};
  return ForEachElement([c](Complex32f x) { return Product(x, c); }, d, n, a);
}
int32_t ippsMulC_32fc_I(float cr, float ci, Complex32f* s, int32_t n) {
  return ippsMulC_32fc(s, cr, ci, s, n);
}
int32_t ippsMulC_64fc_I(double cr, double ci, Complex64f* s, int32_t n) {
  const Complex64f c = {cr, ci};
  return ForEachElement([c](Complex64f x) { return Product(x, c); }, s, n, s);
}

int32_t ippsDivC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  const double re = cr;
  const double im = ci;
  const double m = re * re + im * im;
  // A NaN too.
  if (!(m > 0.0)) return kStatusDivideByZero;
  Complex32f reciprocal = {RoundToFloat(re / m), RoundToFloat(-im / m)};
  // A vector loop widens it again, and of a rounding that it sees gcc 12 then leaves nothing.
  asm("" : "+m"(reciprocal));
  return ippsMulC_32fc(a, reciprocal.re, reciprocal.im, d, n);
}
int32_t ippsDivC_32fc_I(float cr, float ci, Complex32f* s, int32_t n) {
  return ippsDivC_32fc(s, cr, ci, s, n);
}

}  // namespace zr::primitives::px
