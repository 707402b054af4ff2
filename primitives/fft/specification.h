// The record behind a transform: order, scaling, and every table that execution reads.
#pragma once

#include <cstdint>

#include "primitives/element_access.h"
#include "primitives/status.h"
#include "primitives/types.h"

namespace zr::primitives::px {

/// The kinds of records, told apart by their first word.
inline constexpr int32_t kComplexFft32f = 4;
inline constexpr int32_t kRealFft32f = 6;
inline constexpr int32_t kComplexFft64f = 7;

inline constexpr int32_t kSplitLevels = 3;

/// Tables hold complex numbers as two elements, real part first. What is null is not needed.
template <typename Element>
struct FftSpecification {
  int32_t idCtx;
  int32_t order;
  int32_t doFwdScale;
  int32_t doInvScale;
  Element scale;
  int32_t hint;
  int32_t bufSize;
  int32_t* bitRevTable;
  Element* twiddleTable;  ///< Of the direct kernel.
  Element* blockTable;
  void* unused;
  Element* recombineFwd;
  Element* recombineInv;
  Element* splitTwiddle[kSplitLevels];  ///< Of the kernel along the columns of a level.
  Element* twistTable[kSplitLevels];
};
static_assert(sizeof(void*) != 4 || sizeof(FftSpecification<float>) == 19 * 4);
static_assert(sizeof(void*) != 4 || sizeof(FftSpecification<double>) == 20 * 4);

// What callers hold is opaque, and each kind has a type of its own.

template <typename Opaque>
struct SpecificationTraits;
template <>
struct SpecificationTraits<ComplexFft32f> {
  using Element = float;
  static constexpr int32_t kIdentifier = kComplexFft32f;
};
template <>
struct SpecificationTraits<RealFft32f> {
  using Element = float;
  static constexpr int32_t kIdentifier = kRealFft32f;
};
template <>
struct SpecificationTraits<ComplexFft64f> {
  using Element = double;
  static constexpr int32_t kIdentifier = kComplexFft64f;
};

template <typename Opaque>
using SpecificationOf = FftSpecification<typename SpecificationTraits<Opaque>::Element>;

template <typename Opaque>
inline const SpecificationOf<Opaque>& Specification(const Opaque* opaque) {
  return *reinterpret_cast<const SpecificationOf<Opaque>*>(opaque);
}

/// Null (-8), then the identifier (-17), which stands at the same place in every kind of record.
template <typename Opaque>
[[nodiscard]] inline int32_t CheckSpecification(const Opaque* opaque) {
  if (opaque == nullptr) return kStatusNullPointer;
  const int32_t identifier = Load(reinterpret_cast<const int32_t*>(opaque), 0);
  return identifier == SpecificationTraits<Opaque>::kIdentifier ? kStatusOk : kStatusContext;
}

}  // namespace zr::primitives::px
