// Reductions, px build. The order of the additions fixes the bits of every result here.
#include "primitives/statistics.h"

#include <cmath>

#include "primitives/argument_checks.h"
#include "primitives/rounding.h"

using namespace zr::primitives;

int32_t ippsDotProd_32f(const float* a, const float* b, int32_t n, float* result) {
  if (const int32_t status = CheckArguments(n, 1, a, b, result)) return status;
  double sum = 0.0;
  for (int32_t i = 0; i < n; ++i) {
    sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
  }
  *result = RoundToFloat(sum);
  return kStatusOk;
}

int32_t ippsStdDev_32f(const float* s, int32_t n, float* result, int32_t /*hint*/) {
  if (const int32_t status = CheckArguments(n, 2, s, result)) return status;
  double evenSum = 0.0;
  double oddSum = 0.0;
  double evenSquares = 0.0;
  double oddSquares = 0.0;
  int32_t i = 0;
  for (; i <= n - 4; i += 4) {
    const double x0 = s[i];
    const double x1 = s[i + 1];
    const double x2 = s[i + 2];
    const double x3 = s[i + 3];
    evenSum = evenSum + x0 + x2;
    oddSum = oddSum + x1 + x3;
    evenSquares += x0 * x0 + x2 * x2;
    oddSquares += x1 * x1 + x3 * x3;
  }
  double sum = evenSum + oddSum;
  double squares = evenSquares + oddSquares;
  for (; i < n; ++i) {
    const double x = s[i];
    sum += x;
    squares += x * x;
  }

  const double count = n;
  const double numerator = count * squares - sum * sum;
  *result = numerator > 0.0 ? RoundToFloat(std::sqrt(numerator / (count * (count - 1.0)))) : 0.0F;
  return kStatusOk;
}
