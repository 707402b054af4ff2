// The real transforms in their three packed forms, px build. N real points are read as N/2 complex
// ones; from the permutation on everything happens in the destination.
#include "primitives/dispatch/px_entries.h"
#include "primitives/exact_operations.h"
#include "primitives/fft/ordered_transform.h"
#include "primitives/fft/packed_forms.h"
#include "primitives/fft/packing.h"
#include "primitives/fft/permutation.h"
#include "primitives/fft/recombination.h"
#include "primitives/fft/small_kernels.h"
#include "primitives/fft/transform_sizes.h"
#include "primitives/fft/work_buffer.h"

namespace zr::primitives::px {
namespace {

int32_t CheckArguments(const float* pSrc, const float* pDst, const RealFft32f* pSpec) {
  if (const int32_t status = CheckSpecification(pSpec)) return status;
  return pSrc == nullptr || pDst == nullptr ? kStatusNullPointer : kStatusOk;
}

// destination = first + second, first - second.
void StoreSumAndDifference(float first, float second, float* destination) {
  Store(destination, 0, Plus(first, second));
  Store(destination, 1, Minus(first, second));
}

template <PackedForm kForm>
int32_t Forward(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer) {
  if (const int32_t status = CheckArguments(pSrc, pDst, pSpec)) return status;
  const auto& specification = Specification(pSpec);
  const int32_t n = int32_t{1} << specification.order;
  if (specification.order < kSmallestTabledOrder) {
    FFTSmallRealForward(specification, pSrc, pDst);
  } else {
    const WorkBuffer work(specification.bufSize, pBuffer);
    if (work.IsMissing()) return kStatusNoMemory;
    const int32_t h = n / 2;
    FFTPermute(pSrc, pDst, h, specification.bitRevTable);
    FFTOrdered<Direction::kForward>(specification, pDst, specification.order - 1, 0,
                                    work.As<float>());
    StoreSumAndDifference(Load(pDst, 0), Load(pDst, 1), pDst);
    FFTRecombine(pDst, h, specification.recombineFwd);
  }
  PackFromPerm<kForm>(pDst, n);
  return kStatusOk;
}

template <PackedForm kForm>
void SmallInverse(const FftSpecification<float>& specification, const float* source,
                  float* destination) {
  if constexpr (kForm == PackedForm::kPerm) {
    FFTSmallRealInverse(specification, source, destination);
  } else {
    UnpackToPerm<kForm>(source, destination, int32_t{1} << specification.order);
    FFTSmallRealInverse(specification, destination, destination);
  }
}

template <PackedForm kForm>
int32_t Inverse(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer) {
  if (const int32_t status = CheckArguments(pSrc, pDst, pSpec)) return status;
  const auto& specification = Specification(pSpec);
  if (specification.order < kSmallestTabledOrder) {
    SmallInverse<kForm>(specification, pSrc, pDst);
    return kStatusOk;
  }
  const WorkBuffer work(specification.bufSize, pBuffer);
  if (work.IsMissing()) return kStatusNoMemory;
  const int32_t n = int32_t{1} << specification.order;
  const float* spectrum = pSrc;
  if constexpr (kForm == PackedForm::kPack) {
    UnpackToPerm<kForm>(pSrc, pDst, n);
    spectrum = pDst;
  }
  const int32_t h = n / 2;
  const int32_t middlePlace = kForm == PackedForm::kCcs ? n : 1;
  StoreSumAndDifference(Load(spectrum, 0), Load(spectrum, middlePlace), pDst);
  FFTDecombine(spectrum, pDst, h, specification.recombineInv);
  FFTPermute<float>(pDst, pDst, h, specification.bitRevTable);
  FFTOrdered<Direction::kInverse>(specification, pDst, specification.order - 1, 0,
                                  work.As<float>());
  return kStatusOk;
}

}  // namespace

int32_t ippsFFTFwd_RToCCS_32f(const float* pSrc, float* pDst, const RealFft32f* pSpec,
                              uint8_t* pBuffer) {
  return Forward<PackedForm::kCcs>(pSrc, pDst, pSpec, pBuffer);
}
int32_t FFTFwdRToPerm(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer) {
  return Forward<PackedForm::kPerm>(pSrc, pDst, pSpec, pBuffer);
}
int32_t FFTFwdRToPack(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer) {
  return Forward<PackedForm::kPack>(pSrc, pDst, pSpec, pBuffer);
}

int32_t ippsFFTInv_CCSToR_32f(const float* pSrc, float* pDst, const RealFft32f* pSpec,
                              uint8_t* pBuffer) {
  return Inverse<PackedForm::kCcs>(pSrc, pDst, pSpec, pBuffer);
}
int32_t FFTInvPermToR(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer) {
  return Inverse<PackedForm::kPerm>(pSrc, pDst, pSpec, pBuffer);
}
int32_t FFTInvPackToR(const float* pSrc, float* pDst, const RealFft32f* pSpec, uint8_t* pBuffer) {
  return Inverse<PackedForm::kPack>(pSrc, pDst, pSpec, pBuffer);
}

}  // namespace zr::primitives::px
