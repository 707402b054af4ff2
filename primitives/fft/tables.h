// The tables of a transform. Each is to be freed with ippsFree, and null if there is no memory.
#pragma once

#include <cstdint>

#include "primitives/fft/sine_table.h"

namespace zr::primitives::px {

/// What FFTPermute reads for 2^order numbers, order >= 2: with the order - 2 middle bits of an
/// index reversed, pairs 4i, 4j with i < j, then 0, then each 4i that is its own reversal, then 0.
int32_t* MakeBitReversalTable(int32_t order);

/// 2^order / 4 + 1 rows of three roots of 2^order: numbers k, 2k, 3k.
template <typename Element>
Element* MakeTwiddleTable(const SineTable<Element>& sines, int32_t order);

/// 2^order / 4 rows of one root of 2^order, number r.
template <typename Element>
Element* MakeBlockTable(const SineTable<Element>& sines, int32_t order);

/// What the columns of a split of 2^order numbers into 2^split rows are turned by, four columns at
/// a time, in the order in which execution reads it: rows in bit-reversed order, the four columns
/// of a row beside each other.
template <typename Element>
Element* MakeTwistTable(const SineTable<Element>& sines, int32_t order, int32_t split);

/// What the real transforms of N = 2^order points take spectra together and apart with: N/4 rows,
/// from a sine table of that order.
float* MakeForwardRecombination(const SineTable<float>& sines, int32_t order);
float* MakeInverseRecombination(const SineTable<float>& sines, int32_t order);

}  // namespace zr::primitives::px
