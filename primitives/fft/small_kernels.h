// Transforms of 1 to 8 points: straight lines without tables, natural order in and out.
#pragma once

#include <cstdint>

#include "primitives/fft/specification.h"
#include "primitives/fft/wide_complex.h"

namespace zr::primitives::px {

/// Transforms the 2^order complex numbers of specification, order 0 to 3, scaled if the direction
/// is. destination may be source.
template <Direction kDirection, typename Element>
void FFTSmall(const FftSpecification<Element>& specification, const Element* source,
              Element* destination);

/// 2^order real numbers to the packed form Perm, order 0 to 3, and back. destination may be source.
void FFTSmallRealForward(const FftSpecification<float>& specification, const float* source,
                         float* destination);
void FFTSmallRealInverse(const FftSpecification<float>& specification, const float* source,
                         float* destination);

}  // namespace zr::primitives::px
