// Large transforms: rows of neighbouring points, then columns across the rows.
#pragma once

#include <cstdint>

#include "primitives/fft/specification.h"
#include "primitives/fft/wide_complex.h"

namespace zr::primitives::px {

/// Transforms 2^order complex numbers in place, from bit-reversed order to natural order, scaled by
/// specification if the direction is. level: 0, and one more for rows that are split once more.
/// work: kSplitColumns columns of the longest split in specification.
template <Direction kDirection, typename Element>
void FFTSplitPath(const FftSpecification<Element>& specification, Element* z, int32_t order,
                  int32_t level, Element* work);

}  // namespace zr::primitives::px
