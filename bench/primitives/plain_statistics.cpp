// Plain loops of the reductions, with the same order of additions and comparisons, and of the
// thresholds.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

// Groups of four, even and odd places apart. Where the rest goes differs between the types.
double Sum(const float* a, int32_t n) {
  double even = 0.0;
  double odd = 0.0;
  int32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    even = even + a[i] + a[i + 2];
    odd = odd + a[i + 1] + a[i + 3];
  }
  double sum = even + odd;
  for (; i < n; ++i) {
    sum += a[i];
  }
  return sum;
}
double Sum(const double* a, int32_t n) {
  double even = 0.0;
  double odd = 0.0;
  int32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    even = even + a[i] + a[i + 2];
    odd = odd + a[i + 1] + a[i + 3];
  }
  for (; i < n; ++i) {
    even += a[i];
  }
  return even + odd;
}

double SumOfSquares(const float* a, int32_t n) {
  double even = 0.0;
  double odd = 0.0;
  int32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    const double x[] = {a[i], a[i + 1], a[i + 2], a[i + 3]};
    even += x[0] * x[0] + x[2] * x[2];
    odd += x[1] * x[1] + x[3] * x[3];
  }
  double sum = even + odd;
  for (; i < n; ++i) {
    sum += static_cast<double>(a[i]) * a[i];
  }
  return sum;
}
double SumOfSquares(const double* a, int32_t n) {
  double even = 0.0;
  double odd = 0.0;
  int32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    even += a[i] * a[i] + a[i + 2] * a[i + 2];
    odd += a[i + 1] * a[i + 1] + a[i + 3] * a[i + 3];
  }
  for (; i < n; ++i) {
    even += a[i] * a[i];
  }
  return even + odd;
}

template <typename Real>
Real StandardDeviation(const Real* a, int32_t n) {
  const double sum = Sum(a, n);
  const double count = n;
  const double numerator = count * SumOfSquares(a, n) - sum * sum;
  return numerator > 0.0 ? static_cast<Real>(std::sqrt(numerator / (count * (count - 1.0)))) : 0;
}

template <typename Element>
int32_t PlaceOfMaximum(const Element* a, int32_t n) {
  int32_t place = 0;
  for (int32_t i = 1; i < n; ++i) {
    if (a[i] > a[place]) place = i;
  }
  return place;
}

}  // namespace

int32_t ippsSum_32f(const float* a, int32_t n, float* result, int32_t /*hint*/) {
  *result = static_cast<float>(Sum(a, n));
  return 0;
}
int32_t ippsSum_64f(const double* a, int32_t n, double* result) {
  *result = Sum(a, n);
  return 0;
}
int32_t ippsSum_16s_Sfs(const int16_t* a, int32_t n, int16_t* result, int32_t scaleFactor) {
  int64_t sum = 0;
  for (int32_t i = 0; i < n; ++i) {
    sum += a[i];
  }
  const double scaled = std::nearbyint(std::ldexp(static_cast<double>(sum), -scaleFactor));
  *result = static_cast<int16_t>(std::clamp(scaled, -32768.0, 32767.0));
  return 0;
}

int32_t ippsMean_32f(const float* a, int32_t n, float* result, int32_t /*hint*/) {
  *result = static_cast<float>(Sum(a, n) / n);
  return 0;
}
int32_t ippsMean_64f(const double* a, int32_t n, double* result) {
  *result = Sum(a, n) / n;
  return 0;
}

int32_t ippsStdDev_32f(const float* a, int32_t n, float* result, int32_t /*hint*/) {
  *result = StandardDeviation(a, n);
  return 0;
}
int32_t ippsStdDev_64f(const double* a, int32_t n, double* result) {
  *result = StandardDeviation(a, n);
  return 0;
}

int32_t ippsDotProd_32f(const float* a, const float* b, int32_t n, float* result) {
  double sum = 0.0;
  for (int32_t i = 0; i < n; ++i) {
    sum += static_cast<double>(a[i]) * b[i];
  }
  *result = static_cast<float>(sum);
  return 0;
}
int32_t ippsDotProd_64f(const double* a, const double* b, int32_t n, double* result) {
  double sum = 0.0;
  for (int32_t i = 0; i < n; ++i) {
    sum += a[i] * b[i];
  }
  *result = sum;
  return 0;
}
int32_t ippsDotProd_16s32f(const int16_t* a, const int16_t* b, int32_t n, float* result) {
  int64_t sum = 0;
  for (int32_t i = 0; i < n; ++i) {
    sum += a[i] * b[i];
  }
  *result = static_cast<float>(sum);
  return 0;
}

int32_t ippsMax_16s(const int16_t* a, int32_t n, int16_t* result) {
  *result = *std::max_element(a, a + n);
  return 0;
}
int32_t ippsMin_16s(const int16_t* a, int32_t n, int16_t* result) {
  *result = *std::min_element(a, a + n);
  return 0;
}
int32_t ippsMax_32f(const float* a, int32_t n, float* result) {
  float largest = a[0];
  for (int32_t i = 1; i < n; ++i) {
    if (a[i] > largest) largest = a[i];
  }
  *result = largest;
  return 0;
}
int32_t ippsMin_32f(const float* a, int32_t n, float* result) {
  float smallest = a[0];
  for (int32_t i = 1; i < n; ++i) {
    if (!(a[i] >= smallest)) smallest = a[i];
  }
  *result = smallest;
  return 0;
}

int32_t ippsMaxIndx_16s(const int16_t* a, int32_t n, int16_t* result, int32_t* index) {
  *index = PlaceOfMaximum(a, n);
  *result = a[*index];
  return 0;
}
int32_t ippsMaxIndx_32f(const float* a, int32_t n, float* result, int32_t* index) {
  *index = PlaceOfMaximum(a, n);
  *result = a[*index];
  return 0;
}
int32_t ippsMinIndx_32f(const float* a, int32_t n, float* result, int32_t* index) {
  int32_t place = 0;
  for (int32_t i = 1; i < n; ++i) {
    if (!(a[i] >= a[place])) place = i;
  }
  *index = place;
  *result = a[place];
  return 0;
}

int32_t ippsMinMax_32f(const float* a, int32_t n, float* minimum, float* maximum) {
  float smallest = a[0];
  float largest = a[0];
  for (int32_t i = 1; i < n; ++i) {
    if (!(a[i] >= smallest)) smallest = a[i];
    if (a[i] > largest) largest = a[i];
  }
  *minimum = smallest;
  *maximum = largest;
  return 0;
}

int32_t ippsMaxAbs_16s(const int16_t* a, int32_t n, int16_t* result) {
  int32_t largest = 0;
  for (int32_t i = 0; i < n; ++i) {
    largest = std::max(largest, std::abs(a[i]));
  }
  *result = static_cast<int16_t>(std::min(largest, 32767));
  return 0;
}

PLAIN_LOOP(ippsMaxEvery_32s_I, (const int32_t* a, int32_t* s, int32_t n),
           s[i] = std::max(a[i], s[i]))

PLAIN_LOOP(ippsThreshold_LT_32f, (const float* a, float* d, int32_t n, float level),
           d[i] = a[i] > level ? a[i] : level)
PLAIN_LOOP(ippsThreshold_LT_64f, (const double* a, double* d, int32_t n, double level),
           d[i] = a[i] > level ? a[i] : level)
PLAIN_LOOP(ippsThreshold_GT_64f, (const double* a, double* d, int32_t n, double level),
           d[i] = a[i] >= level ? level : a[i])

// In place only the elements that change are written.
PLAIN_LOOP(ippsThreshold_LT_32f_I, (float* s, int32_t n, float level),
           if (!(s[i] >= level)) s[i] = level)
PLAIN_LOOP(ippsThreshold_LT_64f_I, (double* s, int32_t n, double level),
           if (!(s[i] >= level)) s[i] = level)
PLAIN_LOOP(ippsThreshold_LT_32s_I, (int32_t * s, int32_t n, int32_t level),
           if (s[i] < level) s[i] = level)
PLAIN_LOOP(ippsThreshold_GT_32f_I, (float* s, int32_t n, float level),
           if (s[i] > level) s[i] = level)
PLAIN_LOOP(ippsThreshold_GT_64f_I, (double* s, int32_t n, double level),
           if (s[i] > level) s[i] = level)

#define PLAIN_REPLACEMENT_IN_PLACE(name, Real)                                                     \
  int32_t name(Real* s, int32_t n, Real levelLow, Real valueLow, Real levelHigh, Real valueHigh) { \
    for (int32_t i = 0; i < n; ++i) {                                                              \
      if (!(s[i] >= levelLow)) {                                                                   \
        s[i] = valueLow;                                                                           \
      } else if (s[i] > levelHigh) {                                                               \
        s[i] = valueHigh;                                                                          \
      }                                                                                            \
    }                                                                                              \
    return 0;                                                                                      \
  }
PLAIN_REPLACEMENT_IN_PLACE(ippsThreshold_LTValGTVal_32f_I, float)
PLAIN_REPLACEMENT_IN_PLACE(ippsThreshold_LTValGTVal_64f_I, double)

int32_t ippsThreshold_LTValGTVal_64f(const double* a, double* d, int32_t n, double levelLow,
                                     double valueLow, double levelHigh, double valueHigh) {
  for (int32_t i = 0; i < n; ++i) {
    const double limited = a[i] > levelHigh ? valueHigh : a[i];
    d[i] = a[i] >= levelLow ? limited : valueLow;
  }
  return 0;
}

}  // namespace zr::bench::plain
