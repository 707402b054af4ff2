// Constants that make a primitive a copy, a fill or nothing at all.
#pragma once

#include <cstdint>
#include <cstring>

#include "primitives/status.h"

namespace zr::primitives {

/// As the x87 compares: a NaN is equal to anything. Callers see that in the special cases.
template <typename Real>
inline bool IsEqualOrUnordered(Real a, Real b) {
  return !(a < b) && !(a > b);
}

/// d[i] = a[i] bit by bit, where every check has been made. The ranges are one or do not overlap.
template <typename Element>
inline int32_t CopyElements(const Element* a, Element* d, int32_t n) {
  if (a != d) std::memcpy(d, a, static_cast<std::size_t>(n) * sizeof(Element));
  return kStatusOk;
}

}  // namespace zr::primitives
