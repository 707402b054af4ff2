// Set-up and release of the records, px build. All trigonometry and all allocation is here.
#include <cmath>
#include <cstring>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/exact_operations.h"
#include "primitives/fft/fft.h"
#include "primitives/fft/specification.h"
#include "primitives/fft/table_memory.h"
#include "primitives/fft/tables.h"
#include "primitives/fft/transform_sizes.h"

namespace zr::primitives::px {
namespace {

// What a caller's buffer may lose when its start is aligned.
constexpr int32_t kAlignmentSlack = 16;

template <typename Element>
void Release(FftSpecification<Element>* specification) {
  void* const tables[] = {specification->bitRevTable,     specification->twiddleTable,
                          specification->blockTable,      specification->unused,
                          specification->recombineFwd,    specification->recombineInv,
                          specification->splitTwiddle[0], specification->splitTwiddle[1],
                          specification->splitTwiddle[2], specification->twistTable[0],
                          specification->twistTable[1],   specification->twistTable[2]};
  for (void* const table : tables)
    ippsFree(table);
  specification->idCtx = 0;
  ippsFree(specification);
}

template <typename Element>
int32_t SetScale(FftSpecification<Element>* specification, int32_t flag) {
  const auto n = static_cast<double>(int64_t{1} << specification->order);
  const bool isByRoot = flag == FFT_DIV_BY_SQRTN;
  if (flag == FFT_DIV_FWD_BY_N || flag == FFT_DIV_INV_BY_N || isByRoot) {
    specification->doFwdScale = flag != FFT_DIV_INV_BY_N ? 1 : 0;
    specification->doInvScale = flag != FFT_DIV_FWD_BY_N ? 1 : 0;
    specification->scale = static_cast<Element>(1.0 / (isByRoot ? std::sqrt(n) : n));
    return kStatusOk;
  }
  return flag == FFT_NODIV_BY_ANY ? kStatusOk : kStatusFftFlag;
}

int32_t StatusOfTable(const void* table) {
  return table != nullptr ? kStatusOk : kStatusNoMemory;
}

// What lies below a split too: the tables of the direct kernel, of a combination of its blocks, or
// of splits.
template <typename Element>
int32_t BuildOrdered(FftSpecification<Element>* specification, const SineTable<Element>& sines,
                     int32_t order, int32_t level);

// The rows' tables, then the columns'.
template <typename Element>
int32_t BuildSplit(FftSpecification<Element>* specification, const SineTable<Element>& sines,
                   int32_t order, int32_t level) {
  const int32_t split = SplitExponent<Element>(order);
  if (const int32_t status = BuildOrdered(specification, sines, order - split, level + 1)) {
    return status;
  }
  specification->splitTwiddle[level] = MakeTwiddleTable(sines, split);
  if (specification->splitTwiddle[level] == nullptr) return kStatusNoMemory;
  specification->twistTable[level] = MakeTwistTable(sines, order, split);
  if (specification->twistTable[level] == nullptr) return kStatusNoMemory;
  const int32_t columnBytes = (kSplitColumns * 2 * static_cast<int32_t>(sizeof(Element))) << split;
  if (specification->bufSize < columnBytes) specification->bufSize = columnBytes;
  return kStatusOk;
}

template <typename Element>
int32_t BuildOrdered(FftSpecification<Element>* specification, const SineTable<Element>& sines,
                     int32_t order, int32_t level) {
  const bool isDirect = order <= kDirectLimit<Element>;
  if (!isDirect && SplitExponent<Element>(order) != 0) {
    return BuildSplit(specification, sines, order, level);
  }
  if (!isDirect) {
    specification->blockTable = MakeBlockTable(sines, order);
    if (specification->blockTable == nullptr) return kStatusNoMemory;
  }
  specification->twiddleTable = MakeTwiddleTable(sines, isDirect ? order : kDirectLimit<Element>);
  return StatusOfTable(specification->twiddleTable);
}

template <typename Element>
int32_t BuildTables(FftSpecification<Element>* specification, const SineTable<Element>& sines,
                    int32_t order) {
  specification->bitRevTable = MakeBitReversalTable(order);
  if (specification->bitRevTable == nullptr) return kStatusNoMemory;
  if (const int32_t status = BuildOrdered(specification, sines, order, 0)) return status;
  if (order > kDirectLimit<Element>) specification->bufSize += kAlignmentSlack;
  return kStatusOk;
}

// The tables of a complex transform of 2^order points.
template <typename Element>
int32_t BuildComplex(FftSpecification<Element>* specification) {
  const TemporaryTable sines(MakeSines<Element>(specification->order));
  if (sines.Get() == nullptr) return kStatusNoMemory;
  return BuildTables(specification, {sines.Get(), specification->order}, specification->order);
}

// N real points run through a complex transform of N/2.
int32_t BuildReal(FftSpecification<float>* specification) {
  const int32_t order = specification->order;
  const TemporaryTable sineTable(MakeSines<float>(order));
  if (sineTable.Get() == nullptr) return kStatusNoMemory;
  const SineTable<float> sines = {sineTable.Get(), order};
  if (const int32_t status = BuildTables(specification, sines, order - 1)) return status;
  specification->recombineFwd = MakeForwardRecombination(sines, order);
  if (specification->recombineFwd == nullptr) return kStatusNoMemory;
  specification->recombineInv = MakeInverseRecombination(sines, order);
  return StatusOfTable(specification->recombineInv);
}

template <typename Opaque>
int32_t Build(SpecificationOf<Opaque>* specification) {
  constexpr bool kIsReal = SpecificationTraits<Opaque>::kIdentifier == kRealFft32f;
  const int32_t order = specification->order;
  if (order < kSmallestTabledOrder) return kStatusOk;
  // A table of one number for each complex point is the largest. Where it cannot be had, that is
  // said before a minute is spent on the sines.
  const int64_t largestTable = (int64_t{2} << (kIsReal ? order - 1 : order)) *
                               static_cast<int64_t>(sizeof(*specification->twistTable[0]));
  if (largestTable > std::numeric_limits<int32_t>::max()) return kStatusNoMemory;
  if constexpr (kIsReal) {
    return BuildReal(specification);
  } else {
    return BuildComplex(specification);
  }
}

template <typename Opaque>
int32_t Initialise(Opaque** ppSpec, int32_t order, int32_t flag, int32_t hint) {
  using Record = SpecificationOf<Opaque>;
  if (ppSpec == nullptr) return kStatusNullPointer;
  if (order < 0 || order > kLargestFftOrder) return kStatusFftOrder;
  auto* const specification = AllocateTable<Record>(1);
  if (specification == nullptr) return kStatusNoMemory;
  std::memset(specification, 0, sizeof(*specification));
  specification->idCtx = SpecificationTraits<Opaque>::kIdentifier;
  specification->order = order;
  specification->hint = hint;
  int32_t status = SetScale(specification, flag);
  if (status == kStatusOk) status = Build<Opaque>(specification);
  if (status != kStatusOk) {
    Release(specification);
    return status;
  }
  *ppSpec = reinterpret_cast<Opaque*>(specification);
  return kStatusOk;
}

template <typename Opaque>
int32_t Free(Opaque* pSpec) {
  if (const int32_t status = CheckSpecification(pSpec)) return status;
  Release(reinterpret_cast<SpecificationOf<Opaque>*>(pSpec));
  return kStatusOk;
}

template <typename Opaque>
int32_t GetBufferSize(const Opaque* pSpec, int32_t* pSize) {
  if (pSpec == nullptr || pSize == nullptr) return kStatusNullPointer;
  if (const int32_t status = CheckSpecification(pSpec)) return status;
  *pSize = Specification(pSpec).bufSize;
  return kStatusOk;
}

}  // namespace

int32_t ippsFFTInitAlloc_C_32fc(ComplexFft32f** ppSpec, int32_t order, int32_t flag, int32_t hint) {
  return Initialise(ppSpec, order, flag, hint);
}
int32_t ippsFFTInitAlloc_R_32f(RealFft32f** ppSpec, int32_t order, int32_t flag, int32_t hint) {
  return Initialise(ppSpec, order, flag, hint);
}
int32_t ippsFFTInitAlloc_C_64fc(ComplexFft64f** ppSpec, int32_t order, int32_t flag, int32_t hint) {
  return Initialise(ppSpec, order, flag, hint);
}

int32_t ippsFFTFree_C_32fc(ComplexFft32f* pSpec) {
  return Free(pSpec);
}
int32_t ippsFFTFree_R_32f(RealFft32f* pSpec) {
  return Free(pSpec);
}
int32_t ippsFFTFree_C_64fc(ComplexFft64f* pSpec) {
  return Free(pSpec);
}

int32_t ippsFFTGetBufSize_C_32fc(const ComplexFft32f* pSpec, int32_t* pSize) {
  return GetBufferSize(pSpec, pSize);
}
int32_t ippsFFTGetBufSize_R_32f(const RealFft32f* pSpec, int32_t* pSize) {
  return GetBufferSize(pSpec, pSize);
}

}  // namespace zr::primitives::px
