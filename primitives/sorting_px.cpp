// Sorting, px build: quicksort with a stack of its own. The larger part of each partition waits on
// the stack, so that the range in work halves with each place taken.
#include <array>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/moved_elements.h"

namespace zr::primitives::px {
namespace {

/// A run of elements with both its ends.
struct Range {
  int32_t low;
  int32_t high;

  int32_t Size() const { return high - low + 1; }
};

constexpr int32_t kLongestSelection = 9;
/// Enough for any length of 31 bits.
constexpr std::size_t kStackSize = 32;

template <typename Element>
void Exchange(Element* s, int32_t i, int32_t k) {
  const Moved<Element> moved = LoadMoved(s + i);
  StoreMoved(s + i, LoadMoved(s + k));
  StoreMoved(s + k, moved);
}

/// Puts the smaller of two elements at place i.
template <typename Element>
void Order(Element* s, int32_t i, int32_t k) {
  if (Load(s, k) < Load(s, i)) Exchange(s, i, k);
}

struct Parts {
  Range left;
  Range right;
};

/// Nothing in the left part is above the pivot, and nothing in the right part below it; between
/// them stand elements that are in their places already. Neither part is empty, and neither walk
/// leaves the range, whatever a comparison with a NaN says.
template <typename Element>
Parts Partition(Element* s, Range range) {
  const int32_t middle = range.low + range.Size() / 2;
  Order(s, range.low + 1, range.low);
  Order(s, range.low, middle);
  Order(s, middle, range.high);
  Order(s, range.low, middle);
  const Element pivot = Load(s, middle);

  int32_t up = range.low + 1;
  int32_t down = range.high;
  for (;;) {
    while (up < down && !(Load(s, up) > pivot)) {
      ++up;
    }
    while (down > up && Load(s, down) > pivot) {
      --down;
    }
    if (up == down) break;
    Exchange(s, up, down);
  }
  int32_t leftEnd = up - 1;
  while (leftEnd > range.low && Load(s, leftEnd) == pivot) {
    --leftEnd;
  }
  return {{range.low, leftEnd}, {up, range.high}};
}

template <typename Element>
void SortBySelection(Element* s, Range range) {
  for (int32_t last = range.high; last > range.low; --last) {
    int32_t largest = range.low;
    for (int32_t i = range.low + 1; i <= last; ++i) {
      if (Load(s, i) > Load(s, largest)) largest = i;
    }
    Exchange(s, largest, last);
  }
}

template <typename Element>
int32_t SortAscending(Element* s, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, s)) return status;
  std::array<Range, kStackSize> waiting{};
  std::size_t waitingCount = 0;
  Range range = {0, n - 1};
  for (;;) {
    if (range.Size() <= kLongestSelection) {
      SortBySelection(s, range);
      if (waitingCount == 0) return kStatusOk;
      range = waiting[--waitingCount];
      continue;
    }
    const Parts parts = Partition(s, range);
    const bool isLeftLarger = parts.left.Size() > parts.right.Size();
    const Range& larger = isLeftLarger ? parts.left : parts.right;
    const Range& smaller = isLeftLarger ? parts.right : parts.left;
    if (smaller.Size() > 1) {
      waiting[waitingCount++] = larger;
      range = smaller;
    } else {
      range = larger;
    }
  }
}

}  // namespace

int32_t ippsSortAscend_32f_I(float* s, int32_t n) {
  return SortAscending(s, n);
}
int32_t ippsSortAscend_64f_I(double* s, int32_t n) {
  return SortAscending(s, n);
}

}  // namespace zr::primitives::px
