// The transform of data that stands in bit-reversed order, by the path that its size asks for.
#pragma once

#include <cstdint>

#include "primitives/fft/specification.h"
#include "primitives/fft/wide_complex.h"

namespace zr::primitives::px {

template <Direction kDirection, typename Element>
inline bool IsScaled(const FftSpecification<Element>& specification) {
  return (kDirection == Direction::kForward ? specification.doFwdScale
                                            : specification.doInvScale) != 0;
}

/// Transforms each 2^order of total complex numbers in place, order from 3 to the direct limit,
/// from bit-reversed order to natural order, scaled by specification if the direction is.
template <Direction kDirection, typename Element>
void FFTDirectRows(const FftSpecification<Element>& specification, Element* z, int32_t total,
                   int32_t order);

/// Transforms 2^order complex numbers in place, order >= 3, from bit-reversed order to natural
/// order, scaled by specification if the direction is. level and work as in FFTSplitPath; orders
/// that are not split use neither.
template <Direction kDirection, typename Element>
void FFTOrdered(const FftSpecification<Element>& specification, Element* z, int32_t order,
                int32_t level, Element* work);

}  // namespace zr::primitives::px
