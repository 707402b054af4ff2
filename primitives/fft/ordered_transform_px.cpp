// The choice of the path, px build.
#include "primitives/fft/ordered_transform.h"

#include <algorithm>

#include "primitives/fft/block_path.h"
#include "primitives/fft/direct_kernel.h"
#include "primitives/fft/split_path.h"
#include "primitives/fft/transform_sizes.h"

namespace zr::primitives::px {

template <Direction kDirection, typename Element>
void FFTDirectRows(const FftSpecification<Element>& specification, Element* z, int32_t total,
                   int32_t order) {
  const int32_t together = std::min(total, int32_t{1} << kDirectLimit<Element>);
  for (int32_t first = 0; first < total; first += together) {
    Element* const rows = z + 2 * first;
    FFTDirect<kDirection>(rows, together, int32_t{1} << order, specification.twiddleTable);
    if (IsScaled<kDirection>(specification)) FFTScale(specification.scale, rows, 2 * together);
  }
}

template <Direction kDirection, typename Element>
void FFTOrdered(const FftSpecification<Element>& specification, Element* z, int32_t order,
                int32_t level, Element* work) {
  const int32_t n = int32_t{1} << order;
  if (order <= kDirectLimit<Element>) {
    FFTDirectRows<kDirection>(specification, z, n, order);
  } else if (SplitExponent<Element>(order) == 0) {
    FFTBlockPath<kDirection>(specification, z, n);
  } else {
    FFTSplitPath<kDirection>(specification, z, order, level, work);
  }
}

template void FFTDirectRows<Direction::kForward>(const FftSpecification<float>&, float*, int32_t,
                                                 int32_t);
template void FFTDirectRows<Direction::kInverse>(const FftSpecification<float>&, float*, int32_t,
                                                 int32_t);
template void FFTDirectRows<Direction::kForward>(const FftSpecification<double>&, double*, int32_t,
                                                 int32_t);

template void FFTOrdered<Direction::kForward>(const FftSpecification<float>&, float*, int32_t,
                                              int32_t, float*);
template void FFTOrdered<Direction::kInverse>(const FftSpecification<float>&, float*, int32_t,
                                              int32_t, float*);
template void FFTOrdered<Direction::kForward>(const FftSpecification<double>&, double*, int32_t,
                                              int32_t, double*);

}  // namespace zr::primitives::px
