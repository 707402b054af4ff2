// Reductions, px build. The order of the additions fixes the bits of every sum, the order of the
// comparisons what becomes of NaNs and of zeros of either sign.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <type_traits>
#include <utility>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_words.h"
#include "primitives/elementwise.h"
#include "primitives/exact_operations.h"
#include "primitives/moved_elements.h"
#include "primitives/scaling.h"

namespace zr::primitives::px {
namespace {

// What is summed of floats and of their squares and products never leaves the range of a double;
// only of doubles each step has to be rounded to its bits.
template <typename Element>
inline constexpr bool kIsSingle = std::is_same_v<Element, float>;

template <typename Element>
double Add(double x, double y) {
  return kIsSingle<Element> ? x + y : Plus(x, y);
}

template <typename Element>
double Multiply(double x, double y) {
  return kIsSingle<Element> ? x * y : Times(x, y);
}

/// A sum in two parts, of the elements at even and at odd places.
template <typename Element>
struct SplitSum {
  double even = 0.0;
  double odd = 0.0;

  /// To call between the whole groups of four and the elements behind them, which go to the even
  /// part. What is then left to join for floats is a zero, and it changes no sum: none is -0.
  void EndGroups() {
    if (kIsSingle<Element>) even += std::exchange(odd, 0.0);
  }
  double Join() const { return Add<Element>(even, odd); }
};

template <typename Element>
double Sum(const Element* a, int32_t n) {
  SplitSum<Element> sum;
  int32_t i = 0;
  for (; i <= n - 4; i += 4) {
    sum.even = Add<Element>(Add<Element>(sum.even, Load(a, i)), Load(a, i + 2));
    sum.odd = Add<Element>(Add<Element>(sum.odd, Load(a, i + 1)), Load(a, i + 3));
  }
  sum.EndGroups();
  for (; i < n; ++i) {
    sum.even = Add<Element>(sum.even, Load(a, i));
  }
  return sum.Join();
}

template <typename Element>
double StandardDeviation(const Element* a, int32_t n) {
  const auto square = [](double x) { return Multiply<Element>(x, x); };
  SplitSum<Element> sum;
  SplitSum<Element> squares;
  int32_t i = 0;
  for (; i <= n - 4; i += 4) {
    const double x0 = Load(a, i);
    const double x1 = Load(a, i + 1);
    const double x2 = Load(a, i + 2);
    const double x3 = Load(a, i + 3);
    sum.even = Add<Element>(Add<Element>(sum.even, x0), x2);
    sum.odd = Add<Element>(Add<Element>(sum.odd, x1), x3);
    squares.even = Add<Element>(squares.even, Add<Element>(square(x0), square(x2)));
    squares.odd = Add<Element>(squares.odd, Add<Element>(square(x1), square(x3)));
  }
  sum.EndGroups();
  squares.EndGroups();
  for (; i < n; ++i) {
    const double x = Load(a, i);
    sum.even = Add<Element>(sum.even, x);
    squares.even = Add<Element>(squares.even, square(x));
  }

  const double total = sum.Join();
  const double count = n;
  const double numerator = Minus(Times(count, squares.Join()), Times(total, total));
  return numerator > 0.0 ? std::sqrt(Over(numerator, count * (count - 1.0))) : 0.0;
}

template <typename Element>
double DotProduct(const Element* a, const Element* b, int32_t n) {
  double sum = 0.0;
  for (int32_t i = 0; i < n; ++i) {
    sum = Add<Element>(sum, Multiply<Element>(Load(a, i), Load(b, i)));
  }
  return sum;
}

/// The sum of at most 65536 elements, which fits into 32 bits.
int32_t BlockSum(const int16_t* a, int32_t n) {
  int32_t sum = 0;
  for (int32_t i = 0; i < n; ++i) {
    sum += Load(a, i);
  }
  return sum;
}

/// The first of the largest elements up to a place.
template <typename Element>
struct RunningMaximum {
  Element value;
  int32_t place = 0;

  void Take(Element element, int32_t i) {
    if (element > value) *this = {element, i};
  }
};

/// The first of the smallest elements up to a place, or a NaN there.
struct RunningMinimum {
  float value;
  int32_t place = 0;

  void Take(float element, int32_t i) {
    if (!(element >= value)) *this = {element, i};
  }
};

/// The place at which an extreme stands. Results are copied from there as words.
template <typename Running, typename Element>
int32_t PlaceOf(const Element* a, int32_t n) {
  Running extreme = {Load(a, 0)};
  for (int32_t i = 1; i < n; ++i) {
    extreme.Take(Load(a, i), i);
  }
  return extreme.place;
}

template <typename Running, typename Element>
int32_t FindExtremeAndPlace(const Element* a, int32_t n, Element* result, int32_t* index) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  const auto place = PlaceOf<Running>(a, n);
  StoreWord(result, LoadWord(a + place));
  Store(index, 0, place);
  return kStatusOk;
}

}  // namespace

int32_t ippsSum_32f(const float* a, int32_t n, float* result, int32_t /*hint*/) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  Store(result, 0, RoundToFloat(Sum(a, n)));
  return kStatusOk;
}
int32_t ippsSum_64f(const double* a, int32_t n, double* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  Store(result, 0, Sum(a, n));
  return kStatusOk;
}
int32_t ippsSum_16s_Sfs(const int16_t* a, int32_t n, int16_t* result, int32_t scaleFactor) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  constexpr int32_t kBlockLength = 65536;
  int64_t sum = 0;
  while (n > 0) {
    const int32_t length = std::min(n, kBlockLength);
    sum += BlockSum(a, length);
    a += length;
    n -= length;
  }
  Store(result, 0, ScaleAndSaturate<int16_t>(sum, scaleFactor));
  return kStatusOk;
}

int32_t ippsMean_32f(const float* a, int32_t n, float* result, int32_t /*hint*/) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  Store(result, 0, RoundToFloat(Sum(a, n) / n));
  return kStatusOk;
}
int32_t ippsMean_64f(const double* a, int32_t n, double* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  Store(result, 0, Over(Sum(a, n), static_cast<double>(n)));
  return kStatusOk;
}

int32_t ippsStdDev_32f(const float* a, int32_t n, float* result, int32_t /*hint*/) {
  if (const int32_t status = CheckArguments(n, 2, a, result)) return status;
  Store(result, 0, RoundToFloat(StandardDeviation(a, n)));
  return kStatusOk;
}
int32_t ippsStdDev_64f(const double* a, int32_t n, double* result) {
  if (const int32_t status = CheckArguments(n, 2, a, result)) return status;
  Store(result, 0, StandardDeviation(a, n));
  return kStatusOk;
}

int32_t ippsDotProd_32f(const float* a, const float* b, int32_t n, float* result) {
  if (const int32_t status = CheckArguments(n, 1, a, b, result)) return status;
  Store(result, 0, RoundToFloat(DotProduct(a, b, n)));
  return kStatusOk;
}
int32_t ippsDotProd_64f(const double* a, const double* b, int32_t n, double* result) {
  if (const int32_t status = CheckArguments(n, 1, a, b, result)) return status;
  Store(result, 0, DotProduct(a, b, n));
  return kStatusOk;
}
int32_t ippsDotProd_16s32f(const int16_t* a, const int16_t* b, int32_t n, float* result) {
  if (const int32_t status = CheckArguments(n, 1, a, b, result)) return status;
  int64_t sum = 0;
  for (int32_t i = 0; i < n; ++i) {
    sum += Load(a, i) * Load(b, i);
  }
  Store(result, 0, RoundToFloat(static_cast<float>(sum)));
  return kStatusOk;
}

int32_t ippsMax_16s(const int16_t* a, int32_t n, int16_t* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  int16_t largest = Load(a, 0);
  for (int32_t i = 0; i < n; ++i) {
    largest = std::max(largest, Load(a, i));
  }
  Store(result, 0, largest);
  return kStatusOk;
}
int32_t ippsMin_16s(const int16_t* a, int32_t n, int16_t* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  int16_t smallest = Load(a, 0);
  for (int32_t i = 0; i < n; ++i) {
    smallest = std::min(smallest, Load(a, i));
  }
  Store(result, 0, smallest);
  return kStatusOk;
}
int32_t ippsMax_32f(const float* a, int32_t n, float* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  Moved<float> largest = LoadMoved(a);
  for (int32_t i = 1; i < n; ++i) {
    const Moved<float> moved = LoadMoved(a + i);
    largest = std::bit_cast<float>(moved) > std::bit_cast<float>(largest) ? moved : largest;
  }
  StoreMoved(result, largest);
  return kStatusOk;
}
int32_t ippsMin_32f(const float* a, int32_t n, float* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  StoreWord(result, LoadWord(a + PlaceOf<RunningMinimum>(a, n)));
  return kStatusOk;
}

int32_t ippsMaxIndx_16s(const int16_t* a, int32_t n, int16_t* result, int32_t* index) {
  if (index == nullptr) return ippsMax_16s(a, n, result);
  return FindExtremeAndPlace<RunningMaximum<int16_t>>(a, n, result, index);
}
int32_t ippsMaxIndx_32f(const float* a, int32_t n, float* result, int32_t* index) {
  if (index == nullptr) return ippsMax_32f(a, n, result);
  return FindExtremeAndPlace<RunningMaximum<float>>(a, n, result, index);
}
int32_t ippsMinIndx_32f(const float* a, int32_t n, float* result, int32_t* index) {
  if (index == nullptr) return ippsMin_32f(a, n, result);
  return FindExtremeAndPlace<RunningMinimum>(a, n, result, index);
}

int32_t ippsMinMax_32f(const float* a, int32_t n, float* minimum, float* maximum) {
  if (const int32_t status = CheckArguments(n, 1, a, minimum, maximum)) return status;
  RunningMinimum smallest = {Load(a, 0)};
  RunningMaximum<float> largest = {Load(a, 0)};
  for (int32_t i = 1; i < n; ++i) {
    smallest.Take(Load(a, i), i);
    largest.Take(Load(a, i), i);
  }
  const auto minimumWord = LoadWord(a + smallest.place);
  StoreWord(maximum, LoadWord(a + largest.place));
  StoreWord(minimum, minimumWord);
  return kStatusOk;
}

int32_t ippsMaxAbs_16s(const int16_t* a, int32_t n, int16_t* result) {
  if (const int32_t status = CheckArguments(n, 1, a, result)) return status;
  int32_t largest = 0;
  for (int32_t i = 0; i < n; ++i) {
    largest = std::max(largest, std::abs(int32_t{Load(a, i)}));
  }
  Store(result, 0, Saturate<int16_t>(largest));
  return kStatusOk;
}

int32_t ippsMaxEvery_32s_I(const int32_t* a, int32_t* s, int32_t n) {
  return ForEachElement([](int32_t x, int32_t y) { return std::max(x, y); }, s, n, a, s);
}

}  // namespace zr::primitives::px
