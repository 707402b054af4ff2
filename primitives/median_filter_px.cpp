// Median filter, px build. It works in place on the copy of its source: what it still has to read
// it keeps, or reads ahead of what it writes.
#include <algorithm>
#include <limits>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"

namespace zr::primitives::px {
namespace {

int16_t Median(int16_t a, int16_t b, int16_t c) {
  return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

/// Of two pairs, neither the smaller of their smaller elements nor the larger of their larger ones
/// can be the median.
int16_t Median(int16_t a, int16_t b, int16_t c, int16_t d, int16_t e) {
  return Median(std::max(std::min(a, b), std::min(c, d)), std::min(std::max(a, b), std::max(c, d)),
                e);
}

void FilterByThree(int16_t* s, int32_t n) {
  int16_t before = Load(s, 0);
  int16_t here = Load(s, 1);
  for (int32_t i = 1; i < n - 1; ++i) {
    const int16_t after = Load(s, i + 1);
    Store(s, i, Median(before, here, after));
    before = here;
    here = after;
  }
}

void FilterByFive(int16_t* s, int32_t n) {
  int16_t oldest = Load(s, 0);
  int16_t before = oldest;
  int16_t here = Load(s, 1);
  int16_t after = Load(s, 2);
  for (int32_t i = 1; i < n - 1; ++i) {
    const int16_t newest = Load(s, i < n - 2 ? i + 2 : n - 1);
    Store(s, i, Median(oldest, before, here, after, newest));
    oldest = before;
    before = here;
    here = after;
    after = newest;
  }
}

/// Replaces a value in a sorted run, which stays sorted: what lies between the old value's place
/// and the new one's moves over by one.
void ReplaceSorted(int32_t* first, int32_t* last, int32_t oldValue, int32_t newValue) {
  int32_t* hole = std::lower_bound(first, last, oldValue);
  for (; hole + 1 < last && hole[1] < newValue; ++hole) {
    *hole = hole[1];
  }
  for (; hole > first && hole[-1] > newValue; --hole) {
    *hole = hole[-1];
  }
  *hole = newValue;
}

/// For a window of any odd width: its samples are kept in sorted order, and once more in the order
/// of their arrival, which tells the next to go.
int32_t FilterBySortedWindow(int16_t* s, int32_t n, int32_t width) {
  const int64_t capacity = (int64_t{width} + 7) / 8 * 8;
  if (2 * capacity > std::numeric_limits<int32_t>::max()) return kStatusNoMemory;
  float* const scratch = ippsMalloc_32f(static_cast<int32_t>(2 * capacity));
  if (scratch == nullptr) return kStatusNoMemory;
  auto* const sorted = reinterpret_cast<int32_t*>(scratch);
  int32_t* const arrived = sorted + capacity;

  const int32_t half = width / 2;
  for (int32_t i = 0; i < width; ++i) {
    arrived[i] = Load(s, std::clamp(i - half, 0, n - 1));
  }
  std::copy(arrived, arrived + width, sorted);
  std::sort(sorted, sorted + width);
  int32_t oldest = 0;
  for (int32_t i = 1; i < n - 1; ++i) {
    const int32_t newest = Load(s, half < n - 1 - i ? i + half : n - 1);
    ReplaceSorted(sorted, sorted + width, arrived[oldest], newest);
    arrived[oldest] = newest;
    oldest = oldest + 1 < width ? oldest + 1 : 0;
    Store(s, i, static_cast<int16_t>(sorted[half]));
  }
  ippsFree(scratch);
  return kStatusOk;
}

int32_t FilterInPlace(int16_t* s, int32_t n, int32_t width) {
  if (width == 1 || n < 3) return kStatusOk;
  if (width > 5) return FilterBySortedWindow(s, n, width);
  if (width == 3) {
    FilterByThree(s, n);
  } else {
    FilterByFive(s, n);
  }
  return kStatusOk;
}

}  // namespace

int32_t ippsFilterMedian_16s(const int16_t* a, int16_t* d, int32_t n, int32_t maskSize) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  if (maskSize < 1) return kStatusSize;
  ippsCopy_16s(a, d, n);
  const bool isEven = maskSize % 2 == 0;
  const int32_t status = FilterInPlace(d, n, isEven ? maskSize - 1 : maskSize);
  if (status != kStatusOk) return status;
  return isEven ? kStatusEvenMaskSize : kStatusOk;
}

}  // namespace zr::primitives::px
