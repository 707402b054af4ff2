// The exchange that bit-reversed order asks for ahead of a transform.
#pragma once

#include <cstdint>

namespace zr::primitives::px {

/// Exchanges each complex number with the one whose index has the bits reversed, for n numbers, n a
/// power of two from 8 up. source may be destination; else each number is read and written once.
/// bitRevTable: pairs, 0, indices that are their own reversals, 0, as MakeBitReversalTable makes
/// it.
template <typename Element>
void FFTPermute(const Element* source, Element* destination, int32_t n, const int32_t* bitRevTable);

}  // namespace zr::primitives::px
