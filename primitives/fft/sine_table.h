// The quarter wave of sines that every other table is copied out of: no two tables can hold values
// of one root that were rounded differently.
#pragma once

#include <cstdint>

namespace zr::primitives::px {

/// cos - i sin of a part of a turn.
template <typename Element>
struct Root {
  Element re;
  Element im;
};

/// sin(2 pi k / N), for k from 0 to N/4, with N = 2^order.
template <typename Element>
struct SineTable {
  const Element* sines;
  int32_t order;

  /// exp(-2 pi i index / 2^rootOrder), rootOrder <= order, for indices from 0 to 2^rootOrder - 1.
  [[nodiscard]] Root<Element> RootAt(int32_t rootOrder, int32_t index) const {
    const int32_t quarter = int32_t{1} << (order - 2);
    const int32_t k = index << (order - rootOrder);
    if (k < quarter) return {sines[quarter - k], -sines[k]};
    if (k < 2 * quarter) return {-sines[k - quarter], -sines[2 * quarter - k]};
    if (k < 3 * quarter) return {-sines[3 * quarter - k], sines[k - 2 * quarter]};
    return {sines[k - 3 * quarter], sines[4 * quarter - k]};
  }
};

/// The sines of a table of order 4 or above, to be freed with ippsFree; null if there is no memory.
template <typename Element>
Element* MakeSines(int32_t order);

}  // namespace zr::primitives::px
