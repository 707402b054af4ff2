// Arithmetic on real vectors, px build: one rounding for each result.
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_words.h"
#include "primitives/elementwise.h"
#include "primitives/exact_operations.h"
#include "primitives/special_constants.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

template <typename T>
int32_t Add(const T* a, const T* b, T* d, int32_t n) {
  return ForEachElement([](T x, T y) { return Plus(x, y); }, d, n, a, b);
}

template <typename T>
int32_t Subtract(const T* a, const T* b, T* d, int32_t n) {
  return ForEachElement([](T x, T y) { return Minus(y, x); }, d, n, a, b);
}

template <typename T>
int32_t Multiply(const T* a, const T* b, T* d, int32_t n) {
  return ForEachElement([](T x, T y) { return Times(x, y); }, d, n, a, b);
}

template <typename T>
int32_t SubtractReversed(const T* a, T c, T* d, int32_t n) {
  return ForEachElement([c](T x) { return Minus(c, x); }, d, n, a);
}

template <typename T>
int32_t Square(const T* a, T* d, int32_t n) {
  return ForEachElement([](T x) { return Times(x, x); }, d, n, a);
}

template <typename T>
int32_t Magnitude(const T* a, T* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  for (int32_t i = 0; i < n; ++i) {
    StoreWord(d + i, LoadWord(a + i) & ~kSignBit<T>);
  }
  return kStatusOk;
}

template <typename T>
int32_t Divide(const T* a, const T* b, T* d, int32_t n) {
  int32_t zeroFound = 0;
  const auto operation = [&zeroFound](T divisor, T dividend) {
    return DivideMarkingZero(dividend, divisor, &zeroFound);
  };
  const int32_t status = ForEachElement(operation, d, n, a, b);
  return status != kStatusOk ? status : WarnOfZero(zeroFound);
}

template <typename T>
int32_t AddConstant(const T* a, T c, T* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  if (IsEqualOrUnordered(c, T{0})) return CopyElements(a, d, n);
  return ForEachElement([c](T x) { return Plus(x, c); }, d, n, a);
}

template <typename T>
int32_t MultiplyByConstant(const T* a, T c, T* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  if (IsEqualOrUnordered(c, T{1})) return CopyElements(a, d, n);
  if (c == T{0}) return ForEachElement([](T) { return T{0}; }, d, n, a);
  return ForEachElement([c](T x) { return Times(x, c); }, d, n, a);
}

template <typename T>
int32_t DivideByConstant(const T* a, T c, T* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  if (IsEqualOrUnordered(c, T{0})) return kStatusDivideByZero;
  return MultiplyByConstant(a, Over(T{1}, c), d, n);
}

}  // namespace

int32_t ippsAdd_32f(const float* a, const float* b, float* d, int32_t n) {
  return Add(a, b, d, n);
}
int32_t ippsAdd_64f(const double* a, const double* b, double* d, int32_t n) {
  return Add(a, b, d, n);
}
int32_t ippsAdd_32f_I(const float* a, float* s, int32_t n) {
  return Add(a, s, s, n);
}
int32_t ippsAdd_64f_I(const double* a, double* s, int32_t n) {
  return Add(a, s, s, n);
}

int32_t ippsSub_32f(const float* a, const float* b, float* d, int32_t n) {
  return Subtract(a, b, d, n);
}
int32_t ippsSub_64f(const double* a, const double* b, double* d, int32_t n) {
  return Subtract(a, b, d, n);
}
int32_t ippsSub_32f_I(const float* a, float* s, int32_t n) {
  return Subtract(a, s, s, n);
}
int32_t ippsSub_64f_I(const double* a, double* s, int32_t n) {
  return Subtract(a, s, s, n);
}

int32_t ippsMul_32f(const float* a, const float* b, float* d, int32_t n) {
  return Multiply(a, b, d, n);
}
int32_t ippsMul_64f(const double* a, const double* b, double* d, int32_t n) {
  return Multiply(a, b, d, n);
}
int32_t ippsMul_32f_I(const float* a, float* s, int32_t n) {
  return Multiply(a, s, s, n);
}
int32_t ippsMul_64f_I(const double* a, double* s, int32_t n) {
  return Multiply(a, s, s, n);
}
int32_t ippsMul_16s32f(const int16_t* a, const int16_t* b, float* d, int32_t n) {
  return ForEachElement(
      [](int32_t x, int32_t y) { return RoundToFloat(static_cast<float>(x * y)); }, d, n, a, b);
}

int32_t ippsAddProduct_32f(const float* a, const float* b, float* s, int32_t n) {
  return ForEachElement([](double x, double y, double sum) { return RoundToFloat(sum + x * y); }, s,
                        n, a, b, s);
}
int32_t ippsAddProduct_64f(const double* a, const double* b, double* s, int32_t n) {
  return ForEachElement([](double x, double y, double sum) { return Plus(sum, Times(x, y)); }, s, n,
                        a, b, s);
}

int32_t ippsDiv_32f(const float* a, const float* b, float* d, int32_t n) {
  return Divide(a, b, d, n);
}
int32_t ippsDiv_64f(const double* a, const double* b, double* d, int32_t n) {
  return Divide(a, b, d, n);
}
int32_t ippsDiv_32f_I(const float* a, float* s, int32_t n) {
  return Divide(a, s, s, n);
}
int32_t ippsDiv_64f_I(const double* a, double* s, int32_t n) {
  return Divide(a, s, s, n);
}

int32_t ippsAddC_32f(const float* a, float c, float* d, int32_t n) {
  return AddConstant(a, c, d, n);
}
int32_t ippsAddC_32f_I(float c, float* s, int32_t n) {
  return AddConstant(s, c, s, n);
}
int32_t ippsAddC_64f_I(double c, double* s, int32_t n) {
  return AddConstant(s, c, s, n);
}

// x - c and x + (-c) are the same number.
int32_t ippsSubC_32f(const float* a, float c, float* d, int32_t n) {
  return AddConstant(a, -c, d, n);
}
int32_t ippsSubC_32f_I(float c, float* s, int32_t n) {
  return AddConstant(s, -c, s, n);
}

int32_t ippsSubCRev_32f(const float* a, float c, float* d, int32_t n) {
  return SubtractReversed(a, c, d, n);
}
int32_t ippsSubCRev_64f(const double* a, double c, double* d, int32_t n) {
  return SubtractReversed(a, c, d, n);
}
int32_t ippsSubCRev_32f_I(float c, float* s, int32_t n) {
  return SubtractReversed(s, c, s, n);
}
int32_t ippsSubCRev_64f_I(double c, double* s, int32_t n) {
  return SubtractReversed(s, c, s, n);
}

int32_t ippsMulC_32f(const float* a, float c, float* d, int32_t n) {
  return MultiplyByConstant(a, c, d, n);
}
int32_t ippsMulC_64f(const double* a, double c, double* d, int32_t n) {
  return MultiplyByConstant(a, c, d, n);
}
int32_t ippsMulC_32f_I(float c, float* s, int32_t n) {
  return MultiplyByConstant(s, c, s, n);
}
int32_t ippsMulC_64f_I(double c, double* s, int32_t n) {
  return MultiplyByConstant(s, c, s, n);
}

int32_t ippsDivC_32f(const float* a, float c, float* d, int32_t n) {
  return DivideByConstant(a, c, d, n);
}
int32_t ippsDivC_64f(const double* a, double c, double* d, int32_t n) {
  return DivideByConstant(a, c, d, n);
}
int32_t ippsDivC_32f_I(float c, float* s, int32_t n) {
  return DivideByConstant(s, c, s, n);
}

int32_t ippsDivCRev_32f(const float* a, float c, float* d, int32_t n) {
  int32_t zeroFound = 0;
  const auto operation = [&zeroFound, c](float x) { return DivideMarkingZero(c, x, &zeroFound); };
  const int32_t status = ForEachElement(operation, d, n, a);
  return status != kStatusOk ? status : WarnOfZero(zeroFound);
}
int32_t ippsDivCRev_32f_I(float c, float* s, int32_t n) {
  return ippsDivCRev_32f(s, c, s, n);
}

int32_t ippsAbs_32f(const float* a, float* d, int32_t n) {
  return Magnitude(a, d, n);
}
int32_t ippsAbs_64f(const double* a, double* d, int32_t n) {
  return Magnitude(a, d, n);
}
int32_t ippsAbs_32f_I(float* s, int32_t n) {
  return Magnitude(s, s, n);
}
int32_t ippsAbs_64f_I(double* s, int32_t n) {
  return Magnitude(s, s, n);
}

int32_t ippsSqr_32f(const float* a, float* d, int32_t n) {
  return Square(a, d, n);
}
int32_t ippsSqr_64f(const double* a, double* d, int32_t n) {
  return Square(a, d, n);
}
int32_t ippsSqr_32f_I(float* s, int32_t n) {
  return Square(s, s, n);
}
int32_t ippsSqr_64f_I(double* s, int32_t n) {
  return Square(s, s, n);
}

}  // namespace zr::primitives::px
