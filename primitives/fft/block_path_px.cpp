// The block path, px build: in bit-reversed order each block is a complete transform of a decimated
// sequence, and radix-2 levels combine them.
#include "primitives/fft/block_path.h"

#include "primitives/fft/direct_kernel.h"
#include "primitives/fft/ordered_transform.h"
#include "primitives/fft/transform_sizes.h"

namespace zr::primitives::px {
namespace {

// Columns first to end of a pair of blocks, told by its quarters. A column of the second quarter
// has the first's root, a quarter of a turn further.
template <Direction kDirection, typename Element>
inline void CombineColumns(Element* __restrict z0, Element* __restrict z1, Element* __restrict z2,
                           Element* __restrict z3, int32_t first, int32_t end,
                           const Element* __restrict roots, int32_t rootStep) {
  for (int32_t k = first; k < end; ++k) {
    const auto root = LoadComplex(roots, k * rootStep);
    const auto a = LoadComplex(z0, k);
    const auto turned = Turn<kDirection>(LoadComplex(z2, k), root);
    StoreComplex(z2, k, a - turned);
    StoreComplex(z0, k, a + turned);
    const auto b = LoadComplex(z1, k);
    const auto turnedFurther = QuarterTurn<kDirection>(Turn<kDirection>(LoadComplex(z3, k), root));
    StoreComplex(z3, k, b - turnedFurther);
    StoreComplex(z1, k, b + turnedFurther);
  }
}

// Combines natural-order blocks of blockLength numbers to one of n. All pairs take a group of
// columns before the next group, so that its roots are used again while they are near.
template <Direction kDirection, typename Element>
void Combine(Element* z, int32_t n, int32_t blockLength, const Element* roots) {
  for (int32_t length = blockLength; length < n; length *= 2) {
    for (int32_t first = 0; first < length / 2; first += kCombinedColumns<Element>) {
      for (int32_t pair = 0; pair < n; pair += 2 * length) {
        Element* const block = z + 2 * pair;
        CombineColumns<kDirection>(block, block + length, block + 2 * length, block + 3 * length,
                                   first, first + kCombinedColumns<Element>, roots,
                                   n / (2 * length));
      }
    }
  }
}

}  // namespace

template <Direction kDirection, typename Element>
void FFTBlockPath(const FftSpecification<Element>& specification, Element* z, int32_t n) {
  constexpr int32_t kOrder = kDirectLimit<Element>;
  constexpr int32_t kLength = int32_t{1} << kOrder;
  // From the last to the first: the first blocks are still near when they are combined.
  for (int32_t first = n - kLength; first >= 0; first -= kLength)
    FFTOrdered<kDirection, Element>(specification, z + 2 * first, kOrder, 0, nullptr);
  Combine<kDirection>(z, n, kLength, specification.blockTable);
}

template void FFTBlockPath<Direction::kForward>(const FftSpecification<float>&, float*, int32_t);
template void FFTBlockPath<Direction::kInverse>(const FftSpecification<float>&, float*, int32_t);
template void FFTBlockPath<Direction::kForward>(const FftSpecification<double>&, double*, int32_t);

}  // namespace zr::primitives::px
