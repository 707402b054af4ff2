// The kernel that transforms whatever fits the nearest cache, and that the larger transforms are
// put together of.
#pragma once

#include <cstdint>

#include "primitives/exact_operations.h"
#include "primitives/fft/wide_complex.h"

namespace zr::primitives::px {

/// Transforms each n of total complex numbers in place, from bit-reversed order to natural order,
/// without scaling; n is a power of two from 8 to 2^kDirectLimit, and total a multiple of it.
/// Several transforms go through each pass together, so that they share its roots. twiddles:
/// n/4 + 1 rows w^k, w^2k, w^3k, with w = exp(-2 pi i / n), as MakeTwiddleTable makes them.
template <Direction kDirection, typename Element>
void FFTDirect(Element* z, int32_t total, int32_t n, const Element* twiddles);

/// Multiplies elements; a complex number is two of them.
template <typename Element>
inline void FFTScale(Element scale, Element* elements, int32_t count) {
  for (int32_t i = 0; i < count; ++i)
    Store(elements, i, Times(Load(elements, i), scale));
}

}  // namespace zr::primitives::px
