// The split path, px build: decimation in two stages without a transposition. The twist between
// them also brings the rows of a column into bit-reversed order, as its table stands in that order.
#include "primitives/fft/split_path.h"

#include <algorithm>

#include "primitives/fft/direct_kernel.h"
#include "primitives/fft/moved_complex.h"
#include "primitives/fft/ordered_transform.h"
#include "primitives/fft/transform_sizes.h"

namespace zr::primitives::px {
namespace {

template <Direction kDirection, typename Element>
inline void TransformRows(const FftSpecification<Element>& specification, Element* z,
                          int32_t rowCount, int32_t rowOrder, int32_t level, Element* work) {
  const int32_t rowLength = int32_t{1} << rowOrder;
  if (rowOrder <= kDirectLimit<Element>) {
    FFTDirectRows<kDirection>(specification, z, rowCount * rowLength, rowOrder);
    return;
  }
  for (int32_t row = 0; row < rowCount; ++row)
    FFTOrdered<kDirection>(specification, z + 2 * row * rowLength, rowOrder, level, work);
}

// kSplitColumns neighbouring columns, from z on, rows rowLength numbers apart. twists: one number
// for each point, read in sequence.
template <Direction kDirection, typename Element>
inline void TwistIntoColumns(const Element* __restrict z, int32_t rowCount, int32_t rowLength,
                             const Element* __restrict twists, Element* __restrict columns) {
  for (int32_t row = 0; row < rowCount; ++row) {
    for (int32_t t = 0; t < kSplitColumns; ++t) {
      StoreComplex(columns + 2 * t * rowCount, row,
                   Turn<kDirection>(LoadComplex(z, t), LoadComplex(twists, t)));
    }
    z += 2 * rowLength;
    twists += 2 * kSplitColumns;
  }
}

template <typename Element>
inline void StoreColumns(const Element* __restrict columns, int32_t rowCount, int32_t rowLength,
                         Element* __restrict z) {
  const ComplexWords<Element>* const from = AsComplexWords(columns);
  ComplexWords<Element>* const to = AsComplexWords(z);
  for (int32_t row = 0; row < rowCount; ++row) {
    for (int32_t t = 0; t < kSplitColumns; ++t)
      Store<ComplexWords<Element>>(to, row * rowLength + t, Load(from, t * rowCount + row));
  }
}

}  // namespace

template <Direction kDirection, typename Element>
void FFTSplitPath(const FftSpecification<Element>& specification, Element* z, int32_t order,
                  int32_t level, Element* work) {
  const int32_t split = SplitExponent<Element>(order);
  const int32_t rowCount = int32_t{1} << split;
  const int32_t rowLength = int32_t{1} << (order - split);
  TransformRows<kDirection>(specification, z, rowCount, order - split, level + 1, work);

  const int32_t together = std::min(kSplitColumns * rowCount, int32_t{1} << kDirectLimit<Element>);
  const Element* twists = specification.twistTable[level];
  for (int32_t column = 0; column < rowLength; column += kSplitColumns) {
    Element* const first = z + 2 * column;
    TwistIntoColumns<kDirection>(first, rowCount, rowLength, twists, work);
    twists += 2 * kSplitColumns * rowCount;
    for (int32_t done = 0; done < kSplitColumns * rowCount; done += together)
      FFTDirect<kDirection>(work + 2 * done, together, rowCount, specification.splitTwiddle[level]);
    StoreColumns(work, rowCount, rowLength, first);
  }
}

template void FFTSplitPath<Direction::kForward>(const FftSpecification<float>&, float*, int32_t,
                                                int32_t, float*);
template void FFTSplitPath<Direction::kInverse>(const FftSpecification<float>&, float*, int32_t,
                                                int32_t, float*);
template void FFTSplitPath<Direction::kForward>(const FftSpecification<double>&, double*, int32_t,
                                                int32_t, double*);

}  // namespace zr::primitives::px
