// Transforms of two or four times what the direct kernel takes.
#pragma once

#include <cstdint>

#include "primitives/fft/specification.h"
#include "primitives/fft/wide_complex.h"

namespace zr::primitives::px {

/// Transforms n complex numbers in place, from bit-reversed order to natural order, scaled by
/// specification if the direction is.
template <Direction kDirection, typename Element>
void FFTBlockPath(const FftSpecification<Element>& specification, Element* z, int32_t n);

}  // namespace zr::primitives::px
