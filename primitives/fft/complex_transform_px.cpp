// The complex transforms, px build: permutation first, then everything happens in the destination.
#include "primitives/dispatch/px_entries.h"
#include "primitives/fft/ordered_transform.h"
#include "primitives/fft/permutation.h"
#include "primitives/fft/small_kernels.h"
#include "primitives/fft/transform_sizes.h"
#include "primitives/fft/work_buffer.h"

namespace zr::primitives::px {
namespace {

template <Direction kDirection, typename Complex, typename Opaque>
int32_t Transform(const Complex* pSrc, Complex* pDst, const Opaque* pSpec, uint8_t* pBuffer) {
  using Element = typename SpecificationTraits<Opaque>::Element;
  static_assert(sizeof(Complex) == 2 * sizeof(Element));
  if (const int32_t status = CheckSpecification(pSpec)) return status;
  if (pSrc == nullptr || pDst == nullptr) return kStatusNullPointer;
  const auto* const source = reinterpret_cast<const Element*>(pSrc);
  auto* const destination = reinterpret_cast<Element*>(pDst);
  const auto& specification = Specification(pSpec);
  if (specification.order < kSmallestTabledOrder) {
    FFTSmall<kDirection>(specification, source, destination);
    return kStatusOk;
  }
  const WorkBuffer work(specification.bufSize, pBuffer);
  if (work.IsMissing()) return kStatusNoMemory;
  FFTPermute(source, destination, int32_t{1} << specification.order, specification.bitRevTable);
  FFTOrdered<kDirection>(specification, destination, specification.order, 0, work.As<Element>());
  return kStatusOk;
}

}  // namespace

int32_t ippsFFTFwd_CToC_32fc(const Complex32f* pSrc, Complex32f* pDst, const ComplexFft32f* pSpec,
                             uint8_t* pBuffer) {
  return Transform<Direction::kForward>(pSrc, pDst, pSpec, pBuffer);
}
int32_t ippsFFTInv_CToC_32fc(const Complex32f* pSrc, Complex32f* pDst, const ComplexFft32f* pSpec,
                             uint8_t* pBuffer) {
  return Transform<Direction::kInverse>(pSrc, pDst, pSpec, pBuffer);
}
int32_t ippsFFTFwd_CToC_64fc(const Complex64f* pSrc, Complex64f* pDst, const ComplexFft64f* pSpec,
                             uint8_t* pBuffer) {
  return Transform<Direction::kForward>(pSrc, pDst, pSpec, pBuffer);
}

}  // namespace zr::primitives::px
