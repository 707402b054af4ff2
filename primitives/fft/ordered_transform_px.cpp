// The choice of the path, px build.
#include "primitives/fft/ordered_transform.h"

#include "primitives/fft/block_path.h"
#include "primitives/fft/direct_kernel.h"
#include "primitives/fft/split_path.h"
#include "primitives/fft/transform_sizes.h"

namespace zr::primitives::px {

template <Direction kDirection, typename Element>
void FFTOrdered(const FftSpecification<Element>& specification, Element* z, int32_t order,
                int32_t level, Element* work) {
  const int32_t n = int32_t{1} << order;
  if (order <= kDirectLimit<Element>) {
    FFTDirect<kDirection>(z, n, specification.twiddleTable);
    if (IsScaled<kDirection>(specification)) FFTScale(specification.scale, z, 2 * n);
  } else if (SplitExponent<Element>(order) == 0) {
    FFTBlockPath<kDirection>(specification, z, n);
  } else {
    FFTSplitPath<kDirection>(specification, z, order, level, work);
  }
}

template void FFTOrdered<Direction::kForward>(const FftSpecification<float>&, float*, int32_t,
                                              int32_t, float*);
template void FFTOrdered<Direction::kInverse>(const FftSpecification<float>&, float*, int32_t,
                                              int32_t, float*);
template void FFTOrdered<Direction::kForward>(const FftSpecification<double>&, double*, int32_t,
                                              int32_t, double*);

}  // namespace zr::primitives::px
