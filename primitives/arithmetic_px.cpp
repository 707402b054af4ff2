// Element-wise arithmetic on vectors, px build: one rounding for each element.
#include "primitives/arithmetic.h"

#include "primitives/argument_checks.h"
#include "primitives/float_words.h"
#include "primitives/memory.h"
#include "primitives/rounding.h"

using namespace zr::primitives;

namespace {

// The comparison of the x87 calls a NaN equal to anything; callers see that in the special cases.
bool IsEqualOrUnordered(float a, float b) {
  return !(a < b) && !(a > b);
}

}  // namespace

int32_t ippsAdd_32f_I(const float* s, float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  for (int32_t i = 0; i < n; ++i) {
    d[i] = RoundToFloat(s[i] + d[i]);
  }
  return kStatusOk;
}

int32_t ippsMulC_32f(const float* s, float c, float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  if (IsEqualOrUnordered(c, 1.0F)) return s == d ? kStatusOk : ippsCopy_32f(s, d, n);
  if (c == 0.0F) return ippsZero_32f(d, n);
  for (int32_t i = 0; i < n; ++i) {
    d[i] = RoundToFloat(s[i] * c);
  }
  return kStatusOk;
}

int32_t ippsMulC_32f_I(float c, float* d, int32_t n) {
  return ippsMulC_32f(d, c, d, n);
}

int32_t ippsDivC_32f(const float* s, float c, float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  if (IsEqualOrUnordered(c, 0.0F)) return kStatusDivideByZero;
  return ippsMulC_32f(s, RoundToFloat(1.0 / static_cast<double>(c)), d, n);
}

int32_t ippsAbs_32f(const float* s, float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  constexpr uint32_t kAllButSign = 0x7fffffff;
  for (int32_t i = 0; i < n; ++i) {
    StoreWord(d + i, LoadWord(s + i) & kAllButSign);
  }
  return kStatusOk;
}

int32_t ippsSqr_32f(const float* s, float* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s, d)) return status;
  for (int32_t i = 0; i < n; ++i) {
    d[i] = RoundToFloat(s[i] * s[i]);
  }
  return kStatusOk;
}
